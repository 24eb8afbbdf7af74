#include "NivexWorkers/Data/Json/JsonWriter.hpp"

#include <cstdint>
#include <cstring>

namespace nivex::data {
namespace {

constexpr std::uint64_t everyByte(unsigned char byte) { return 0x0101'0101'0101'0101U * byte; }

/// The high bit of each byte that is zero, and perhaps of some behind it.
constexpr std::uint64_t zeroBytes(std::uint64_t word) { return (word - everyByte(1)) & ~word & everyByte(0x80); }

bool needsEscape(char character)
{
    return static_cast<unsigned char>(character) < 0x20 || character == '"' || character == '\\';
}

/// Whether one of the eight characters does not stand for itself in a JSON string.
bool holdsEscape(const char* eight)
{
    std::uint64_t word = 0;
    std::memcpy(&word, eight, 8);
    const std::uint64_t controls = (word - everyByte(0x20)) & ~word & everyByte(0x80);
    return (controls | zeroBytes(word ^ everyByte('"')) | zeroBytes(word ^ everyByte('\\'))) != 0;
}

/// How many characters at the beginning stand for themselves in a JSON string.
std::size_t plainLength(std::string_view text)
{
    std::size_t at = 0;
    while (at + 8 <= text.size() && !holdsEscape(text.data() + at))
        at += 8;
    // The last eight are looked at once more rather than those that are left one by one.
    if (text.size() >= 8 && at + 8 > text.size() && !holdsEscape(text.data() + text.size() - 8))
        return text.size();
    while (at < text.size() && !needsEscape(text[at]))
        ++at;
    return at;
}

} // namespace

void JsonWriter::breakLine()
{
    text_.put('\n');
    for (std::size_t i = 0; i < depth_; ++i)
        text_.put("  ");
}

/// What stands between the value before and the next one.
void JsonWriter::separate()
{
    if (isAfterKey_) {
        isAfterKey_ = false;
        return;
    }
    if (depth_ == 0)
        return;
    if (!isEmpty_)
        text_.put(',');
    isEmpty_ = false;
    if (depth_ <= indentedLevels_)
        breakLine();
}

void JsonWriter::open(char bracket)
{
    separate();
    text_.put(bracket);
    ++depth_;
    isEmpty_ = true;
}

void JsonWriter::beginObject()
{
    if (depth_ == 0 && indentedLevels_ == 1)
        indentedLevels_ = 2;
    open('{');
}

void JsonWriter::close(char bracket)
{
    const bool isBroken = !isEmpty_ && depth_ <= indentedLevels_;
    --depth_;
    isEmpty_ = false;
    if (isBroken)
        breakLine();
    text_.put(bracket);
    if (depth_ == 0)
        text_.put('\n');
}

void JsonWriter::key(std::string_view name)
{
    separate();
    string(name);
    text_.put(depth_ <= indentedLevels_ ? std::string_view{": "} : std::string_view{":"});
    isAfterKey_ = true;
}

void JsonWriter::scalar(const Scalar& value)
{
    separate();
    switch (value.kind) {
    case ScalarKind::missing:
    case ScalarKind::null:
        text_.put("null");
        break;
    case ScalarKind::boolean:
    case ScalarKind::number:
        text_.put(value.text);
        break;
    case ScalarKind::asWritten:
    case ScalarKind::text:
    case ScalarKind::date:
    case ScalarKind::data:
        string(value.text);
        break;
    }
    if (depth_ == 0)
        text_.put('\n');
}

void JsonWriter::string(std::string_view text)
{
    constexpr std::string_view digits = "0123456789abcdef";
    text_.put('"');
    while (true) {
        const std::size_t plain = plainLength(text);
        text_.put(text.substr(0, plain));
        if (plain == text.size())
            break;
        const char escaped = text[plain];
        text_.put('\\');
        switch (escaped) {
        case '\n':
            text_.put('n');
            break;
        case '\r':
            text_.put('r');
            break;
        case '\t':
            text_.put('t');
            break;
        case '"':
        case '\\':
            text_.put(escaped);
            break;
        default:
            text_.put("u00");
            text_.put(digits[static_cast<unsigned char>(escaped) >> 4]);
            text_.put(digits[static_cast<unsigned char>(escaped) & 15]);
        }
        text.remove_prefix(plain + 1);
    }
    text_.put('"');
}

} // namespace nivex::data
