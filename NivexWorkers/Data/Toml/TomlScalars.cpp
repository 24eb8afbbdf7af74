#include "NivexWorkers/Data/Toml/TomlScalars.hpp"

#include "NivexWorkers/Data/Model/Numbers.hpp"
#include "NivexWorkers/Data/Toml/TomlDates.hpp"

#include "NivexKit/Foundation/Text/Ascii.hpp"

#include <charconv>
#include <cstdint>

namespace nivex::data {
namespace {

/// The digits without underscores, each of which stands between two digits; none where one does not.
std::optional<std::string> withoutUnderscores(std::string_view text)
{
    const auto isDigit = [text](std::size_t at) { return at < text.size() && isAsciiDigit(text[at]); };
    std::string digits;
    for (std::size_t at = 0; at < text.size(); ++at)
        if (text[at] != '_')
            digits += text[at];
        else if (at == 0 || !isDigit(at - 1) || !isDigit(at + 1))
            return std::nullopt;
    return digits;
}

/// "0x1F", "0o17" and "0b101" as decimal digits.
std::optional<std::string> ofOtherBase(std::string_view text)
{
    const int base = text.starts_with("0x") ? 16 : text.starts_with("0o") ? 8 : text.starts_with("0b") ? 2 : 0;
    if (base == 0 || text.size() == 2 || text[2] == '_')
        return std::nullopt;
    std::string digits;
    for (std::size_t at = 2; at < text.size(); ++at)
        if (text[at] != '_')
            digits += text[at];
        else if (at + 1 == text.size() || text[at + 1] == '_')
            return std::nullopt;
    std::uint64_t value = 0;
    const auto* end = digits.data() + digits.size();
    const auto read = std::from_chars(digits.data(), end, value, base);
    if (read.ec != std::errc{} || read.ptr != end)
        return std::nullopt;
    return std::to_string(value);
}

} // namespace

std::optional<TomlScalar> bareTomlScalar(std::string_view text)
{
    if (text == "true" || text == "false")
        return TomlScalar{ScalarKind::boolean, std::string{text}};
    const bool hasSign = text.starts_with('+') || text.starts_with('-');
    const std::string_view unsignedText = text.substr(hasSign ? 1 : 0);
    if (unsignedText == "inf" || unsignedText == "nan")
        return TomlScalar{ScalarKind::text, std::string{text}};
    if (auto number = ofOtherBase(text))
        return TomlScalar{ScalarKind::number, *std::move(number)};
    if (auto date = tomlDate(text))
        return TomlScalar{ScalarKind::date, *std::move(date)};
    const auto digits = withoutUnderscores(text.starts_with('+') ? unsignedText : text);
    if (digits && isJsonNumber(*digits) && (!text.starts_with('+') || !digits->starts_with('-')))
        return TomlScalar{ScalarKind::number, *digits};
    return std::nullopt;
}

bool fitsTomlNumber(std::string_view number)
{
    const auto* end = number.data() + number.size();
    if (number.find_first_of(".eE") != number.npos) {
        double value = 0;
        return std::from_chars(number.data(), end, value).ec == std::errc{};
    }
    std::int64_t value = 0;
    return std::from_chars(number.data(), end, value).ec == std::errc{};
}

} // namespace nivex::data
