#include "NivexWorkers/Data/Model/Base64.hpp"

#include <cstdint>
#include <string_view>

namespace nivex::data {

std::string base64(std::span<const std::byte> bytes)
{
    constexpr std::string_view digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    text.reserve((bytes.size() + 2) / 3 * 4);
    for (std::size_t at = 0; at < bytes.size(); at += 3) {
        std::uint32_t group = 0;
        for (std::size_t i = 0; i < 3; ++i)
            group = group << 8 | (at + i < bytes.size() ? std::to_integer<std::uint32_t>(bytes[at + i]) : 0);
        for (std::size_t i = 0; i < 4; ++i)
            text += at + i <= bytes.size() ? digits[group >> (18 - 6 * i) & 63] : '=';
    }
    return text;
}

} // namespace nivex::data
