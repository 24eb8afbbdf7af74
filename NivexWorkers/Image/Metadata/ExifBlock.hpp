#pragma once

#include "NivexKit/Foundation/Bytes/ByteReader.hpp"
#include "NivexKit/Structures/TiffStructure.hpp"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace nivex::image {

/// An Exif block (Exif 2.32): a TIFF structure whose first directory leads to those of Exif and GPS. It is changed
/// where it lies, never written anew: offsets stay what they were, and with them the notes of camera makers, whose
/// inner structure nobody publishes.
class ExifBlock {
public:
    /// One entry of a directory.
    struct Entry {
        std::size_t position; // of its 12 bytes in the block
        std::uint16_t tag;
        std::uint16_t type;
        std::uint32_t count;
        std::size_t valuePosition; // of its value in the block
        std::size_t valueBytes;    // 0 where the value would lie outside of the block
    };
    using Directory = std::vector<Entry>;

    /// None when the bytes are no TIFF structure with a readable first directory. A leading "Exif\0\0" is dropped.
    static std::optional<ExifBlock> parse(std::vector<std::byte> bytes);

    const std::vector<std::byte>& bytes() const { return bytes_; }
    std::vector<std::byte> release() && { return std::move(bytes_); }
    ByteOrder order() const { return order_; }
    std::span<const std::byte> value(const Entry& entry) const;

    Directory mainDirectory() const { return directoryAt(mainPosition_); }
    /// The directory that an entry of the main one leads to; empty without it.
    Directory exifDirectory() const;

    /// True for tags that say how pixels are stored (TIFF 6.0), which mean nothing beside pixels stored otherwise.
    static bool isAboutStorage(std::uint16_t tag);

    /// How the picture is to be turned, 1 (not at all) to 8; 1 where nothing is told.
    int orientation() const;
    /// Says "upright" where there is a word on the orientation, and the true size wherever a size is told.
    void setUpright(int width, int height);
    /// Takes the small picture away.
    void removeThumbnail();
    /// Takes the GPS directory away, whichever directory leads to it.
    void removePosition();
    /// Takes entries of the main directory away.
    void removeFromMain(std::uint16_t tag) { removeFrom(mainPosition_, tag); }

    static constexpr std::uint16_t exifPointer = 0x8769;
    static constexpr std::uint16_t gpsPointer = 0x8825;
    static constexpr std::uint16_t interoperabilityPointer = 0xA005;
    static constexpr std::uint16_t makerNote = 0x927C;

private:
    ExifBlock(std::vector<std::byte> bytes, ByteOrder order, std::size_t mainPosition)
        : bytes_{std::move(bytes)}, order_{order}, mainPosition_{mainPosition}
    {
    }

    ByteReader reader(std::size_t position) const;
    std::optional<TiffDirectory> tiffDirectoryAt(std::size_t position) const;
    Directory directoryAt(std::size_t position) const;
    /// Where the directory lies to which an entry leads.
    std::optional<std::size_t> subdirectory(const Directory& from, std::uint16_t pointerTag) const;
    /// Where the main directory says what follows it.
    std::size_t nextPosition() const;
    /// Where the directory of the thumbnail lies; none where no link leads to one.
    std::optional<std::size_t> thumbnailPosition() const;
    void erase(std::size_t position, std::size_t count);
    void eraseDirectory(std::size_t position);
    void removeFrom(std::size_t directoryPosition, std::uint16_t tag);
    void setNumber(const Directory& directory, std::uint16_t tag, std::uint32_t number);
    void put(std::size_t position, std::uint32_t number, std::size_t width);

    std::vector<std::byte> bytes_;
    ByteOrder order_;
    std::size_t mainPosition_;
};

} // namespace nivex::image
