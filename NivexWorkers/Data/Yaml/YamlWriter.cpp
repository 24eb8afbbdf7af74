#include "NivexWorkers/Data/Yaml/YamlWriter.hpp"

#include "NivexWorkers/Data/Model/Numbers.hpp"

#include "NivexKit/Foundation/Text/Ascii.hpp"

#include <algorithm>
#include <array>
#include <string>

namespace nivex::data {
namespace {

/// Words that mean something else in one version of YAML or the other, in lower case.
constexpr std::array<std::string_view, 9> words{"y", "n", "yes", "no", "on", "off", "true", "false", "null"};

bool isPlain(std::string_view text)
{
    if (text.empty() || text.back() == ' ')
        return false;
    const bool beginsAsText = isAsciiLetter(text.front()) || static_cast<unsigned char>(text.front()) >= 0xC4;
    const auto isHarmless = [](char each) {
        return isAsciiLetter(each) || isAsciiDigit(each) || static_cast<unsigned char>(each) >= 0xC4 ||
               (static_cast<unsigned char>(each) >= 0x80 && static_cast<unsigned char>(each) < 0xC0) ||
               each == '\xC3' || std::string_view{" _-./()+"}.find(each) != std::string_view::npos;
    };
    if (!beginsAsText && text.front() != '\xC3')
        return false;
    if (!std::ranges::all_of(text, isHarmless) || text.find("\xE2\x80") != text.npos || text.find('\xEF') != text.npos)
        return false;
    return std::ranges::find(words, asciiLowercased(text)) == words.end();
}

} // namespace

/// Begins the line of the next member or element of the innermost level.
void YamlWriter::beginChild()
{
    Level& level = levels_.back();
    if (!level.isEmpty || !level.continuesLine) {
        text_.put('\n');
        for (std::size_t i = 1; i < levels_.size(); ++i)
            text_.put("  ");
    }
    level.isEmpty = false;
}

/// What stands between the value before and the next one.
void YamlWriter::beginValue()
{
    if (isAfterKey_ || levels_.empty())
        return;
    beginChild();
    text_.put("- ");
}

void YamlWriter::open(bool isArray)
{
    beginValue();
    const bool continuesLine = !isAfterKey_;
    levels_.push_back({.isArray = isArray, .continuesLine = continuesLine});
    isAfterKey_ = false;
}

void YamlWriter::close(std::string_view ifEmpty)
{
    const Level level = levels_.back();
    levels_.pop_back();
    if (level.isEmpty) {
        if (!level.continuesLine)
            text_.put(' ');
        text_.put(ifEmpty);
    }
    if (levels_.empty())
        text_.put('\n');
}

void YamlWriter::key(std::string_view name)
{
    beginChild();
    text(name);
    text_.put(':');
    isAfterKey_ = true;
}

void YamlWriter::scalar(const Scalar& value)
{
    beginValue();
    if (isAfterKey_)
        text_.put(' ');
    isAfterKey_ = false;
    switch (value.kind) {
    case ScalarKind::missing:
    case ScalarKind::null:
        text_.put("null");
        break;
    case ScalarKind::boolean:
    case ScalarKind::date:
        text_.put(value.text);
        break;
    case ScalarKind::number:
        number(value.text);
        break;
    case ScalarKind::data:
        text_.put("!!binary \"");
        text_.put(value.text);
        text_.put('"');
        break;
    case ScalarKind::asWritten:
    case ScalarKind::text:
        text(value.text);
        break;
    }
    if (levels_.empty())
        text_.put('\n');
}

/// Readers of YAML 1.1 take a number with an exponent for one only with a point and a sign in it.
void YamlWriter::number(std::string_view digits)
{
    const std::size_t exponent = digits.find_first_of("eE");
    text_.put(digits.substr(0, exponent));
    if (exponent == digits.npos)
        return;
    if (digits.substr(0, exponent).find('.') == digits.npos)
        text_.put(".0");
    text_.put('e');
    const std::string_view power = digits.substr(exponent + 1);
    if (isAsciiDigit(power.front()))
        text_.put('+');
    text_.put(power);
}

void YamlWriter::text(std::string_view text)
{
    if (isPlain(text)) {
        text_.put(text);
        return;
    }
    constexpr std::string_view digits = "0123456789ABCDEF";
    text_.put('"');
    for (std::size_t at = 0; at < text.size(); ++at) {
        const char each = text[at];
        const auto byte = static_cast<unsigned char>(each);
        if (each == '"' || each == '\\') {
            text_.put('\\');
            text_.put(each);
        } else if (each == '\n') {
            text_.put("\\n");
        } else if (each == '\t') {
            text_.put("\\t");
        } else if (each == '\r') {
            text_.put("\\r");
        } else if (byte < 0x20 || byte == 0x7F) {
            text_.put("\\x");
            text_.put(digits[byte >> 4]);
            text_.put(digits[byte & 15]);
        } else if (byte == 0xC2 && static_cast<unsigned char>(text[at + 1]) < 0xA0) {
            text_.put("\\x"); // controls of Latin-1
            text_.put(digits[static_cast<unsigned char>(text[at + 1]) >> 4]);
            text_.put(digits[static_cast<unsigned char>(text[++at]) & 15]);
        } else if (text.substr(at).starts_with("\u2028") || text.substr(at).starts_with("\u2029")) {
            text_.put(text[at + 2] == '\xA8' ? "\\L" : "\\P");
            at += 2;
        } else if (text.substr(at).starts_with("\uFEFF")) {
            text_.put("\\uFEFF");
            at += 2;
        } else if (text.substr(at).starts_with("\uFFFE") || text.substr(at).starts_with("\uFFFF")) {
            text_.put(text[at + 2] == '\xBE' ? "\\uFFFE" : "\\uFFFF");
            at += 2;
        } else {
            text_.put(each);
        }
    }
    text_.put('"');
}

} // namespace nivex::data
