#include "NivexWorkers/Data/Json/JsonReader.hpp"

#include "NivexWorkers/Data/Json/JsonParser.hpp"
#include "NivexWorkers/Data/Text/TextSource.hpp"

#include "NivexKit/Foundation/ConversionError.hpp"

#include <span>
#include <string>

namespace nivex::data {
namespace {

/// Takes nothing.
class Ignored final : public TreeEvents {
public:
    void beginObject() override {}
    void key(std::string_view) override {}
    void endObject() override {}
    void beginArray() override {}
    void endArray() override {}
    void scalar(const Scalar&) override {}
};

/// Whether a text is exactly one value.
bool isValue(std::string_view text)
{
    const MemorySource bytes{std::as_bytes(std::span{text})};
    TextSource source{bytes, TextEncoding{}};
    JsonParser parser{source};
    Ignored ignored;
    try {
        parser.value(ignored);
        return parser.isAtEnd();
    } catch (const ConversionError&) {
        return false;
    }
}

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
    return isValue(std::string_view{head}.substr(begin, end - begin));
}

} // namespace

void readJson(const Input& input, TreeEvents& events)
{
    TextSource text{input.bytes};
    const bool isSequence = isOneValuePerLine(text);
    JsonParser parser{text, [&] { input.progress(text.share()); }};
    if (!isSequence) {
        parser.value(events);
        if (!parser.isAtEnd())
            throw parser.mistake("more behind the value");
        return;
    }
    events.beginArray();
    while (!parser.isAtEnd())
        parser.value(events, 1);
    events.endArray();
}

} // namespace nivex::data
