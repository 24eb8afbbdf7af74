#include "NivexKit/Workers/MessageFields.hpp"

#include "NivexKit/Foundation/Text/Unicode.hpp"

namespace nivex {
namespace {

constexpr std::size_t maxNesting = 6; // of the deepest message, a request with its formats

constexpr std::size_t maxMembers = 64; // more than any message has

template <class Value>
const Value& present(const Value* value, std::string_view name)
{
    if (!value)
        throw WorkerMessageError{"no proper member " + std::string{name}};
    return *value;
}

const JsonObject& bounded(const JsonObject& object)
{
    if (object.members().size() > maxMembers)
        throw WorkerMessageError{"too many members"};
    return object;
}

int hexDigit(char digit)
{
    static constexpr std::string_view digits = "0123456789ABCDEF";
    const std::size_t value = digits.find(digit);
    if (value == std::string_view::npos)
        throw WorkerMessageError{"a bad escape"};
    return static_cast<int>(value);
}

void appendEscaped(std::string& text, char byte)
{
    static constexpr char digits[] = "0123456789ABCDEF";
    const auto value = static_cast<unsigned char>(byte);
    text.append({'%', digits[value >> 4], digits[value & 0x0F]});
}

} // namespace

MessageFields::MessageFields(std::string_view line)
{
    try {
        const JsonValue value = parseJson(line, maxNesting);
        object_ = bounded(present(value.object(), "(the message)"));
    } catch (const JsonError& error) {
        throw WorkerMessageError{error.what()};
    }
}

MessageFields::MessageFields(const JsonValue& value) : object_{bounded(present(value.object(), "(an object)"))} {}

const JsonValue& MessageFields::value(std::string_view name) const { return present(object_.find(name), name); }

const std::string& MessageFields::text(std::string_view name) const { return present(value(name).string(), name); }

std::int64_t MessageFields::integer(std::string_view name) const { return present(value(name).integer(), name); }

bool MessageFields::boolean(std::string_view name) const { return present(value(name).boolean(), name); }

const JsonArray& MessageFields::array(std::string_view name) const { return present(value(name).array(), name); }

std::string escapedPath(std::string_view path)
{
    std::string text;
    std::size_t position = 0;
    while (position < path.size()) {
        const std::size_t start = position;
        nextScalar(path, position);
        const std::string_view sequence = path.substr(start, position - start);
        if (sequence == "%" || !isValidUtf8(sequence))
            appendEscaped(text, path[position = start]), ++position;
        else
            text += sequence;
    }
    return text;
}

std::string unescapedPath(std::string_view text)
{
    std::string path;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '%') {
            path += text[i];
            continue;
        }
        if (text.size() - i < 3)
            throw WorkerMessageError{"a cut escape"};
        path += static_cast<char>(hexDigit(text[i + 1]) * 16 + hexDigit(text[i + 2]));
        i += 2;
    }
    if (path.find('\0') != std::string::npos)
        throw WorkerMessageError{"a zero in a path"};
    return path;
}

} // namespace nivex
