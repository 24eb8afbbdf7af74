#include "NivexKit/Foundation/Text/Json.hpp"

#include "NivexKit/Foundation/Text/Unicode.hpp"

#include <simdjson.h>

#include <algorithm>
#include <charconv>
#include <cmath>

namespace nivex {
namespace {

namespace dom = simdjson::dom;

/// Tells a parsed document as events. The library has checked its depth, so the recursion is bounded.
class Teller {
public:
    explicit Teller(JsonEvents& events) : events_{events} {}

    void tell(dom::element element)
    {
        switch (element.type()) {
        case dom::element_type::OBJECT:
            events_.beginObject();
            for (const dom::key_value_pair member : dom::object{element}) {
                events_.key(member.key);
                tell(member.value);
            }
            return events_.endObject();
        case dom::element_type::ARRAY:
            events_.beginArray();
            for (const dom::element each : dom::array{element})
                tell(each);
            return events_.endArray();
        default:
            events_.scalar(scalar(element));
        }
    }

private:
    static JsonValue scalar(dom::element element)
    {
        switch (element.type()) {
        case dom::element_type::STRING:
            return std::string_view{element};
        case dom::element_type::INT64:
            return std::int64_t{element};
        case dom::element_type::UINT64: // past the signed range
            return static_cast<double>(std::uint64_t{element});
        case dom::element_type::DOUBLE:
            return double{element};
        case dom::element_type::BOOL:
            return bool{element};
        default:
            return nullptr;
        }
    }

    JsonEvents& events_;
};

} // namespace

/// Builds a JsonValue from events. Names are compared once an object is whole: to look for each among those before it
/// would take the square of their number.
class JsonTreeBuilder : public JsonEvents {
public:
    JsonValue take() { return std::move(root_); }

    void beginObject() override { frames_.push_back(Frame{.isObject = true}); }
    void key(std::string_view name) override { frames_.back().name = name; }
    void endObject() override
    {
        frames_.back().object.checkNames();
        close();
    }
    void beginArray() override { frames_.push_back(Frame{.isObject = false}); }
    void endArray() override { close(); }

    void scalar(JsonValue value) override
    {
        if (frames_.empty())
            root_ = std::move(value);
        else if (Frame& frame = frames_.back(); frame.isObject)
            frame.object.members_.emplace_back(std::move(frame.name), std::move(value));
        else
            frame.array.push_back(std::move(value));
    }

private:
    struct Frame {
        bool isObject = false;
        JsonObject object{};
        JsonArray array{};
        std::string name{};
    };

    void close()
    {
        Frame frame = std::move(frames_.back());
        frames_.pop_back();
        if (frame.isObject)
            scalar(std::move(frame.object));
        else
            scalar(std::move(frame.array));
    }

    std::vector<Frame> frames_;
    JsonValue root_;
};

namespace {

class JsonWriter {
public:
    explicit JsonWriter(JsonStyle style) : pretty_{style == JsonStyle::prettySorted} {}

    std::string take() { return std::move(out_); }

    void write(const JsonValue& value)
    {
        std::visit([this](const auto& each) { writeAlternative(each); }, value.variant());
    }

private:
    void writeAlternative(std::nullptr_t) { out_ += "null"; }
    void writeAlternative(bool value) { out_ += value ? "true" : "false"; }
    void writeAlternative(std::int64_t value) { out_ += std::to_string(value); }
    void writeAlternative(double value)
    {
        if (!std::isfinite(value))
            return writeAlternative(nullptr);
        char buffer[32];
        const std::string_view digits{buffer, std::to_chars(buffer, buffer + sizeof buffer, value).ptr};
        out_ += digits;
        if (digits.find_first_of(".e") == std::string_view::npos)
            out_ += ".0"; // without it a whole double would be read as an integer, and minus zero lose its sign
    }
    void writeAlternative(const std::string& value) { appendJsonString(out_, value); }
    void writeAlternative(const JsonArray& values)
    {
        list('[', values, ']', [this](const JsonValue& value) { write(value); });
    }
    void writeAlternative(const JsonObject& object)
    {
        const auto writeMember = [this](const JsonObject::Member* member) {
            appendJsonString(out_, member->first);
            out_ += pretty_ ? " : " : ":";
            write(member->second);
        };
        std::vector<const JsonObject::Member*> members;
        for (const JsonObject::Member& member : object.members())
            members.push_back(&member);
        if (pretty_)
            std::sort(members.begin(), members.end(), [](const auto* a, const auto* b) { return a->first < b->first; });
        list('{', members, '}', writeMember);
    }

