#include "NivexKit/Detection/Signatures/TextHead.hpp"

#include "NivexKit/Foundation/Text/Unicode.hpp"
#include "NivexKit/Foundation/Text/WideText.hpp"

#include <array>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace nivex {
namespace {

// White space is none, and neither are the shifts of terminals' colours and of the older Asian encodings.
constexpr std::array<bool, 256> isControlByte = [] {
    constexpr std::string_view usualInTexts = "\t\n\r\f\x0E\x0F\x1B";
    std::array<bool, 256> table{};
    for (std::size_t each = 0; each < 0x20; ++each)
        table[each] = usualInTexts.find(static_cast<char>(each)) == std::string_view::npos;
    table[0x7F] = true;
    return table;
}();

struct Scan {
    std::size_t length = 0; // of the well-formed beginning
    std::size_t controls = 0;
    std::size_t characters = 0;
};

/// Length of the well-formed sequence of several bytes that starts at `bytes`; 0 when it is ill-formed or cut.
std::size_t sequenceLength(const unsigned char* bytes, std::size_t left)
{
    const unsigned first = bytes[0];
    const std::size_t length = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
    if (first < 0xC2 || first > 0xF4 || left < length)
        return 0;
    const unsigned lowest = first == 0xE0 ? 0xA0 : first == 0xF0 ? 0x90 : 0x80;
    const unsigned highest = first == 0xED ? 0x9F : first == 0xF4 ? 0x8F : 0xBF;
    if (bytes[1] < lowest || bytes[1] > highest)
        return 0;
    for (std::size_t i = 2; i < length; ++i)
        if ((bytes[i] & 0xC0) != 0x80)
            return 0;
    return length;
}

/// True when all eight bytes are ASCII from the space to the tilde, the delete character aside.
bool isPlainWord(std::uint64_t word)
{
    constexpr std::uint64_t ones = 0x0101'0101'0101'0101;
    constexpr std::uint64_t high = ones * 0x80;
    const std::uint64_t below = (word - ones * 0x20) & ~word & high;
    const std::uint64_t deleted = ((word ^ ones * 0x7F) - ones) & ~(word ^ ones * 0x7F) & high;
    return ((word & high) | below | deleted) == 0;
}

Scan scanned(std::string_view text)
{
    const auto* bytes = reinterpret_cast<const unsigned char*>(text.data());
    Scan scan;
    while (scan.length < text.size()) {
        const std::size_t left = text.size() - scan.length;
        const unsigned char* here = bytes + scan.length;
        if (std::uint64_t word = 0; left >= sizeof word) {
            std::memcpy(&word, here, sizeof word);
            if (isPlainWord(word)) {
                scan.length += sizeof word;
                scan.characters += sizeof word;
                continue;
            }
        }
        std::size_t length = 1;
        if (*here < 0x80)
            scan.controls += isControlByte[*here];
        else if (length = sequenceLength(here, left); length == 0)
            return scan;
        else if (*here == 0xC2 && here[1] < 0xA0)
            ++scan.controls;
        scan.length += length;
        ++scan.characters;
    }
    return scan;
}

bool hasFewControls(std::size_t controls, std::size_t characters) { return controls * 20 < characters; }

/// None for what is ill-formed, but for a pair that the end of the head cuts, and for a zero.
std::optional<std::string_view> fromUtf16(std::string_view bytes, ByteOrder order, std::string& storage)
{
    while (bytes.size() >= 2) {
        const char32_t scalar = takeWideScalar(bytes, {2, order});
        if (scalar >= 0xD800 && scalar < 0xDC00 && bytes.size() < 2)
            break;
        if (scalar == 0 || (scalar >= 0xD800 && scalar < 0xE000))
            return std::nullopt;
        appendScalar(storage, scalar);
    }
    return storage;
}

} // namespace

std::optional<std::string_view> decodedHead(std::span<const std::byte> head, std::string& storage)
{
    constexpr std::size_t longestCut = 3;
    std::string_view text{reinterpret_cast<const char*>(head.data()), head.size()};
    if (text.starts_with("\xFF\xFE"))
        return fromUtf16(text.substr(2), ByteOrder::little, storage);
    if (text.starts_with("\xFE\xFF"))
        return fromUtf16(text.substr(2), ByteOrder::big, storage);
    if (text.empty() || std::memchr(text.data(), 0, text.size()) != nullptr)
        return std::nullopt;
    const Scan scan = scanned(text);
    if (scan.length == 0 || scan.length + longestCut < text.size() || !hasFewControls(scan.controls, scan.characters))
        return std::nullopt;
    text = text.substr(0, scan.length);
    if (text.starts_with("\xEF\xBB\xBF"))
        text.remove_prefix(3);
    return text;
}

std::optional<std::string_view> legacyHead(std::span<const std::byte> head)
{
    std::size_t controls = 0;
    for (const std::byte each : head) {
        if (each == std::byte{0})
            return std::nullopt;
        controls += isControlByte[std::to_integer<std::size_t>(each)];
    }
    if (!hasFewControls(controls, head.size()))
        return std::nullopt;
    return std::string_view{reinterpret_cast<const char*>(head.data()), head.size()};
}

std::string_view openingWord(std::string_view text)
{
    std::size_t end = 0;
    while (end < text.size() && isWordPart(text[end]))
        ++end;
    return text.empty() || isAsciiDigit(text[0]) ? std::string_view{} : text.substr(0, end);
}

} // namespace nivex
