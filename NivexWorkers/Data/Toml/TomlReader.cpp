#include "NivexWorkers/Data/Toml/TomlReader.hpp"

#include "NivexWorkers/Data/Model/Errors.hpp"
#include "NivexWorkers/Data/Text/TextSource.hpp"
#include "NivexWorkers/Data/Toml/TomlDocument.hpp"
#include "NivexWorkers/Data/Toml/TomlScalars.hpp"

#include "NivexKit/Foundation/Text/Ascii.hpp"
#include "NivexKit/Foundation/Text/Unicode.hpp"

#include <algorithm>
#include <charconv>

namespace nivex::data {
namespace {

constexpr std::size_t maxBytes = 64 << 20;

bool isControlByte(char each)
{
    const auto byte = static_cast<unsigned char>(each);
    return (byte < 0x20 && each != '\t') || byte == 0x7F;
}

bool isBareKey(char each) { return isAsciiLetter(each) || isAsciiDigit(each) || each == '_' || each == '-'; }

/// Reads a document line by line into its tables.
class Parser {
public:
    explicit Parser(std::string_view text) : text_{text} {}

    const TomlValue& document()
    {
        while (true) {
            skipBlankLines();
            if (isAtEnd())
                return root_;
            if (take("[["))
                elementHeader();
            else if (take("["))
                tableHeader();
            else
                keyValue(*table_);
            endLine();
        }
    }

private:
    using Kind = TomlValue::Kind;
    using Origin = TomlValue::Origin;
    using Key = std::vector<std::string>;

    [[noreturn]] void fail(std::string_view cause) const
    {
        const auto line = std::count(text_.begin(), text_.begin() + static_cast<std::ptrdiff_t>(at_), '\n');
        throw invalidAtLine("TOML", static_cast<std::uint64_t>(line) + 1).because(cause);
    }

    bool isAtEnd() const { return at_ == text_.size(); }
    char peek() const { return isAtEnd() ? '\0' : text_[at_]; }

    bool take(std::string_view expected)
    {
        if (!text_.substr(at_).starts_with(expected))
            return false;
        at_ += expected.size();
        return true;
    }

    void require(std::string_view expected)
    {
        if (!take(expected))
            fail("expected " + std::string{expected});
    }

    void skipSpace()
    {
        while (peek() == ' ' || peek() == '\t')
            ++at_;
    }

    bool takeLineEnd() { return take("\n") || take("\r\n"); }

    void skipComment()
    {
        if (peek() != '#')
            return;
        for (; !isAtEnd() && peek() != '\n'; ++at_)
            if (isControlByte(peek()) && !text_.substr(at_).starts_with("\r\n"))
                fail("control character in a comment");
    }

    void endLine()
    {
        skipSpace();
        skipComment();
        if (!isAtEnd() && !takeLineEnd())
            fail("more behind the value");
    }

    void skipBlankLines()
    {
        do {
            skipSpace();
            skipComment();
        } while (takeLineEnd());
    }

    std::string simpleKey()
    {
        if (take("\""))
            return basicString();
        if (take("'"))
            return literalString();
        const std::size_t begin = at_;
        while (!isAtEnd() && isBareKey(text_[at_]))
            ++at_;
        if (at_ == begin)
            fail("no key");
        return std::string{text_.substr(begin, at_ - begin)};
    }

    Key key()
    {
        Key parts;
        do {
            if (parts.size() == maxDepth)
                throw tooDeep(maxDepth);
            skipSpace();
            parts.push_back(simpleKey());
            skipSpace();
        } while (take("."));
        return parts;
    }

    /// The table that the parts of a header before the last lead to.
    TomlValue& parentOf(const Key& header)
    {
        TomlValue* table = &root_;
        for (std::size_t i = 0; i + 1 < header.size(); ++i) {
            TomlValue* next = table->member(header[i]);
            if (next == nullptr)
                next = &table->add(header[i], Kind::table, Origin::implied);
            else if (next->origin == Origin::elements)
                next = next->values.back().get();
            if (next->kind != Kind::table || next->origin == Origin::inlined)
                fail("not a table: " + header[i]);
            table = next;
        }
        return *table;
    }

