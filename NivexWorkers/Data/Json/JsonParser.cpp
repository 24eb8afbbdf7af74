#include "NivexWorkers/Data/Json/JsonParser.hpp"

#include "NivexWorkers/Data/Model/Errors.hpp"
#include "NivexWorkers/Data/Model/Numbers.hpp"

#include "NivexKit/Foundation/Text/Ascii.hpp"
#include "NivexKit/Foundation/Text/Unicode.hpp"

#include <algorithm>

namespace nivex::data {
namespace {

constexpr std::size_t bufferSize = 1 << 16;

bool isSpace(char each) { return each == ' ' || each == '\n' || each == '\r' || each == '\t'; }
bool endsRun(char each) { return each == '"' || each == '\\' || static_cast<unsigned char>(each) < 0x20; }
bool isInWord(char each)
{
    return isAsciiLetter(each) || isAsciiDigit(each) || each == '-' || each == '+' || each == '.';
}

} // namespace

JsonParser::JsonParser(TextSource& text, std::function<void()> progress)
    : text_{text}, progress_{std::move(progress)}, buffer_(bufferSize)
{
}

ConversionError JsonParser::mistake(std::string_view cause) const
{
    const auto lines = std::count(buffer_.begin(), buffer_.begin() + static_cast<std::ptrdiff_t>(at_), '\n');
    return invalidAtLine("JSON", 1 + linesBefore_ + static_cast<std::uint64_t>(lines)).because(cause);
}

void JsonParser::fail(std::string_view cause) const { throw mistake(cause); }

/// Takes the next part of the text in place of what has been read; false at the end, where the last part stays.
bool JsonParser::fill()
{
    const auto lines = std::count(buffer_.begin(), buffer_.begin() + static_cast<std::ptrdiff_t>(end_), '\n');
    const std::size_t count = text_.read(buffer_);
    progress_();
    if (count == 0)
        return false;
    linesBefore_ += static_cast<std::uint64_t>(lines);
    at_ = 0;
    end_ = count;
    return true;
}

char JsonParser::peek() { return at_ < end_ || fill() ? buffer_[at_] : '\0'; }

char JsonParser::take()
{
    const char taken = peek();
    at_ += at_ < end_;
    return taken;
}

char JsonParser::afterSpace()
{
    while (isSpace(peek()))
        ++at_;
    return peek();
}

bool JsonParser::isAtEnd() { return afterSpace() == '\0' && at_ == end_; }

void JsonParser::require(char expected)
{
    if (afterSpace() != expected)
        fail(std::string{"expected "} + expected);
    ++at_;
}

void JsonParser::value(TreeEvents& events, std::size_t outerLevels)
{
    Next next = Next::value;
    while (next != Next::done) {
        const char first = afterSpace();
        const bool isEnd = !levels_.empty() && first == (levels_.back() ? '}' : ']');
        switch (next) {
        case Next::value:
            next = begin(first, events, outerLevels);
            break;
        case Next::valueOrEnd:
            next = isEnd ? end(events) : begin(first, events, outerLevels);
            break;
        case Next::keyOrEnd:
            next = isEnd ? end(events) : key(events);
            break;
        case Next::key:
            next = key(events);
            break;
        case Next::separatorOrEnd:
            if (isEnd) {
                next = end(events);
            } else {
                require(',');
                next = levels_.back() ? Next::key : Next::value;
            }
            break;
        case Next::done:
            break;
        }
    }
}

JsonParser::Next JsonParser::begin(char first, TreeEvents& events, std::size_t outerLevels)
{
    if (first == '{' || first == '[') {
        if (levels_.size() + outerLevels == maxDepth)
            throw tooDeep(maxDepth);
        ++at_;
        levels_.push_back(first == '{');
        if (levels_.back())
            events.beginObject();
        else
            events.beginArray();
        return levels_.back() ? Next::keyOrEnd : Next::valueOrEnd;
    }
    if (first == '"')
        events.scalar({ScalarKind::text, string()});
    else if (isAsciiDigit(first) || first == '-')
        number(events);
    else
        word(first, events);
    return levels_.empty() ? Next::done : Next::separatorOrEnd;
}

JsonParser::Next JsonParser::end(TreeEvents& events)
{
    ++at_;
    const bool isObject = levels_.back();
    levels_.pop_back();
    if (isObject)
        events.endObject();
    else
        events.endArray();
    return levels_.empty() ? Next::done : Next::separatorOrEnd;
}

JsonParser::Next JsonParser::key(TreeEvents& events)
{
    if (peek() != '"')
        fail("no key");
    events.key(string());
    require(':');
    return Next::value;
}

/// true, false and null, and the numbers that some programs write and JSON does not have.
void JsonParser::word(char first, TreeEvents& events)
{
    if (first == '\0' && at_ == end_)
        fail("the text ends too soon");
    gathered_.clear();
    while (isInWord(peek()) && gathered_.size() < 16)
        gathered_ += take();
    if (gathered_ == "true" || gathered_ == "false")
        events.scalar({ScalarKind::boolean, gathered_});
    else if (gathered_ == "null")
        events.scalar({ScalarKind::null, {}});
    else if (gathered_ == "NaN")
        events.scalar({ScalarKind::text, "NaN"});
    else if (gathered_ == "Infinity" || gathered_ == "Inf")
        events.scalar({ScalarKind::text, "Infinity"});
    else
        fail("no value");
}

void JsonParser::number(TreeEvents& events)
{
    const char* begin = buffer_.data() + at_;
    const char* end = std::find_if_not(begin, static_cast<const char*>(buffer_.data() + end_), isInWord);
    std::string_view text{begin, static_cast<std::size_t>(end - begin)};
    if (end < buffer_.data() + end_) {
        at_ += text.size();
    } else {
        gathered_.clear();
        while (isInWord(peek()))
            gathered_ += take();
        text = gathered_;
    }
    if (isJsonNumber(text))
        events.scalar({ScalarKind::number, text});
    else if (text == "-Infinity" || text == "-Inf")
        events.scalar({ScalarKind::text, "-Infinity"});
    else
        fail("no number");
}

/// A string behind its first quote; it holds until the next is read.
std::string_view JsonParser::string()
{
    ++at_;
    half_ = 0;
    bool isGathered = false;
    while (true) {
        const char* begin = buffer_.data() + at_;
        const char* bufferEnd = buffer_.data() + end_;
        const char* end = std::find_if(begin, bufferEnd, endsRun);
        const std::string_view run{begin, static_cast<std::size_t>(end - begin)};
        at_ += run.size();
        if (end != bufferEnd && *end == '"') {
            ++at_;
            if (!isGathered)
                return run;
            endHalf();
            return gathered_.append(run);
        }
        if (!isGathered)
            gathered_.clear();
        isGathered = true;
        if (!run.empty())
            endHalf();
        gathered_ += run;
        if (end == bufferEnd) {
            if (!fill())
                fail("a string that does not end");
        } else if (*end == '\\') {
            ++at_;
            escape();
        } else {
            fail("a control character in a string");
        }
    }
}

void JsonParser::escape()
{
    constexpr std::string_view letters = "\"\\/bfnrt";
    constexpr std::string_view meanings = "\"\\/\b\f\n\r\t";
    const char letter = take();
    if (letter != 'u') {
        const std::size_t place = letters.find(letter);
        if (place == letters.npos)
            fail("unknown escape");
        endHalf();
        gathered_ += meanings[place];
        return;
    }
    const std::uint32_t scalar = unit();
    const bool isHigh = scalar >= 0xD800 && scalar < 0xDC00;
    const bool isLow = scalar >= 0xDC00 && scalar < 0xE000;
    if (isLow && half_ != 0) {
        appendScalar(gathered_, 0x10000 + ((half_ - 0xD800) << 10) + (scalar - 0xDC00));
        half_ = 0;
        return;
    }
    endHalf();
    if (isHigh)
        half_ = scalar;
    else
        appendScalar(gathered_, isLow ? U'\uFFFD' : static_cast<char32_t>(scalar));
}

/// Half a surrogate pair, which no text has, becomes one replacement character.
void JsonParser::endHalf()
{
    if (half_ != 0)
        appendScalar(gathered_, U'\uFFFD');
    half_ = 0;
}

std::uint32_t JsonParser::unit()
{
    std::uint32_t unit = 0;
    for (int i = 0; i < 4; ++i) {
        const char digit = asciiLowercased(take());
        const bool isLetter = digit >= 'a' && digit <= 'f';
        if (!isAsciiDigit(digit) && !isLetter)
            fail("no hexadecimal digit");
        unit = unit * 16 + static_cast<std::uint32_t>(isLetter ? digit - 'a' + 10 : digit - '0');
    }
    return unit;
}

} // namespace nivex::data
