#include "tests/Support/Bytes.hpp"

#include <stdexcept>

namespace nivex::testing {
namespace {

unsigned digitValue(char digit)
{
    if (digit >= '0' && digit <= '9')
        return static_cast<unsigned>(digit - '0');
    if (digit >= 'A' && digit <= 'F')
        return static_cast<unsigned>(digit - 'A') + 10;
    throw std::invalid_argument{"not an upper-case hexadecimal digit"};
}

} // namespace

std::vector<std::byte> bytes(std::string_view hexadecimal)
{
    std::vector<unsigned> digits;
    for (const char each : hexadecimal)
        if (each != ' ' && each != '\n')
            digits.push_back(digitValue(each));
    if (digits.size() % 2 != 0)
        throw std::invalid_argument{"half a byte"};
    std::vector<std::byte> result;
    for (std::size_t i = 0; i < digits.size(); i += 2)
        result.push_back(static_cast<std::byte>(digits[i] * 16 + digits[i + 1]));
    return result;
}

std::vector<std::byte> textBytes(std::string_view text)
{
    const auto* begin = reinterpret_cast<const std::byte*>(text.data());
    return {begin, begin + text.size()};
}

std::vector<std::byte> joined(std::initializer_list<std::vector<std::byte>> parts)
{
    std::vector<std::byte> result;
    for (const auto& part : parts)
        result.insert(result.end(), part.begin(), part.end());
    return result;
}

std::vector<std::byte> repeated(unsigned char value, std::size_t count)
{
    return std::vector<std::byte>(count, static_cast<std::byte>(value));
}

} // namespace nivex::testing
