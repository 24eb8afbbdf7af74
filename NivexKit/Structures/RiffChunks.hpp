#pragma once

#include "NivexKit/Foundation/Bytes/ByteReader.hpp"
#include "NivexKit/Foundation/Bytes/ByteSource.hpp"

#include <cstdint>
#include <optional>
#include <string>

namespace nivex {

/// A chunk of a RIFF file: four letters, the size of its data, the data, and a byte of padding behind an odd size
/// ("Multimedia Programming Interface and Data Specifications 1.0", chapter 2). RIFX has its numbers in network order.
struct RiffChunk {
    std::uint64_t offset; // of its letters
    std::string id;
    std::uint32_t size; // of the data, as announced: a live recording leaves it at 0 or 0xFFFFFFFF

    std::uint64_t data() const { return offset + 8; }
    std::uint64_t end() const { return data() + size + size % 2; }
    bool isWholeIn(const ByteSource& file) const { return size <= file.size() - data(); }

    bool operator==(const RiffChunk&) const = default;
};

/// Hops over the chunks from an offset on, by their headers alone. It ends where no header can be read any more; the
/// data of the last chunk may be cut. It has no bound of its own on their number. The file outlives it.
class RiffChunks {
public:
    RiffChunks(const ByteSource& file, std::uint64_t offset, ByteOrder order = ByteOrder::little)
        : file_{file}, position_{offset}, order_{order}
    {
    }

    std::optional<RiffChunk> next();

    /// Where the next chunk would stand.
    std::uint64_t position() const { return position_; }

private:
    const ByteSource& file_;
    std::uint64_t position_;
    ByteOrder order_;
};

} // namespace nivex