    void tableHeader()
    {
        const Key header = key();
        require("]");
        TomlValue& parent = parentOf(header);
        TomlValue* table = parent.member(header.back());
        if (table == nullptr)
            table = &parent.add(header.back(), Kind::table, Origin::headed);
        else if (table->kind == Kind::table && table->origin == Origin::implied)
            table->origin = Origin::headed;
        else
            fail("defined twice: " + header.back());
        table_ = table;
    }

    void elementHeader()
    {
        const Key header = key();
        require("]]");
        TomlValue& parent = parentOf(header);
        TomlValue* list = parent.member(header.back());
        if (list == nullptr)
            list = &parent.add(header.back(), Kind::list, Origin::elements);
        else if (list->origin != Origin::elements)
            fail("defined twice: " + header.back());
        table_ = &list->addElement(Kind::table, Origin::headed);
    }

    void keyValue(TomlValue& table)
    {
        const Key parts = key();
        const Nesting nesting{*this, parts.size()};
        TomlValue* owner = &table;
        for (std::size_t i = 0; i + 1 < parts.size(); ++i) {
            TomlValue* next = owner->member(parts[i]);
            if (next == nullptr)
                next = &owner->add(parts[i], Kind::table, Origin::dotted);
            else if (next->kind != Kind::table || next->origin != Origin::dotted)
                fail("not a table of dotted keys: " + parts[i]);
            owner = next;
        }
        require("=");
        skipSpace();
        if (owner->member(parts.back()) != nullptr)
            fail("defined twice: " + parts.back());
        value(owner->add(parts.back(), Kind::scalar, Origin::inlined));
    }

    void value(TomlValue& target)
    {
        switch (peek()) {
        case '"':
        case '\'':
            target.type = ScalarKind::text;
            target.text = string();
            return;
        case '[':
            list(target);
            return;
        case '{':
            inlineTable(target);
            return;
        default:
            bare(target);
        }
    }

    void bare(TomlValue& target)
    {
        constexpr std::string_view ends = ",]}#\r\n\t ";
        std::size_t end = std::min(text_.find_first_of(ends, at_), text_.size());
        // One space may stand between the day and the time of a moment.
        constexpr std::size_t dayLength = 10;
        if (end == at_ + dayLength && text_[at_ + 4] == '-' && end + 1 < text_.size() && text_[end] == ' ' &&
            isAsciiDigit(text_[end + 1]))
            end = std::min(text_.find_first_of(ends, end + 1), text_.size());
        const std::string_view text = text_.substr(at_, end - at_);
        const auto scalar = bareTomlScalar(text);
        if (!scalar)
            fail("no value");
        target.type = scalar->type;
        target.text = scalar->text;
        at_ = end;
    }

    void list(TomlValue& target)
    {
        const Nesting nesting{*this};
        target.kind = Kind::list;
        require("[");
        skipBlankLines();
        while (!take("]")) {
            value(target.addElement(Kind::scalar, Origin::inlined));
            skipBlankLines();
            if (take(",")) {
                skipBlankLines();
            } else if (peek() != ']') {
                fail("no end of the list");
            }
        }
    }

    void inlineTable(TomlValue& target)
    {
        const Nesting nesting{*this};
        target.kind = Kind::table;
        require("{");
        skipSpace();
        if (take("}"))
            return;
        do {
            keyValue(target);
            skipSpace();
        } while (take(","));
        require("}");
        close(target);
    }

    /// Nothing is added to an inline table, nor to what dotted keys made inside it.
    static void close(TomlValue& table)
    {
        table.origin = Origin::inlined;
        for (const auto& each : table.values)
            if (each->kind == Kind::table && each->origin != Origin::inlined)
                close(*each);
    }

    std::string string()
    {
        if (take("\"\"\""))
            return manyLines('"');
        if (take("'''"))
            return manyLines('\'');
        return take("\"") ? basicString() : (require("'"), literalString());
    }

