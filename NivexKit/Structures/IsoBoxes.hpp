#pragma once

#include "NivexKit/Foundation/Bytes/ByteSource.hpp"
#include "NivexKit/Foundation/Bytes/ByteWriter.hpp"

#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>

namespace nivex {

/// The four letters of a box type as a number.
consteval std::uint32_t boxType(const char (&letters)[5])
{
    std::uint32_t type = 0;
    for (int i = 0; i < 4; ++i)
        type = type << 8 | static_cast<unsigned char>(letters[i]);
    return type;
}

/// The letters of a type, for a technical note; they may be any bytes.
std::string boxName(std::uint32_t type);

/// One box of the ISO base media layout (ISO/IEC 14496-12, 4.2), which films, HEIF, JPEG 2000 and JPEG XL share: where
/// it stands in the file.
struct IsoBox {
    std::uint32_t type = 0;
    std::uint64_t offset = 0; // of the header
    std::uint64_t begin = 0;  // of the contents, behind the header
    std::uint64_t end = 0;

    std::uint64_t size() const { return end - begin; }

    bool operator==(const IsoBox&) const = default;
};

/// Hops over the boxes that stand one after the other between two offsets, by their headers alone. It ends at the first
/// malformed one and at the first that goes on behind the space. It has no bound of its own on their number:
/// HeaderBytes has one, others count. The file outlives it.
class IsoBoxes {
public:
    IsoBoxes(const ByteSource& file, std::uint64_t begin, std::uint64_t end) : file_{file}, next_{begin}, end_{end} {}
    explicit IsoBoxes(const ByteSource& file) : IsoBoxes{file, 0, file.size()} {}
    IsoBoxes(const ByteSource& file, const IsoBox& parent) : IsoBoxes{file, parent.begin, parent.end} {}

    std::optional<IsoBox> next();

    /// Where the next box would stand.
    std::uint64_t position() const { return next_; }

    /// True when the boxes filled the space that they had, but for fewer bytes than a header takes.
    bool reachedEnd() const { return next_ >= end_ || end_ - next_ < shortestHeader; }

    /// The box at which the walk ended because it goes on behind the space; its end is the one that it announces.
    const std::optional<IsoBox>& cutBox() const { return cut_; }

private:
    static constexpr std::uint64_t shortestHeader = 8;

    const ByteSource& file_;
    std::uint64_t next_;
    std::uint64_t end_;
    std::optional<IsoBox> cut_;
};

/// The first box at the end of a path of types, each inside the one before; the first of them lies in `parent`.
std::optional<IsoBox> findBox(const ByteSource& file, const IsoBox& parent, std::initializer_list<std::uint32_t> path);

/// Appends a box to `out`. `write` puts its contents into the writer it is given.
template <class Write>
void putBox(ByteWriter& out, std::string_view type, Write write)
{
    ByteWriter contents{ByteOrder::big};
    write(contents);
    out.u32(static_cast<std::uint32_t>(8 + contents.size())).text(type).text(contents.view());
}

} // namespace nivex
