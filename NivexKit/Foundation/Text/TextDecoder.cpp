#include "NivexKit/Foundation/Text/TextDecoder.hpp"

#include "NivexKit/Foundation/Bytes/ByteReader.hpp"
#include "NivexKit/Foundation/Text/CharacterSet.hpp"
#include "NivexKit/Foundation/Text/Unicode.hpp"

#include <unicode/uchar.h>

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace nivex {
namespace {

constexpr std::size_t sampleSize = 32 * 1024;
constexpr std::size_t longestSampleLine = 4096;

bool isPrintableAscii(char32_t unit) { return (unit >= 0x20 && unit < 0x7F) || (unit >= 0x09 && unit <= 0x0D); }

/// Control characters that text files do hold: white space, and the escape of terminal colours and ISO 2022.
bool isTextControl(unsigned char byte) { return (byte >= 0x09 && byte <= 0x0D) || byte == 0x1B; }

/// True for bytes that no text of bytes has: a zero anywhere, or many control characters at the beginning.
bool isBinary(std::string_view bytes)
{
    if (bytes.find('\0') != std::string_view::npos)
        return true;
    const std::string_view head = bytes.substr(0, sampleSize);
    const auto controls = std::count_if(head.begin(), head.end(), [](char each) {
        const auto byte = static_cast<unsigned char>(each);
        return (byte < 0x20 && !isTextControl(byte)) || byte == 0x7F;
    });
    // One is forgiven in any text: old systems end their files with one.
    return static_cast<std::size_t>(controls) > 1 + head.size() / 100;
}

std::uint16_t unitAt(std::string_view bytes, std::size_t position, ByteOrder order)
{
    const auto first = static_cast<unsigned char>(bytes[position]);
    const auto second = static_cast<unsigned char>(bytes[position + 1]);
    const int unit = order == ByteOrder::little ? first | second << 8 : first << 8 | second;
    return static_cast<std::uint16_t>(unit);
}

/// UTF-16 as UTF-8. Unpaired surrogates become U+FFFD, half a unit at the end is dropped.
std::string fromUtf16(std::string_view bytes, ByteOrder order)
{
    std::string text;
    text.reserve(bytes.size() / 2 + bytes.size() / 8);
    for (std::size_t position = 0; position + 1 < bytes.size(); position += 2) {
        char32_t scalar = unitAt(bytes, position, order);
        if (scalar < 0x80) {
            text += static_cast<char>(scalar);
            continue;
        }
        if ((scalar & 0xFC00) == 0xD800 && position + 3 < bytes.size()) {
            const char32_t low = unitAt(bytes, position + 2, order);
            if ((low & 0xFC00) == 0xDC00) {
                scalar = 0x10000 + ((scalar & 0x3FF) << 10 | (low & 0x3FF));
                position += 2;
            }
        }
        appendScalar(text, scalar); // writes U+FFFD for a surrogate
    }
    return text;
}

/// How many characters of `text` are plain ASCII; negative when it holds what no text does.
int asciiCount(std::string_view text)
{
    int ascii = 0;
    for (std::size_t position = 0; position < text.size();) {
        const char32_t scalar = nextScalar(text, position);
        const int category = u_charType(static_cast<UChar32>(scalar));
        const bool isControl = category == U_CONTROL_CHAR && !isPrintableAscii(scalar) && scalar != 0x1B;
        if (isControl || scalar == 0xFFFD || category == U_UNASSIGNED || category == U_PRIVATE_USE_CHAR)
            return -1;
        ascii += isPrintableAscii(scalar) ? 1 : 0;
    }
    return ascii;
}

/// The byte order of UTF-16 without a mark: the one in which the bytes hold more ASCII, which every text has some of.
std::optional<ByteOrder> utf16Order(std::string_view bytes)
{
    std::string_view head = bytes.substr(0, sampleSize);
    if (bytes.size() % 2 != 0)
        return std::nullopt;
    // A pair of surrogates must not be cut.
    if (head.size() < bytes.size())
        for (const ByteOrder order : {ByteOrder::little, ByteOrder::big})
            if ((unitAt(head, head.size() - 2, order) & 0xFC00) == 0xD800) {
                head.remove_suffix(2);
                break;
            }
    const int little = asciiCount(fromUtf16(head, ByteOrder::little));
    const int big = asciiCount(fromUtf16(head, ByteOrder::big));
    if (std::max(little, big) <= static_cast<int>(head.size() / 400))
        return std::nullopt;
    return little >= big ? ByteOrder::little : ByteOrder::big;
}

/// The position of the first byte from `position` on that is not ASCII; the size of the text when there is none.
std::size_t firstBeyondAscii(std::string_view text, std::size_t position)
{
    constexpr std::uint64_t highBits = 0x8080'8080'8080'8080;
    std::uint64_t word = 0;
    for (; position + sizeof word <= text.size(); position += sizeof word) {
        std::memcpy(&word, text.data() + position, sizeof word);
        if ((word & highBits) != 0)
            break;
    }
    while (position < text.size() && static_cast<unsigned char>(text[position]) < 0x80)
        ++position;
    return position;
}

/// The lines that hold more than ASCII, as many as a detector needs. A line feed is part of no longer character, and
/// behind it a character begins in every set.
std::string sampleOf(std::string_view text)
{
    std::string sample;
    std::size_t end = 0;
    for (std::size_t at = firstBeyondAscii(text, 0); at < text.size() && sample.size() < sampleSize;
         at = firstBeyondAscii(text, end)) {
        const std::string_view skipped = text.substr(end, at - end);
        const std::string_view before = skipped.substr(skipped.size() - std::min(skipped.size(), longestSampleLine));
        const std::size_t lineBegin = at - before.size() + (before.find_last_of("\r\n") + 1);
        const std::size_t lineEnd = text.substr(at, longestSampleLine).find_first_of("\r\n");
        end = lineEnd == std::string_view::npos ? std::min(at + longestSampleLine, text.size()) : at + lineEnd + 1;
        sample.append(text.substr(lineBegin, end - lineBegin));
    }
    return sample;
}

/// True for seven-bit text that switches its character set by escape sequences, as e-mail in Japanese and Korean does.
bool hasSetSwitches(std::string_view text)
{
    return text.substr(0, sampleSize).find("\x1B$") != std::string_view::npos;
}

std::optional<std::string> legacyText(std::string_view bytes, std::string_view sample)
{
    const auto characterSet = guessedCharacterSet(sample);
    return characterSet ? converted(bytes, *characterSet) : std::nullopt;
}

} // namespace

std::optional<std::string> decodedText(std::string file)
{
    std::string_view bytes = file;
    if (bytes.starts_with("\xFF\xFE") || bytes.starts_with("\xFE\xFF")) {
        std::string text = fromUtf16(bytes.substr(2), bytes[0] == '\xFF' ? ByteOrder::little : ByteOrder::big);
        return isBinary(text) ? std::nullopt : std::optional{std::move(text)};
    }
    const bool isMarked = bytes.starts_with("\xEF\xBB\xBF");
    if (isMarked)
        bytes.remove_prefix(3);
    if (isBinary(bytes)) {
        const auto order = utf16Order(bytes);
        return order ? std::optional{fromUtf16(bytes, *order)} : std::nullopt;
    }
    if (isMarked)
        return validUtf8(bytes);
    if (hasSetSwitches(bytes))
        if (auto text = legacyText(bytes, bytes.substr(0, sampleSize)))
            return text;
    if (isValidUtf8(bytes))
        return file;
    return legacyText(bytes, sampleOf(bytes));
}

} // namespace nivex