    char stringByte()
    {
        if (isAtEnd() || isControlByte(peek()))
            fail("a string that does not end on its line");
        return text_[at_++];
    }

    std::string literalString()
    {
        std::string result;
        for (char each = stringByte(); each != '\''; each = stringByte())
            result += each;
        return result;
    }

    std::string basicString()
    {
        std::string result;
        for (char each = stringByte(); each != '"'; each = stringByte())
            if (each == '\\')
                escape(result);
            else
                result += each;
        return result;
    }

    /// The rest of a string of several lines; two quotes may stand before the three that end it.
    std::string manyLines(char quote)
    {
        const std::string end(3, quote);
        std::string result;
        takeLineEnd();
        while (true) {
            if (take(end)) {
                for (int extra = 0; extra < 2 && peek() == quote; ++extra, ++at_)
                    result += quote;
                return result;
            }
            if (isAtEnd())
                fail("a string that does not end");
            if (takeLineEnd()) {
                result += '\n';
            } else if (quote == '"' && take("\\")) {
                if (!takeFoldedLines())
                    escape(result);
            } else {
                result += stringByte();
            }
        }
    }

    /// A backslash at the end of a line, behind which white space is nothing.
    bool takeFoldedLines()
    {
        const std::size_t begin = at_;
        skipSpace();
        if (!takeLineEnd()) {
            at_ = begin;
            return false;
        }
        do {
            skipSpace();
        } while (takeLineEnd());
        return true;
    }

    void escape(std::string& result)
    {
        constexpr std::string_view letters = "btnfr\"\\";
        constexpr std::string_view meanings = "\b\t\n\f\r\"\\";
        const char letter = stringByte();
        if (letter == 'u' || letter == 'U') {
            appendScalar(result, scalarOf(letter == 'u' ? 4 : 8));
            return;
        }
        const std::size_t place = letters.find(letter);
        if (place == letters.npos)
            fail("unknown escape");
        result += meanings[place];
    }

    char32_t scalarOf(std::size_t digits)
    {
        std::uint32_t scalar = 0;
        const std::string_view hexadecimal = text_.substr(at_, digits);
        const auto* end = hexadecimal.data() + hexadecimal.size();
        const auto read = std::from_chars(hexadecimal.data(), end, scalar, 16);
        if (hexadecimal.size() != digits || read.ptr != end || scalar > 0x10FFFF ||
            (scalar >= 0xD800 && scalar <= 0xDFFF))
            fail("no character");
        at_ += digits;
        return scalar;
    }

    /// More levels while it lives.
    class Nesting {
    public:
        explicit Nesting(Parser& parser, std::size_t levels = 1) : parser_{parser}, levels_{levels}
        {
            if (parser_.depth_ + levels_ > maxDepth + 1)
                throw tooDeep(maxDepth);
            parser_.depth_ += levels_;
        }
        ~Nesting() { parser_.depth_ -= levels_; }
        Nesting(const Nesting&) = delete;
        Nesting& operator=(const Nesting&) = delete;

    private:
        Parser& parser_;
        std::size_t levels_;
    };

    std::string_view text_;
    std::size_t at_ = 0;
    std::size_t depth_ = 0; // of the value at hand in its table
    TomlValue root_;
    TomlValue* table_ = &root_;
};

std::string textOf(const Input& input)
{
    if (input.bytes.size() > maxBytes)
        throw ConversionError::resourceLimit(filled("un document TOML de plus de {} Mo"_fr, {"64"}));
    TextSource source{input.bytes};
    std::string text;
    std::string piece(1 << 16, '\0');
    while (const std::size_t count = source.read(piece))
        text.append(piece, 0, count);
    return text;
}

} // namespace

void readToml(const Input& input, TreeEvents& events)
{
    const std::string text = textOf(input);
    Parser parser{text};
    tell(parser.document(), events);
    input.progress(1);
}

} // namespace nivex::data
