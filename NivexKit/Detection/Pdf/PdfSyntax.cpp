#include "NivexKit/Detection/Pdf/PdfSyntax.hpp"

#include <algorithm>
#include <charconv>

namespace nivex {
namespace {

constexpr std::string_view space{"\0\t\n\f\r ", 6};
constexpr std::string_view delimiters{"\0\t\n\f\r ()<>[]{}/%", 16};

/// The length of the string that begins with a parenthesis; 0 when it does not end.
std::size_t stringLength(std::string_view text)
{
    int depth = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\\')
            ++i;
        else if (text[i] == '(')
            ++depth;
        else if (text[i] == ')' && --depth == 0)
            return i + 1;
    }
    return 0;
}

std::size_t wordLength(std::string_view text) { return std::min(text.find_first_of(delimiters, 1), text.size()); }

/// The length of the next token; 0 at the end and for one that is cut.
std::size_t tokenLength(std::string_view text)
{
    if (text.empty())
        return 0;
    if (text.starts_with("<<") || text.starts_with(">>"))
        return 2;
    if (text.front() == '(')
        return stringLength(text);
    if (text.front() == '<')
        return text.find('>') + 1; // npos + 1 is 0
    if (text.front() == '[' || text.front() == ']')
        return 1;
    return wordLength(text);
}

/// The length of the dictionary or array that `text` begins with; 0 when it does not end.
std::size_t compositeLength(std::string_view text)
{
    int depth = 0;
    std::string_view rest = text;
    for (;;) {
        const std::size_t length = tokenLength(rest);
        if (length == 0)
            return 0;
        const std::string_view token = rest.substr(0, length);
        rest.remove_prefix(length);
        if (token == "<<" || token == "[")
            ++depth;
        else if ((token == ">>" || token == "]") && --depth == 0)
            return text.size() - rest.size();
        rest = afterPdfSpace(rest);
    }
}

std::optional<std::uint32_t> takeNumber(std::string_view& text)
{
    text = afterPdfSpace(text);
    std::uint32_t number = 0;
    const auto [end, failure] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (failure != std::errc{})
        return std::nullopt;
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    return number;
}

/// The length of "12 0 R" at the start of the text; 0 when it is something else.
std::size_t referenceLength(std::string_view text)
{
    std::string_view rest = text;
    if (!takeNumber(rest) || !takeNumber(rest))
        return 0;
    rest = afterPdfSpace(rest);
    if (!rest.starts_with('R') || wordLength(rest) != 1)
        return 0;
    return text.size() - rest.size() + 1;
}

/// The value of a hexadecimal digit; none for another character.
std::optional<int> hexadecimalDigit(char character)
{
    int value = 0;
    const auto [end, failure] = std::from_chars(&character, &character + 1, value, 16);
    return failure == std::errc{} ? std::optional{value} : std::nullopt;
}

std::string fromHexadecimal(std::string_view digits)
{
    std::string result;
    bool isFirstOfPair = true;
    for (const char each : digits) {
        const auto digit = hexadecimalDigit(each);
        if (!digit)
            continue;
        if (isFirstOfPair)
            result += static_cast<char>(*digit << 4); // a last digit without a partner counts as followed by 0
        else
            result.back() = static_cast<char>(static_cast<unsigned char>(result.back()) | *digit);
        isFirstOfPair = !isFirstOfPair;
    }
    return result;
}

/// Takes the character that an escape stands for off the front, behind its backslash; none for a continued line.
std::optional<char> takeEscaped(std::string_view& rest)
{
    const char first = rest.front();
    if (first >= '0' && first <= '7') {
        int value = 0;
        const auto end =
            std::from_chars(rest.data(), rest.data() + std::min<std::size_t>(rest.size(), 3), value, 8).ptr;
        rest.remove_prefix(static_cast<std::size_t>(end - rest.data()));
        return static_cast<char>(value);
    }
    rest.remove_prefix(first == '\r' && rest.substr(1).starts_with('\n') ? 2 : 1);
    if (first == '\r' || first == '\n')
        return std::nullopt;
    constexpr std::string_view letters = "nrtbf";
    constexpr std::string_view meanings = "\n\r\t\b\f";
    const std::size_t letter = letters.find(first);
    return letter == std::string_view::npos ? first : meanings[letter];
}

std::string fromLiteral(std::string_view rest)
{
    std::string result;
    while (!rest.empty()) {
        const char first = rest.front();
        rest.remove_prefix(1);
        if (first != '\\' || rest.empty())
            result += first;
        else if (const auto character = takeEscaped(rest))
            result += *character;
    }
    return result;
}

} // namespace

std::string_view afterPdfSpace(std::string_view text)
{
    for (;;) {
        text.remove_prefix(std::min(text.find_first_not_of(space), text.size()));
        if (!text.starts_with('%'))
            return text;
        text.remove_prefix(std::min(text.find_first_of("\r\n"), text.size()));
    }
}

std::string_view pdfObject(std::string_view text)
{
    text = afterPdfSpace(text);
    if (text.starts_with("<<") || text.starts_with('['))
        return text.substr(0, compositeLength(text));
    if (const std::size_t length = referenceLength(text); length > 0)
        return text.substr(0, length);
    return text.substr(0, tokenLength(text));
}

std::optional<std::string_view> pdfEntry(std::string_view text, std::string_view key)
{
    text = afterPdfSpace(text);
    if (!text.starts_with("<<"))
        return std::nullopt;
    text.remove_prefix(2);
    for (;;) {
        text = afterPdfSpace(text);
        if (!text.starts_with('/'))
            return std::nullopt;
        const std::size_t length = wordLength(text);
        const bool isWanted = text.substr(0, length) == key;
        text = afterPdfSpace(text.substr(length));
        const std::string_view value = pdfObject(text);
        if (value.empty())
            return std::nullopt;
        if (isWanted)
            return value;
        text.remove_prefix(value.size());
    }
}

std::optional<std::int64_t> pdfInteger(std::string_view object)
{
    std::int64_t number = 0;
    const auto [end, failure] = std::from_chars(object.data(), object.data() + object.size(), number);
    if (failure != std::errc{} || end != object.data() + object.size())
        return std::nullopt;
    return number;
}

std::optional<PdfReference> pdfReference(std::string_view object)
{
    if (referenceLength(object) == 0)
        return std::nullopt;
    const auto number = takeNumber(object);
    const auto generation = takeNumber(object);
    return PdfReference{.number = number.value_or(0), .generation = generation.value_or(0)};
}

std::optional<std::string> pdfString(std::string_view object)
{
    if (object.size() < 2 || object.starts_with("<<"))
        return std::nullopt;
    const std::string_view inside = object.substr(1, object.size() - 2);
    if (object.front() == '(')
        return fromLiteral(inside);
    if (object.front() == '<')
        return fromHexadecimal(inside);
    return std::nullopt;
}

} // namespace nivex
