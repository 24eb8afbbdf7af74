#include "NivexKit/Detection/Images/IsoBoxes.hpp"

namespace nivex {

std::optional<IsoBox> IsoBoxes::next()
{
    if (left_-- <= 0 || next_ >= end_)
        return std::nullopt;
    ByteReader header = file_.reader(next_, 16, ByteOrder::big);
    std::uint64_t size = header.u32();
    const std::uint32_t type = header.u32();
    if (header.failed())
        return std::nullopt;
    if (size == 1)
        size = header.u64();
    else if (size == 0)
        size = end_ - next_; // the box fills the rest
    const std::uint64_t headerSize = header.position();
    if (header.failed() || size < headerSize || size > end_ - next_)
        return std::nullopt;
    const IsoBox box{.type = type, .begin = next_ + headerSize, .end = next_ + size};
    next_ = box.end;
    return box;
}

std::optional<IsoBox> findBox(HeaderBytes& file, const IsoBox& parent, std::uint32_t type)
{
    IsoBoxes boxes{file, parent};
    while (const auto box = boxes.next())
        if (box->type == type)
            return box;
    return std::nullopt;
}

} // namespace nivex
