#include "NivexKit/Foundation/Bytes/ByteReader.hpp"

namespace nivex {

std::span<const std::byte> ByteReader::bytes(std::size_t count)
{
    if (failed_ || left() < count) {
        overrun();
        return {};
    }
    const auto slice = bytes_.subspan(position_, count);
    position_ += count;
    return slice;
}

void ByteReader::seek(std::size_t position)
{
    if (failed_ || bytes_.size() < position)
        return overrun();
    position_ = position;
}

std::uint64_t ByteReader::number(std::size_t width)
{
    const auto slice = bytes(width);
    std::uint64_t value = 0;
    for (std::size_t i = 0; i < slice.size(); ++i) {
        const std::size_t shift = order_ == ByteOrder::little ? i : slice.size() - 1 - i;
        value |= std::to_integer<std::uint64_t>(slice[i]) << (8 * shift);
    }
    return value;
}

void ByteReader::overrun()
{
    failed_ = true;
    position_ = bytes_.size();
    if (overrun_)
        throw *overrun_;
}

} // namespace nivex
