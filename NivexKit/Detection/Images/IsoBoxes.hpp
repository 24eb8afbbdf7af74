#pragma once

#include "NivexKit/Detection/HeaderBytes.hpp"

#include <cstdint>
#include <optional>

namespace nivex {

/// The four letters of a box type as a number.
consteval std::uint32_t boxType(const char (&letters)[5])
{
    std::uint32_t type = 0;
    for (int i = 0; i < 4; ++i)
        type = type << 8 | static_cast<unsigned char>(letters[i]);
    return type;
}

/// One box of the ISO base media layout, which JPEG 2000 and JPEG XL share: where its contents stand in the file.
struct IsoBox {
    std::uint32_t type = 0;
    std::uint64_t begin = 0; // of the contents, behind the header
    std::uint64_t end = 0;

    std::uint64_t size() const { return end - begin; }
};

/// Hops over the boxes that stand one after the other between two offsets. It ends at the first malformed one, and
/// after 512 boxes.
class IsoBoxes {
public:
    IsoBoxes(HeaderBytes& file, std::uint64_t begin, std::uint64_t end) : file_{file}, next_{begin}, end_{end} {}
    explicit IsoBoxes(HeaderBytes& file) : IsoBoxes{file, 0, file.size()} {}
    IsoBoxes(HeaderBytes& file, const IsoBox& parent) : IsoBoxes{file, parent.begin, parent.end} {}

    std::optional<IsoBox> next();

    /// True when the boxes filled the space that they had.
    bool reachedEnd() const { return next_ >= end_; }

private:
    HeaderBytes& file_;
    std::uint64_t next_;
    std::uint64_t end_;
    int left_ = 512;
};

/// The first box of that type between the boxes of `parent`.
std::optional<IsoBox> findBox(HeaderBytes& file, const IsoBox& parent, std::uint32_t type);

} // namespace nivex
