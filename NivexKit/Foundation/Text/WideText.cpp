#include "NivexKit/Foundation/Text/WideText.hpp"

#include "NivexKit/Foundation/Text/Unicode.hpp"

#include <unicode/uchar.h>

#include <array>
#include <cstdint>

namespace nivex {
namespace {

constexpr std::size_t sampleSize = 32 * 1024;

// The wider first: most text in it also reads as UTF-16 with zeros in between.
constexpr std::array<WideEncoding, 4> encodings = {{
    {4, ByteOrder::little},
    {4, ByteOrder::big},
    {2, ByteOrder::little},
    {2, ByteOrder::big},
}};

char32_t unitAt(std::string_view bytes, WideEncoding encoding)
{
    char32_t unit = 0;
    for (std::size_t i = 0; i < encoding.unitSize; ++i) {
        const std::size_t place = encoding.order == ByteOrder::big ? i : encoding.unitSize - 1 - i;
        unit = unit << 8 | static_cast<unsigned char>(bytes[place]);
    }
    return unit;
}

bool isSurrogate(char32_t scalar) { return (scalar & 0xFFFF'F800) == 0xD800; }

bool isPrintableAscii(char32_t scalar)
{
    return (scalar >= 0x20 && scalar < 0x7F) || (scalar >= 0x09 && scalar <= 0x0D);
}

std::string decoded(std::string_view bytes, WideEncoding encoding)
{
    std::string text;
    text.reserve(bytes.size() / encoding.unitSize + bytes.size() / 8);
    while (bytes.size() >= encoding.unitSize) {
        const char32_t scalar = takeWideScalar(bytes, encoding);
        if (scalar < 0x80)
            text += static_cast<char>(scalar);
        else
            appendScalar(text, scalar); // writes U+FFFD for what is ill-formed
    }
    return text;
}

/// How many characters of the beginning are plain ASCII; negative when it holds what no text does.
int asciiCount(std::string_view bytes, WideEncoding encoding)
{
    if (bytes.size() % encoding.unitSize != 0)
        return -1;
    int ascii = 0;
    std::string_view head = bytes.substr(0, sampleSize);
    while (!head.empty()) {
        const char32_t scalar = takeWideScalar(head, encoding);
        if (isPrintableAscii(scalar)) {
            ++ascii;
            continue;
        }
        if (isSurrogate(scalar) && head.empty() && bytes.size() > sampleSize)
            break; // the sample cuts the pair
        const int category = u_charType(static_cast<UChar32>(scalar));
        const bool isControl = category == U_CONTROL_CHAR && scalar != 0x1B;
        if (isControl || scalar == 0xFFFD || category == U_SURROGATE || category == U_UNASSIGNED ||
            category == U_PRIVATE_USE_CHAR)
            return -1;
    }
    return ascii;
}

struct Mark {
    std::string_view bytes;
    WideEncoding encoding;
};

constexpr std::array<Mark, 4> marks = {{
    {{"\xFF\xFE\0\0", 4}, {4, ByteOrder::little}},
    {{"\0\0\xFE\xFF", 4}, {4, ByteOrder::big}},
    {"\xFF\xFE", {2, ByteOrder::little}},
    {"\xFE\xFF", {2, ByteOrder::big}},
}};

} // namespace

char32_t takeWideScalar(std::string_view& bytes, WideEncoding encoding)
{
    const char32_t unit = unitAt(bytes, encoding);
    bytes.remove_prefix(encoding.unitSize);
    if (encoding.unitSize != 2 || (unit & 0xFC00) != 0xD800 || bytes.size() < 2)
        return unit;
    const char32_t low = unitAt(bytes, encoding);
    if ((low & 0xFC00) != 0xDC00)
        return unit;
    bytes.remove_prefix(2);
    return 0x10000 + ((unit & 0x3FF) << 10 | (low & 0x3FF));
}

std::optional<std::string> markedWideText(std::string_view bytes)
{
    for (const Mark& mark : marks)
        if (bytes.starts_with(mark.bytes) && (mark.encoding.unitSize == 2 || bytes.size() > mark.bytes.size()))
            return decoded(bytes.substr(mark.bytes.size()), mark.encoding);
    return std::nullopt;
}

std::optional<std::string> unmarkedWideText(std::string_view bytes)
{
    // One character in two hundred is enough: a text in Chinese has little more than its line ends.
    constexpr std::size_t charactersPerAscii = 200;
    const std::size_t sampled = std::min(bytes.size(), sampleSize);
    const WideEncoding* best = nullptr;
    int most = 0;
    for (const WideEncoding& each : encodings) {
        const int ascii = asciiCount(bytes, each);
        if (ascii > most && static_cast<std::size_t>(ascii) > sampled / each.unitSize / charactersPerAscii) {
            best = &each;
            most = ascii;
        }
    }
    return best ? std::optional{decoded(bytes, *best)} : std::nullopt;
}

} // namespace nivex
