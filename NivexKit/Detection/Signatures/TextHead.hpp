#pragma once

#include "NivexKit/Foundation/Text/Ascii.hpp"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace nivex {

/// The head as UTF-8 text, without a byte-order mark and without a character that the end of the head cuts; see
/// SignatureSniffer::decodeText. The text lies in `head` itself, or in `storage` where it had to be converted.
std::optional<std::string_view> decodedHead(std::span<const std::byte> head, std::string& storage);

/// The head as it is when it may be text in an older encoding that keeps ASCII (Windows-1252, Shift-JIS, …): no zero
/// byte and hardly any control character. Shapes of ASCII letters can be looked for in it, nothing else.
std::optional<std::string_view> legacyHead(std::span<const std::byte> head);

/// The lines of a text one after the other, without their ends.
class Lines {
public:
    explicit Lines(std::string_view text) : rest_{text} {}

    /// Moves to the next line; false behind the last.
    bool next(std::string_view& line)
    {
        if (rest_.empty())
            return false;
        const std::size_t end = rest_.find('\n');
        wasCut_ = end == std::string_view::npos;
        line = rest_.substr(0, end);
        rest_.remove_prefix(wasCut_ ? rest_.size() : end + 1);
        if (line.ends_with('\r'))
            line.remove_suffix(1);
        return true;
    }

    /// Moves to the next line that holds more than white space.
    bool nextFilled(std::string_view& line)
    {
        while (next(line))
            if (!std::ranges::all_of(line, isAsciiSpace))
                return true;
        return false;
    }

    /// True when no line end follows the current line: the head may have cut it.
    bool wasCut() const { return wasCut_; }
    std::string_view rest() const { return rest_; }

private:
    std::string_view rest_;
    bool wasCut_ = false;
};

/// `text` without ASCII white space at its beginning, and at both ends.
inline std::string_view leftTrimmed(std::string_view text)
{
    std::size_t start = 0;
    while (start < text.size() && isAsciiSpace(text[start]))
        ++start;
    return text.substr(start);
}
inline std::string_view bothTrimmed(std::string_view text)
{
    text = leftTrimmed(text);
    std::size_t end = text.size();
    while (end > 0 && isAsciiSpace(text[end - 1]))
        --end;
    return text.substr(0, end);
}

/// Letters, digits and the underscore.
inline bool isWordPart(char letter) { return isAsciiLetter(letter) || isAsciiDigit(letter) || letter == '_'; }

/// The word at the beginning of `text`; empty when there is none or it begins with a digit.
std::string_view openingWord(std::string_view text);

} // namespace nivex
