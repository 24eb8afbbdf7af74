#pragma once

#include "NivexKit/Foundation/Files/OutputFile.hpp"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

struct isal_zstream;

namespace nivex::data {

/// Writes a ZIP archive to a file, entry after entry, each of any size up to the format's 4 GiB, in bounded memory.
class ArchiveWriter {
public:
    explicit ArchiveWriter(const std::filesystem::path& location);
    ~ArchiveWriter();

    /// Begins an entry; `write` adds to it until `end`.
    void begin(std::string_view name);
    void write(std::string_view contents);
    void end();

    void add(std::string_view name, std::string_view contents)
    {
        begin(name);
        write(contents);
        end();
    }

    /// An entry that is not compressed, so that it is seen in the file.
    void addStored(std::string_view name, std::string_view contents);

    /// Writes the directory. Members throw resourceLimit when the archive would outgrow the format, encodingFailed when
    /// it cannot be written.
    void finish();

private:
    struct Entry {
        std::string name;
        std::uint16_t method = 0;
        std::uint64_t offset = 0;
        std::uint64_t compressedSize = 0;
        std::uint64_t uncompressedSize = 0;
        std::uint32_t crc = 0;
    };

    void beginEntry(std::string_view name, std::uint16_t method);
    void putSizes();
    void deflate(bool isLast);
    void put(std::string_view bytes);

    NewFile file_;
    std::uint64_t position_ = 0;
    std::vector<Entry> entries_;
    std::unique_ptr<isal_zstream> stream_;
    std::vector<std::uint8_t> levelBuffer_;
    std::string deflated_;
};

} // namespace nivex::data
