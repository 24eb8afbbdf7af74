#include "NivexKit/Foundation/Text/Unicode.hpp"

#include "NivexKit/Foundation/Text/Ascii.hpp"

#include <simdjson.h>
#include <unicode/brkiter.h>
#include <unicode/locid.h>
#include <unicode/normalizer2.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <cstdint>
#include <memory>

namespace nivex {
namespace {

constexpr char32_t replacementCharacter = 0xFFFD;
constexpr std::string_view replacementText = "\xEF\xBF\xBD"; // the same in UTF-8

bool isAscii(std::string_view text)
{
    return std::all_of(text.begin(), text.end(), [](char each) { return static_cast<unsigned char>(each) < 0x80; });
}

/// The scalar at `position`, which moves past it; negative, past one byte, where the bytes are ill-formed.
std::int32_t decode(std::string_view text, std::size_t& position)
{
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(text.data());
    // Four bytes are the longest sequence: a window keeps ICU's 32-bit positions valid in texts of any length.
    const auto window = static_cast<std::int32_t>(std::min<std::size_t>(text.size() - position, 4));
    std::int32_t moved = 0;
    std::int32_t scalar = 0;
    U8_NEXT(bytes + position, moved, window, scalar);
    position += scalar < 0 ? 1 : static_cast<std::size_t>(moved);
    return scalar;
}

icu::UnicodeString unicode(std::string_view text)
{
    return icu::UnicodeString::fromUTF8({text.data(), static_cast<std::int32_t>(text.size())});
}

/// Calls `visit(end)` with the byte position after each user-perceived character, until it returns false.
template <class Visitor>
void forEachCharacter(std::string_view text, Visitor visit)
{
    const icu::UnicodeString units = unicode(text);
    UErrorCode status = U_ZERO_ERROR;
    const std::unique_ptr<icu::BreakIterator> iterator{
        icu::BreakIterator::createCharacterInstance(icu::Locale::getRoot(), status)};
    if (U_FAILURE(status))
        return;
    iterator->setText(units);
    std::size_t bytes = 0;
    std::int32_t begin = iterator->first();
    for (std::int32_t end = iterator->next(); end != icu::BreakIterator::DONE; begin = end, end = iterator->next()) {
        std::string character;
        units.tempSubStringBetween(begin, end).toUTF8String(character);
        bytes += character.size();
        if (!visit(bytes))
            return;
    }
}

bool tellsDottedFromDotlessI(std::string_view locale)
{
    const std::string_view language = locale.substr(0, locale.find_first_of("_-.@"));
    return language == "tr" || language == "az";
}

icu::UnicodeString composed(const icu::UnicodeString& text)
{
    UErrorCode status = U_ZERO_ERROR;
    const icu::Normalizer2* normalizer = icu::Normalizer2::getNFCInstance(status);
    const icu::UnicodeString result = U_SUCCESS(status) ? normalizer->normalize(text, status) : text;
    return U_SUCCESS(status) ? result : text;
}

/// Texts that differ only in case or in how their characters are composed become the same.
icu::UnicodeString comparable(std::string_view text, std::uint32_t foldRules)
{
    // Composed before folding, so that a dotted capital i is seen as one letter, and again after it.
    return composed(composed(unicode(text)).foldCase(foldRules));
}

bool isTrimmable(char32_t scalar)
{
    if (scalar < 0x80)
        return scalar == ' ' || (scalar >= 0x09 && scalar <= 0x0D);
    return scalar == 0x200B || u_isUWhiteSpace(static_cast<UChar32>(scalar));
}

/// True for the bytes that are a visible ASCII character: most texts begin and end with one.
constexpr bool isVisibleAscii(char byte) { return byte > ' ' && byte < 0x7F; }

} // namespace

bool isValidUtf8(std::string_view text) { return simdjson::validate_utf8(text.data(), text.size()); }

std::string validUtf8(std::string_view bytes)
{
    if (isValidUtf8(bytes))
        return std::string{bytes};
    std::string text;
    text.reserve(bytes.size() + bytes.size() / 2);
    std::size_t wellFormedFrom = 0;
    for (std::size_t position = 0; position < bytes.size();) {
        const std::size_t start = position;
        if (static_cast<unsigned char>(bytes[position]) < 0x80)
            ++position;
        else if (decode(bytes, position) < 0) {
            text.append(bytes, wellFormedFrom, start - wellFormedFrom).append(replacementText);
            wellFormedFrom = position;
        }
    }
    return text.append(bytes, wellFormedFrom);
}

std::string shownPath(const std::filesystem::path& path) { return validUtf8(path.native()); }

bool isControl(char32_t scalar)
{
    const int category = u_charType(static_cast<UChar32>(scalar));
    return category == U_CONTROL_CHAR || category == U_FORMAT_CHAR;
}

char32_t nextScalar(std::string_view text, std::size_t& position)
{
    const std::int32_t scalar = decode(text, position);
    return scalar < 0 ? replacementCharacter : static_cast<char32_t>(scalar);
}

void appendScalar(std::string& text, char32_t scalar)
{
    std::uint8_t buffer[4];
    std::int32_t length = 0;
    UBool failed = false;
    U8_APPEND(buffer, length, 4, static_cast<std::uint32_t>(scalar), failed);
    if (failed)
        return appendScalar(text, replacementCharacter);
    text.append(reinterpret_cast<const char*>(buffer), static_cast<std::size_t>(length));
}

std::size_t characterCount(std::string_view text)
{
    std::size_t count = 0;
    forEachCharacter(text, [&](std::size_t) { return ++count > 0; });
    return count;
}

std::string_view cutToBytes(std::string_view text, std::size_t maxBytes)
{
    if (text.size() <= maxBytes)
        return text;
    std::size_t kept = 0;
    forEachCharacter(text, [&](std::size_t end) {
        if (end <= maxBytes)
            kept = end;
        return end < maxBytes;
    });
    return text.substr(0, kept);
}

std::string_view trimmed(std::string_view text)
{
    std::size_t begin = 0;
    while (begin < text.size() && !isVisibleAscii(text[begin])) {
        std::size_t next = begin;
        if (!isTrimmable(nextScalar(text, next)))
            break;
        begin = next;
    }
    std::size_t end = text.size();
    while (end > begin && !isVisibleAscii(text[end - 1])) {
        std::size_t start = end - 1;
        while (start > begin && (static_cast<unsigned char>(text[start]) & 0xC0) == 0x80)
            --start;
        std::size_t next = start;
        if (!isTrimmable(nextScalar(text, next)))
            break;
        end = start;
    }
    return text.substr(begin, end - begin);
}

std::string lowercased(std::string_view text)
{
    if (isAscii(text) || !isValidUtf8(text))
        return asciiLowercased(text);
    std::string result;
    return unicode(text).toLower(icu::Locale::getRoot()).toUTF8String(result);
}

bool containsIgnoringCase(std::string_view text, std::string_view part, std::string_view locale)
{
    const std::uint32_t rules = tellsDottedFromDotlessI(locale) ? U_FOLD_CASE_EXCLUDE_SPECIAL_I : U_FOLD_CASE_DEFAULT;
    return part.empty() || comparable(text, rules).indexOf(comparable(part, rules)) >= 0;
}

} // namespace nivex
