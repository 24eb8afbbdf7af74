#pragma once

#include "NivexKit/Foundation/Bytes/ByteSource.hpp"

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace nivex::image {

/// A new version of a file, told as what it is made of from its beginning on: stretches of the old one and new bytes.
class FilePieces {
public:
    void copy(std::uint64_t offset, std::uint64_t count);
    void add(std::string_view bytes);
    void zeros(std::uint64_t count);
    void append(const FilePieces& more) { pieces_.insert(pieces_.end(), more.pieces_.begin(), more.pieces_.end()); }

    std::uint64_t size() const;

    /// Whether something that stood behind the picture is left out: a film, previews.
    bool leavesTail() const { return leavesTail_; }
    void leaveTail() { leavesTail_ = true; }

    /// Writes the new version as a file that does not exist yet, through a small buffer. Throws ConversionError:
    /// `unreadableSource` where the old one ends too early, `encodingFailed` where the new one cannot be written.
    void write(const ByteSource& old, const std::filesystem::path& file) const;

    /// The new version in memory.
    std::vector<std::byte> bytes(const ByteSource& old) const;

private:
    struct Stretch {
        std::uint64_t offset;
        std::uint64_t count;
    };
    struct Zeros {
        std::uint64_t count;
    };

    template <class Take>
    void forEachPiece(const ByteSource& old, Take take) const;

    std::vector<std::variant<Stretch, Zeros, std::string>> pieces_;
    bool leavesTail_ = false;
};

} // namespace nivex::image
