#pragma once

#include "NivexWorkers/Scene/Model/Vector.hpp"

#include <charconv>
#include <concepts>
#include <iterator>
#include <string>
#include <string_view>

namespace nivex::scene {

/// A layer of USD as text, written line by line.
class UsdText {
public:
    /// A line that opens a block, which the next `close` ends.
    void open(std::string_view line)
    {
        indent();
        text_.append(line).append("\n");
        indent();
        text_ += "{\n";
        ++depth_;
    }

    void close()
    {
        --depth_;
        indent();
        text_ += "}\n";
    }

    /// A line by itself.
    void line(std::string_view line)
    {
        indent();
        text_.append(line).append("\n");
    }

    /// "declaration = [a, b, c]" and what follows it on the line; `append` adds the element at an index.
    template <class Append>
    void array(std::string_view declaration, std::size_t count, Append append, std::string_view behind = {})
    {
        indent();
        text_.append(declaration).append(" = [");
        for (std::size_t i = 0; i < count; ++i) {
            if (i > 0)
                text_ += ", ";
            append(i);
        }
        text_.append("]").append(behind).append("\n");
    }

    template <class Number>
    requires std::integral<Number> || std::floating_point<Number>
    void append(Number value)
    {
        char digits[64];
        text_.append(digits, std::to_chars(std::begin(digits), std::end(digits), value).ptr);
    }

    void append(Vec2 v) { tuple({v.x, v.y}); }
    void append(Vec3 v) { tuple({v.x, v.y, v.z}); }

    const std::string& text() const { return text_; }

    /// A number, or several in brackets, as they stand in a line.
    template <class Value>
    static std::string of(const Value& value)
    {
        UsdText text;
        text.append(value);
        return text.text_;
    }

    /// A text in quotes.
    static std::string quoted(std::string_view text);

    /// A name that things may have here: letters, digits and underscores.
    static std::string identifier(std::string_view name);

private:
    void indent() { text_.append(4 * depth_, ' '); }

    void tuple(std::initializer_list<float> values)
    {
        char separator = '(';
        for (const float value : values) {
            text_ += separator;
            if (separator == ',')
                text_ += ' ';
            append(value);
            separator = ',';
        }
        text_ += ')';
    }

    std::string text_;
    std::size_t depth_ = 0;
};

} // namespace nivex::scene
