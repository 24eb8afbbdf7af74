#include "NivexWorkers/Data/Json/JsonReader.hpp"

#include "NivexWorkers/Data/Model/Errors.hpp"
#include "NivexWorkers/Data/Model/Numbers.hpp"
#include "NivexWorkers/Data/Text/TextSource.hpp"

#include "NivexKit/Foundation/Text/Unicode.hpp"

#include <rapidjson/error/en.h>
#include <rapidjson/reader.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <string>

namespace nivex::data {
namespace {

constexpr unsigned flags = rapidjson::kParseIterativeFlag | rapidjson::kParseNumbersAsStringsFlag |
                           rapidjson::kParseStopWhenDoneFlag | rapidjson::kParseNanAndInfFlag;

/// The characters of a text as the library asks for them, one by one; zero at the end.
class Characters {
public:
    using Ch = char;

    Characters(TextSource& text, const Input& input) : text_{text}, input_{input} { fill(); }

    Ch Peek() const { return buffer_[at_]; }
    Ch Take()
    {
        const Ch taken = buffer_[at_];
        if (at_ < end_ && ++at_ == end_)
            fill();
        return taken;
    }
    std::size_t Tell() const { return before_ + at_; }

    bool isAtEnd() const { return end_ == 0; }
    void skipSpace()
    {
        while (Peek() == ' ' || Peek() == '\n' || Peek() == '\r' || Peek() == '\t')
            Take();
    }
    /// The line that is being read, counted from 1.
    std::uint64_t line() const { return 1 + linesBefore_ + lineFeeds(at_); }

    // The library asks for these to be there; only writing in place uses them.
    Ch* PutBegin() { return nullptr; }
    void Put(Ch) {}
    void Flush() {}
    std::size_t PutEnd(Ch*) { return 0; }

private:
    std::uint64_t lineFeeds(std::size_t count) const
    {
        return static_cast<std::uint64_t>(std::count(buffer_.data(), buffer_.data() + count, '\n'));
    }

    void fill()
    {
        before_ += end_;
        linesBefore_ += lineFeeds(end_);
        at_ = 0;
        end_ = text_.read(std::span{buffer_}.first(buffer_.size() - 1));
        buffer_[end_] = '\0';
        input_.progress(text_.share());
    }

    TextSource& text_;
    const Input& input_;
    std::array<char, (1 << 16) + 1> buffer_{};
    std::size_t at_ = 0;
    std::size_t end_ = 0;
    std::size_t before_ = 0; // characters of the buffers that are gone
    std::uint64_t linesBefore_ = 0;
};

/// Hands the library's events on.
class Handler {
public:
    explicit Handler(TreeEvents& events, std::size_t depth) : events_{events}, depth_{depth} {}

    bool Null() { return scalar(ScalarKind::null, {}); }
    bool Bool(bool value) { return scalar(ScalarKind::boolean, value ? "true" : "false"); }
    bool RawNumber(const char* text, rapidjson::SizeType length, bool)
    {
        const std::string_view number{text, length};
        return scalar(isJsonNumber(number) ? ScalarKind::number : ScalarKind::text, number);
    }
    bool String(const char* text, rapidjson::SizeType length, bool)
    {
        return scalar(ScalarKind::text, wellFormed({text, length}));
    }
    bool Key(const char* text, rapidjson::SizeType length, bool)
    {
        events_.key(wellFormed({text, length}));
        return true;
    }
    bool StartObject()
    {
        deeper();
        events_.beginObject();
        return true;
    }
    bool EndObject(rapidjson::SizeType)
    {
        --depth_;
        events_.endObject();
        return true;
    }
    bool StartArray()
    {
        deeper();
        events_.beginArray();
        return true;
    }
    bool EndArray(rapidjson::SizeType)
    {
        --depth_;
        events_.endArray();
        return true;
    }

    // Numbers come as texts, save those that are not finite.
    bool Int(int) { return false; }
    bool Uint(unsigned) { return false; }
    bool Int64(std::int64_t) { return false; }
    bool Uint64(std::uint64_t) { return false; }
    bool Double(double value)
    {
        return scalar(ScalarKind::text, value != value ? "NaN" : value > 0 ? "Infinity" : "-Infinity");
    }

private:
    /// An escape can spell half a surrogate pair, which no text has.
    std::string_view wellFormed(std::string_view text)
    {
        constexpr char beginsSurrogate = '\xED';
        if (text.find(beginsSurrogate) == text.npos || isValidUtf8(text))
            return text;
        replaced_ = validUtf8(text);
        return replaced_;
    }

    bool scalar(ScalarKind kind, std::string_view text)
    {
        events_.scalar({kind, text});
        return true;
    }

    void deeper()
    {
        if (++depth_ > maxDepth)
            throw tooDeep(maxDepth);
    }

    TreeEvents& events_;
    std::size_t depth_;
    std::string replaced_;
};

/// Whether the text is one value a line: the first line that is not empty is a whole value, and something follows.
bool isOneValuePerLine(TextSource& text)
{
    constexpr std::size_t longestLine = 4 << 20;
    std::string head;
    bool isLong = false;
    while (!isLong && head.find('\n', head.find_first_not_of(" \t\r\n")) == head.npos) {
        const std::size_t before = head.size();
        head.resize(before + (1 << 16));
        const std::size_t count = text.read(std::span{head}.subspan(before));
        head.resize(before + count);
        isLong = head.size() > longestLine || count == 0;
    }
    text.rewind();
    const std::size_t begin = head.find_first_not_of(" \t\r\n");
    const std::size_t end = begin == head.npos ? head.npos : head.find('\n', begin);
    if (end == head.npos || head.find_first_not_of(" \t\r\n", end) == head.npos)
        return false;
    const std::string line = head.substr(begin, end - begin);
    rapidjson::BaseReaderHandler<> ignored;
    rapidjson::Reader reader;
    rapidjson::StringStream stream{line.c_str()};
    constexpr unsigned whole = flags & ~static_cast<unsigned>(rapidjson::kParseStopWhenDoneFlag);
    return !reader.Parse<whole>(stream, ignored).IsError();
}

} // namespace

void readJson(const Input& input, TreeEvents& events)
{
    TextSource text{input.bytes};
    const bool isSequence = isOneValuePerLine(text);
    Characters characters{text, input};
    rapidjson::Reader reader;
    Handler handler{events, isSequence ? std::size_t{1} : 0};
    if (isSequence)
        events.beginArray();
    do {
        const rapidjson::ParseResult result = reader.Parse<flags>(characters, handler);
        if (result.Code() == rapidjson::kParseErrorNumberTooBig)
            throw ConversionError::resourceLimit(
                filled("nombre démesuré à la ligne {}"_fr, {std::to_string(characters.line())}));
        if (result.IsError())
            throw invalidAtLine("JSON", characters.line()).because(rapidjson::GetParseError_En(result.Code()));
        characters.skipSpace();
    } while (isSequence && !characters.isAtEnd());
    if (!characters.isAtEnd())
        throw invalidAtLine("JSON", characters.line()).because("something follows the value");
    if (isSequence)
        events.endArray();
}

} // namespace nivex::data
