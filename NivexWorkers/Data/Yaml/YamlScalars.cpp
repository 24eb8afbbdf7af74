#include "NivexWorkers/Data/Yaml/YamlScalars.hpp"

#include "NivexWorkers/Data/Model/Numbers.hpp"

#include "NivexKit/Foundation/Text/Ascii.hpp"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <span>

namespace nivex::data {
namespace {

constexpr std::array<std::string_view, 5> nulls{"", "~", "null", "Null", "NULL"};
constexpr std::array<std::string_view, 3> trues{"true", "True", "TRUE"};
constexpr std::array<std::string_view, 3> falses{"false", "False", "FALSE"};

bool isAmong(std::string_view text, std::span<const std::string_view> words)
{
    return std::ranges::find(words, text) != words.end();
}

/// "0x1F" and "0o17"
bool isOfOtherBase(std::string_view text, std::string& decimal)
{
    if (text.size() < 3 || text[0] != '0' || (text[1] != 'x' && text[1] != 'o'))
        return false;
    std::uint64_t value = 0;
    const auto* end = text.data() + text.size();
    const auto read = std::from_chars(text.data() + 2, end, value, text[1] == 'x' ? 16 : 8);
    if (read.ec != std::errc{} || read.ptr != end)
        return false;
    decimal = std::to_string(value);
    return true;
}

/// ".5", "1." and "+2", which JSON writes otherwise
bool isNumberWrittenOtherwise(std::string_view text, std::string& json)
{
    const bool isNegative = text.starts_with('-');
    if (isNegative || text.starts_with('+'))
        text.remove_prefix(1);
    if (text.find_first_of("0123456789") == text.npos)
        return false;
    json = isNegative ? "-" : "";
    if (text.starts_with('.'))
        json += '0';
    json += text;
    if (const std::size_t point = json.find('.');
        point != json.npos && (point + 1 == json.size() || !isAsciiDigit(json[point + 1])))
        json.insert(point + 1, "0");
    return isJsonNumber(json);
}

} // namespace

Scalar plainYamlScalar(std::string_view text, std::string& storage)
{
    if (isAmong(text, nulls))
        return {ScalarKind::null, {}};
    if (isAmong(text, trues))
        return {ScalarKind::boolean, "true"};
    if (isAmong(text, falses))
        return {ScalarKind::boolean, "false"};
    switch (lookOf(text)) {
    case Look::number:
        return {ScalarKind::number, text};
    case Look::day:
    case Look::moment:
        return {ScalarKind::date, text};
    default:
        break;
    }
    if (isOfOtherBase(text, storage) || isNumberWrittenOtherwise(text, storage))
        return {ScalarKind::number, storage};
    return {ScalarKind::text, text};
}

} // namespace nivex::data
