#include "NivexKit/Foundation/Bytes/Base64.hpp"

#include "NivexKit/Foundation/Text/Ascii.hpp"

#include <array>
#include <cstdint>

namespace nivex {
namespace {

constexpr std::string_view alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr std::uint8_t noDigit = 64;

constexpr std::array<std::uint8_t, 256> digitValues()
{
    std::array<std::uint8_t, 256> values{};
    values.fill(noDigit);
    for (std::uint8_t i = 0; i < alphabet.size(); ++i)
        values[static_cast<std::uint8_t>(alphabet[i])] = i;
    return values;
}

} // namespace

std::string base64(std::string_view bytes)
{
    std::string text;
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        std::uint32_t group = 0;
        for (std::size_t k = 0; k < 3; ++k)
            group = group << 8 | (i + k < bytes.size() ? static_cast<std::uint8_t>(bytes[i + k]) : 0u);
        for (std::size_t k = 0; k < 4; ++k)
            text += i + k <= bytes.size() ? alphabet[group >> (18 - 6 * k) & 63] : '=';
    }
    return text;
}

std::optional<std::string> fromBase64(std::string_view text)
{
    static constexpr auto values = digitValues();
    while (!text.empty() && (text.back() == '=' || isAsciiSpace(text.back())))
        text.remove_suffix(1);
    std::string bytes;
    bytes.reserve(text.size() / 4 * 3 + 3);
    std::uint32_t group = 0;
    int bits = 0;
    for (const char each : text) {
        if (isAsciiSpace(each))
            continue;
        const std::uint8_t value = values[static_cast<std::uint8_t>(each)];
        if (value == noDigit)
            return std::nullopt;
        group = group << 6 | value;
        bits += 6;
        if (bits >= 8) {
            bits -= 8;
            bytes += static_cast<char>(group >> bits & 0xFF);
        }
    }
    if (bits == 6) // a lone digit stands for nothing
        return std::nullopt;
    return bytes;
}

} // namespace nivex