    template <class Items, class WriteItem>
    void list(char open, const Items& items, char close, WriteItem writeItem)
    {
        out_ += open;
        ++depth_;
        bool first = true;
        for (const auto& item : items) {
            if (!first)
                out_ += ',';
            first = false;
            breakLine();
            writeItem(item);
        }
        --depth_;
        if (!first)
            breakLine();
        out_ += close;
    }

    void breakLine()
    {
        if (pretty_)
            out_.append("\n").append(2 * depth_, ' ');
    }

    bool pretty_;
    std::size_t depth_ = 0;
    std::string out_;
};

} // namespace

JsonObject::JsonObject() = default;

JsonObject::JsonObject(std::initializer_list<Member> members)
{
    for (const Member& member : members)
        set(member.first, member.second);
}

void JsonObject::set(std::string_view name, JsonValue value)
{
    for (Member& member : members_) {
        if (member.first == name) {
            member.second = std::move(value);
            return;
        }
    }
    members_.emplace_back(std::string{name}, std::move(value));
}

void JsonObject::checkNames() const
{
    std::vector<std::string_view> names;
    names.reserve(members_.size());
    for (const Member& member : members_)
        names.push_back(member.first);
    std::sort(names.begin(), names.end());
    if (std::adjacent_find(names.begin(), names.end()) != names.end())
        throw JsonError{"a member is named twice"};
}

const JsonValue* JsonObject::find(std::string_view name) const
{
    const auto found =
        std::find_if(members_.begin(), members_.end(), [&](const Member& member) { return member.first == name; });
    return found == members_.end() ? nullptr : &found->second;
}

bool JsonObject::operator==(const JsonObject& other) const { return members_ == other.members_; }

std::optional<double> JsonValue::number() const
{
    if (const auto* whole = integer())
        return static_cast<double>(*whole);
    if (const auto* real = std::get_if<double>(&value_))
        return *real;
    return std::nullopt;
}

void readJson(std::string_view text, JsonEvents& events, std::size_t maxDepth)
{
    constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
    if (text.starts_with(byteOrderMark))
        text.remove_prefix(byteOrderMark.size());
    if (text.empty())
        throw JsonError{"nothing there"};
    dom::parser parser;
    simdjson::error_code failure = parser.allocate(text.size(), maxDepth);
    dom::element root;
    if (!failure)
        failure = parser.parse(text.data(), text.size()).get(root);
    if (failure)
        throw JsonError{simdjson::error_message(failure)};
    Teller{events}.tell(root);
}

JsonValue parseJson(std::string_view text, std::size_t maxDepth)
{
    JsonTreeBuilder builder;
    readJson(text, builder, maxDepth);
    return builder.take();
}

void appendJsonString(std::string& json, std::string_view text)
{
    static constexpr char digits[] = "0123456789abcdef";
    if (!isValidUtf8(text))
        return appendJsonString(json, validUtf8(text));
    json += '"';
    std::size_t plain = 0; // where the characters begin that need no escape
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto byte = static_cast<unsigned char>(text[i]);
        if (byte >= 0x20 && byte != '"' && byte != '\\' && byte != 0x7F)
            continue;
        json.append(text, plain, i - plain);
        plain = i + 1;
        if (byte == '"' || byte == '\\')
            json.append({'\\', text[i]});
        else if (byte == '\n')
            json += "\\n";
        else if (byte == '\t')
            json += "\\t";
        else if (byte == '\r')
            json += "\\r";
        else
            json.append("\\u00").append({digits[byte >> 4], digits[byte & 0x0F]});
    }
    json.append(text, plain).append(1, '"');
}

std::string writeJson(const JsonValue& value, JsonStyle style)
{
    JsonWriter writer{style};
    writer.write(value);
    return writer.take();
}

} // namespace nivex
