#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>

namespace nivex {

/// Two capital digits for each byte.
inline std::string hexadecimal(std::string_view bytes)
{
    constexpr std::string_view digits = "0123456789ABCDEF";
    std::string text;
    for (const std::byte byte : std::as_bytes(std::span{bytes})) {
        text += digits[std::to_integer<std::size_t>(byte >> 4)];
        text += digits[std::to_integer<std::size_t>(byte & std::byte{15})];
    }
    return text;
}

} // namespace nivex
