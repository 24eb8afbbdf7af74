// ISO/IEC 14496-12, 4.2: a size of 32 bits, four letters, and where the size is 1 the true one in 64 bits.
#include "NivexKit/Structures/IsoBoxes.hpp"

#include "NivexKit/Foundation/Bytes/ByteReader.hpp"

#include <algorithm>
#include <array>
#include <limits>

namespace nivex {
namespace {

/// True when the type holds no control characters.
bool isSpelled(std::uint32_t type)
{
    for (int shift = 0; shift < 32; shift += 8)
        if ((type >> shift & 0xFF) < ' ')
            return false;
    return true;
}

} // namespace

std::string boxName(std::uint32_t type)
{
    std::string letters;
    for (int shift = 24; shift >= 0; shift -= 8)
        letters += static_cast<char>(type >> shift);
    return letters;
}

std::optional<IsoBox> IsoBoxes::next()
{
    if (cut_ || reachedEnd())
        return std::nullopt;
    std::array<std::byte, 16> bytes;
    ByteReader header{std::span{bytes}.first(file_.read(next_, bytes)), ByteOrder::big};
    std::uint64_t size = header.u32();
    const std::uint32_t type = header.u32();
    if (size == 1)
        size = header.u64();
    else if (size == 0)
        size = end_ - next_; // the box fills the rest
    const std::uint64_t headerSize = header.position();
    constexpr std::uint64_t farthest = std::numeric_limits<std::uint64_t>::max();
    if (header.failed() || size < headerSize)
        return std::nullopt;
    const IsoBox box{
        .type = type, .offset = next_, .begin = next_ + headerSize, .end = next_ + std::min(size, farthest - next_)};
    if (box.end > end_) {
        if (isSpelled(type))
            cut_ = box;
        return std::nullopt;
    }
    next_ = box.end;
    return box;
}

std::optional<IsoBox> findBox(const ByteSource& file, const IsoBox& parent, std::initializer_list<std::uint32_t> path)
{
    std::optional<IsoBox> found = parent;
    for (const std::uint32_t type : path) {
        IsoBoxes boxes{file, *found};
        do
            found = boxes.next();
        while (found && found->type != type);
        if (!found)
            return std::nullopt;
    }
    return found;
}

} // namespace nivex
