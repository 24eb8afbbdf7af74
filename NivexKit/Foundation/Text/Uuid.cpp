#include "NivexKit/Foundation/Text/Uuid.hpp"

#include <sys/random.h>

#include <cstdlib>
#include <cstring>

namespace nivex {
namespace {

constexpr bool hyphenStandsAt(std::size_t position)
{
    return position == 8 || position == 13 || position == 18 || position == 23;
}

std::optional<std::uint8_t> hexDigit(char digit)
{
    if (digit >= '0' && digit <= '9')
        return static_cast<std::uint8_t>(digit - '0');
    if (digit >= 'A' && digit <= 'F')
        return static_cast<std::uint8_t>(digit - 'A' + 10);
    if (digit >= 'a' && digit <= 'f')
        return static_cast<std::uint8_t>(digit - 'a' + 10);
    return std::nullopt;
}

} // namespace

Uuid Uuid::random()
{
    Uuid uuid;
    if (::getrandom(uuid.bytes.data(), uuid.bytes.size(), 0) != static_cast<ssize_t>(uuid.bytes.size()))
        std::abort(); // a kernel without random numbers is no place to make unique names
    uuid.bytes[6] = static_cast<std::uint8_t>((uuid.bytes[6] & 0x0F) | 0x40);
    uuid.bytes[8] = static_cast<std::uint8_t>((uuid.bytes[8] & 0x3F) | 0x80);
    return uuid;
}

std::optional<Uuid> Uuid::parse(std::string_view text)
{
    if (text.size() != 36)
        return std::nullopt;
    Uuid uuid;
    std::size_t digits = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (hyphenStandsAt(i)) {
            if (text[i] != '-')
                return std::nullopt;
            continue;
        }
        const auto value = hexDigit(text[i]);
        if (!value)
            return std::nullopt;
        std::uint8_t& byte = uuid.bytes[digits / 2];
        byte = static_cast<std::uint8_t>(byte * 16 + *value);
        ++digits;
    }
    return uuid;
}

std::string Uuid::text() const
{
    static constexpr char digits[] = "0123456789ABCDEF";
    std::string text;
    for (const std::uint8_t byte : bytes) {
        if (hyphenStandsAt(text.size()))
            text += '-';
        text += digits[byte >> 4];
        text += digits[byte & 0x0F];
    }
    return text;
}

} // namespace nivex

std::size_t std::hash<nivex::Uuid>::operator()(const nivex::Uuid& uuid) const noexcept
{
    std::size_t value = 0;
    std::memcpy(&value, uuid.bytes.data(), sizeof value);
    return value;
}
