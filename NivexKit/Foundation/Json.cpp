#include "NivexKit/Foundation/Json.hpp"

#include "NivexKit/Foundation/Unicode.hpp"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>

namespace nivex {
namespace {

using Library = nlohmann::json;

/// Builds a JsonValue from the library's events, so that depth, double names and precision are ours to judge.
class TreeBuilder : public nlohmann::json_sax<Library> {
public:
    explicit TreeBuilder(std::size_t maxDepth) : maxDepth_{maxDepth} {}

    JsonValue take() { return std::move(root_); }

    bool null() override { return add(nullptr); }
    bool boolean(bool value) override { return add(value); }
    bool number_integer(number_integer_t value) override { return add(std::int64_t{value}); }
    bool number_unsigned(number_unsigned_t value) override
    {
        if (value <= static_cast<number_unsigned_t>(std::numeric_limits<std::int64_t>::max()))
            return add(static_cast<std::int64_t>(value));
        return add(static_cast<double>(value));
    }
    bool number_float(number_float_t value, const string_t&) override { return add(value); }
    bool string(string_t& value) override { return add(std::move(value)); }
    bool binary(binary_t&) override { return false; }

    bool start_object(std::size_t) override { return open(Frame{.isObject = true}); }
    bool key(string_t& name) override
    {
        Frame& frame = frames_.back();
        if (frame.object.find(name))
            throw JsonError{"a member is named twice"};
        frame.name = std::move(name);
        return true;
    }
    bool end_object() override { return close(); }
    bool start_array(std::size_t) override { return open(Frame{.isObject = false}); }
    bool end_array() override { return close(); }

    bool parse_error(std::size_t, const std::string&, const nlohmann::detail::exception& error) override
    {
        throw JsonError{error.what()};
    }

private:
    struct Frame {
        bool isObject = false;
        JsonObject object{};
        JsonArray array{};
        std::string name{};
    };

    bool open(Frame frame)
    {
        if (frames_.size() == maxDepth_)
            throw JsonError{"nested too deeply"};
        frames_.push_back(std::move(frame));
        return true;
    }

    bool close()
    {
        Frame frame = std::move(frames_.back());
        frames_.pop_back();
        return frame.isObject ? add(std::move(frame.object)) : add(std::move(frame.array));
    }

    bool add(JsonValue value)
    {
        if (frames_.empty())
            root_ = std::move(value);
        else if (Frame& frame = frames_.back(); frame.isObject)
            frame.object.set(frame.name, std::move(value));
        else
            frame.array.push_back(std::move(value));
        return true;
    }

    std::size_t maxDepth_;
    std::vector<Frame> frames_;
    JsonValue root_;
};

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
        const auto end = std::to_chars(buffer, buffer + sizeof buffer, value).ptr;
        out_.append(buffer, end);
    }
    void writeAlternative(const std::string& value) { writeString(value); }
    void writeAlternative(const JsonArray& values)
    {
        list('[', values, ']', [this](const JsonValue& value) { write(value); });
    }
    void writeAlternative(const JsonObject& object)
    {
        const auto writeMember = [this](const JsonObject::Member* member) {
            writeString(member->first);
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

    void writeString(const std::string& raw)
    {
        static constexpr char digits[] = "0123456789abcdef";
        out_ += '"';
        for (const char each : isValidUtf8(raw) ? raw : validUtf8(raw)) {
            const auto byte = static_cast<unsigned char>(each);
            if (each == '"' || each == '\\')
                out_.append({'\\', each});
            else if (each == '\n')
                out_ += "\\n";
            else if (each == '\t')
                out_ += "\\t";
            else if (each == '\r')
                out_ += "\\r";
            else if (byte < 0x20 || byte == 0x7F)
                out_.append("\\u00").append({digits[byte >> 4], digits[byte & 0x0F]});
            else
                out_ += each;
        }
        out_ += '"';
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

const JsonValue* JsonObject::find(std::string_view name) const
{
    const auto found =
        std::find_if(members_.begin(), members_.end(), [&](const Member& member) { return member.first == name; });
    return found == members_.end() ? nullptr : &found->second;
}

bool JsonObject::operator==(const JsonObject&) const = default;

std::optional<double> JsonValue::number() const
{
    if (const auto* whole = integer())
        return static_cast<double>(*whole);
    if (const auto* real = std::get_if<double>(&value_))
        return *real;
    return std::nullopt;
}

JsonValue parseJson(std::string_view text, std::size_t maxDepth)
{
    TreeBuilder builder{maxDepth};
    if (!Library::sax_parse(text.begin(), text.end(), &builder))
        throw JsonError{"not a JSON text"};
    return builder.take();
}

std::string writeJson(const JsonValue& value, JsonStyle style)
{
    JsonWriter writer{style};
    writer.write(value);
    return writer.take();
}

} // namespace nivex
