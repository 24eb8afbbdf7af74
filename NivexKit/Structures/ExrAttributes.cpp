#include "NivexKit/Structures/ExrAttributes.hpp"

#include "NivexKit/Foundation/Bytes/ByteReader.hpp"

#include <array>

namespace nivex {

/// A text that ends with a zero byte, at most 255 characters.
std::optional<std::string> ExrAttributes::nameAt(std::uint64_t offset) const
{
    std::array<std::byte, 256> bytes;
    const std::string_view text{reinterpret_cast<const char*>(bytes.data()), file_.read(offset, bytes)};
    const std::size_t length = text.find('\0');
    if (length == std::string_view::npos)
        return std::nullopt;
    return std::string{text.substr(0, length)};
}

std::optional<ExrAttribute> ExrAttributes::next()
{
    const auto name = isWhole_ ? std::nullopt : nameAt(position_);
    if (name && name->empty()) {
        isWhole_ = true;
        ++position_;
    }
    if (!name || name->empty())
        return std::nullopt;
    const auto type = nameAt(position_ + name->size() + 1);
    if (!type)
        return std::nullopt;
    const std::uint64_t lengthOffset = position_ + name->size() + 1 + type->size() + 1;
    std::array<std::byte, 4> number;
    ByteReader reader{std::span{number}.first(file_.read(lengthOffset, number)), ByteOrder::little};
    ExrAttribute attribute{*name, *type, lengthOffset + 4, reader.u32()};
    if (reader.failed() || file_.size() < attribute.end())
        return std::nullopt;
    position_ = attribute.end();
    return attribute;
}

} // namespace nivex
