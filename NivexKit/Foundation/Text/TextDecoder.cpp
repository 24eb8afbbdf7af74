#include "NivexKit/Foundation/Text/TextDecoder.hpp"

#include "NivexKit/Foundation/Text/CharacterSet.hpp"
#include "NivexKit/Foundation/Text/Unicode.hpp"
#include "NivexKit/Foundation/Text/WideText.hpp"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace nivex {
namespace {

constexpr std::size_t sampleSize = 32 * 1024;
constexpr std::size_t longestSampleLine = 4096;

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
    if (auto text = markedWideText(bytes))
        return isBinary(*text) ? std::nullopt : text;
    const bool isMarked = bytes.starts_with("\xEF\xBB\xBF");
    if (isMarked)
        bytes.remove_prefix(3);
    if (isBinary(bytes))
        return unmarkedWideText(bytes);
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
