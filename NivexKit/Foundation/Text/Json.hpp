#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace nivex {

class JsonValue;
using JsonArray = std::vector<JsonValue>;

/// The members of a JSON object in the order in which they were read or are to be written. Names are unique.
class JsonObject {
public:
    using Member = std::pair<std::string, JsonValue>;

    JsonObject();
    JsonObject(std::initializer_list<Member> members);

    /// Adds a member at the end, or replaces the value of the one of that name.
    void set(std::string_view name, JsonValue value);

    /// The value of a member, or null when there is none.
    const JsonValue* find(std::string_view name) const;

    const std::vector<Member>& members() const { return members_; }

    bool operator==(const JsonObject&) const;

private:
    friend class JsonTreeBuilder; // adds members first and checks their names once

    /// Throws JsonError when two members have one name.
    void checkNames() const;

    std::vector<Member> members_;
};

/// One JSON value (RFC 8259). Whole numbers that fit are kept as 64-bit integers, all others as doubles.
class JsonValue {
public:
    using Variant = std::variant<std::nullptr_t, bool, std::int64_t, double, std::string, JsonArray, JsonObject>;

    JsonValue() : value_{nullptr} {}
    JsonValue(std::nullptr_t) : value_{nullptr} {}
    JsonValue(bool value) : value_{value} {}
    JsonValue(int value) : value_{std::int64_t{value}} {}
    JsonValue(std::int64_t value) : value_{value} {}
    JsonValue(double value) : value_{value} {}
    JsonValue(std::string value) : value_{std::move(value)} {}
    JsonValue(std::string_view value) : value_{std::string{value}} {}
    JsonValue(const char* value) : value_{std::string{value}} {}
    JsonValue(JsonArray value) : value_{std::move(value)} {}
    JsonValue(JsonObject value) : value_{std::move(value)} {}
    template <class T>
    JsonValue(const std::optional<T>& value) : JsonValue(value ? JsonValue(*value) : JsonValue())
    {
    }

    const Variant& variant() const { return value_; }
    bool isNull() const { return std::holds_alternative<std::nullptr_t>(value_); }
    const bool* boolean() const { return std::get_if<bool>(&value_); }
    const std::int64_t* integer() const { return std::get_if<std::int64_t>(&value_); }
    const std::string* string() const { return std::get_if<std::string>(&value_); }
    const JsonArray* array() const { return std::get_if<JsonArray>(&value_); }
    const JsonObject* object() const { return std::get_if<JsonObject>(&value_); }

    /// A number of either kind; none for anything else.
    std::optional<double> number() const;

    bool operator==(const JsonValue&) const = default;

private:
    Variant value_;
};

/// A text that is not the JSON it should be. What it says is for developers; callers show their own sentence.
struct JsonError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Receives the parts of a JSON text in their order. What it throws passes through the reader.
class JsonEvents {
public:
    virtual ~JsonEvents() = default;

    virtual void beginObject() = 0;
    virtual void key(std::string_view name) = 0;
    virtual void endObject() = 0;
    virtual void beginArray() = 0;
    virtual void endArray() = 0;
    /// Anything but an object or array.
    virtual void scalar(JsonValue value) = 0;
};

/// Reads one JSON text without building a tree of it, for lists of thousands of entries. Refuses, with a JsonError and
/// before the first event, what `parseJson` refuses; but it reports a member named twice as it stands.
void readJson(std::string_view text, JsonEvents& events, std::size_t maxDepth = 64);

/// Reads one JSON text. Refuses, with a JsonError: text that is not UTF-8, anything behind the value, nesting deeper
/// than `maxDepth`, an object that names a member twice, whole numbers beyond 64 bits and numbers that no double can
/// hold.
JsonValue parseJson(std::string_view text, std::size_t maxDepth = 64);

enum class JsonStyle {
    line,         // one line, members in their order
    prettySorted, // two-space indentation, members sorted by name
};

/// Appends a text as a JSON string, with its quotes.
void appendJsonString(std::string& json, std::string_view text);

/// Writes a value as UTF-8. Ill-formed bytes in strings are replaced; a number that is not finite becomes null. Every
/// other value reads back as the same, of the same kind: a whole double has a fraction (`2.0`), minus zero its sign.
std::string writeJson(const JsonValue& value, JsonStyle style = JsonStyle::line);

} // namespace nivex
