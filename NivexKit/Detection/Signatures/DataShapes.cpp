#include "NivexKit/Detection/Signatures/TextHead.hpp"
#include "NivexKit/Detection/Signatures/TextShapes.hpp"

#include <algorithm>
#include <initializer_list>
#include <optional>

namespace nivex::shapes {
namespace {

constexpr auto npos = std::string_view::npos;

/// How deep a line is indented, in characters.
std::size_t indentation(std::string_view line) { return std::min(line.find_first_not_of(" \t"), line.size()); }

// --- TOML

bool isTomlKey(std::string_view key)
{
    const auto isKeyPart = [](char each) { return isWordPart(each) || std::string_view{"-.\"' "}.find(each) != npos; };
    return !key.empty() && std::ranges::all_of(key, isKeyPart);
}

bool isTomlHeader(std::string_view line)
{
    const std::size_t end = line.find(']');
    if (!line.starts_with('[') || end == npos)
        return false;
    return isTomlKey(bothTrimmed(line.substr(line.starts_with("[[") ? 2 : 1, end - (line.starts_with("[[") ? 2 : 1))));
}

/// A value that the language types: quoted, a number, a date, a truth value, an array or a table.
bool isTomlValue(std::string_view value)
{
    if (value.empty())
        return false;
    const char first = value.front();
    if (first == '"' || first == '\'' || first == '[' || first == '{')
        return true;
    const std::string_view word = value.substr(0, value.find_first_of(" \t#"));
    return word == "true" || word == "false" ||
           (word.find_first_not_of("0123456789+-_.:TZeExabcdf") == npos && std::ranges::any_of(word, isAsciiDigit));
}

/// The text that ends a value of several lines which begins in `value`; empty when it ends in its line.
std::string_view tomlContinuation(std::string_view value)
{
    for (const std::string_view quotes : {std::string_view{"\"\"\""}, std::string_view{"'''"}})
        if (value.starts_with(quotes))
            return value.find(quotes, quotes.size()) == npos ? quotes : std::string_view{};
    const bool isOpenArray = value.starts_with('[') && std::ranges::count(value, '[') > std::ranges::count(value, ']');
    return isOpenArray ? "]" : std::string_view{};
}

// --- YAML

/// The part behind the colon of "key: value" or "key:", none when the line is no such pair.
std::optional<std::string_view> yamlValue(std::string_view line)
{
    const std::size_t colon = line.starts_with('"') ? line.find("\":") + 1 : line.find(':');
    if (colon == npos || colon == 0 || (colon + 1 < line.size() && line[colon + 1] != ' '))
        return std::nullopt;
    const auto isKeyPart = [](char each) {
        return isWordPart(each) || std::string_view{"-./$\"'*@"}.find(each) != npos ||
               static_cast<unsigned char>(each) >= 0x80;
    };
    if (!std::ranges::all_of(line.substr(0, colon), isKeyPart))
        return std::nullopt;
    return bothTrimmed(line.substr(colon + 1));
}

struct YamlOutline {
    std::size_t pairs = 0;
    std::size_t nested = 0; // pairs without a value whose block follows
    bool isSound = true;
};

YamlOutline yamlOutline(Lines lines)
{
    YamlOutline outline;
    std::size_t blockDepth = npos; // lines indented deeper belong to a block of text or a wrapped value
    bool awaitsBlock = false;
    std::size_t parent = 0;
    for (std::string_view line; lines.nextFilled(line) && !lines.wasCut();) {
        const std::size_t depth = indentation(line);
        if (blockDepth != npos && depth > blockDepth)
            continue;
        blockDepth = npos;
        line = bothTrimmed(line);
        if (line.starts_with('#') || line == "---" || line == "...")
            continue;
        if (awaitsBlock)
            outline.nested += depth > parent || (depth == parent && line.starts_with("- "));
        awaitsBlock = false;
        const bool isItem = line.starts_with("- ") || line == "-";
        while (line.starts_with("- "))
            line = leftTrimmed(line.substr(2));
        const auto value = yamlValue(line);
        if (!value) {
            if (!isItem) {
                outline.isSound = false;
                return outline;
            }
            blockDepth = depth;
            continue;
        }
        ++outline.pairs;
        if (value->empty()) {
            awaitsBlock = true;
            parent = depth;
        } else {
            blockDepth = depth + (isItem ? 2 : 0);
        }
    }
    return outline;
}

// --- Markdown

/// Independent marks of the language; a plain text shows one kind at times, several kinds hardly ever.
struct MarkdownMarks {
    std::size_t headings = 0;
    bool lists = false;
    bool emphasis = false;
    bool links = false;
    bool fences = false;
    bool tables = false;
};

bool isHeading(std::string_view line)
{
    const std::size_t level = std::min(line.find_first_not_of('#'), line.size());
    return level >= 1 && level <= 6 && level + 1 < line.size() && line[level] == ' ' && line[level + 1] != ' ';
}

bool isTableRule(std::string_view line)
{
    return line.size() > 3 && line.find('|') != npos && line.find("--") != npos &&
           line.find_first_not_of("|:- ") == npos;
}

/// "[words](address)" that is no subscript of a program.
bool hasLink(std::string_view line)
{
    const std::size_t middle = line.find("](");
    if (middle == npos || line.find(')', middle) == npos)
        return false;
    const std::size_t open = line.substr(0, middle).find_last_of('[');
    const std::string_view address = line.substr(middle + 2, line.find(')', middle) - middle - 2);
    return open != npos && (open == 0 || (!isWordPart(line[open - 1]) && line[open - 1] != ')')) &&
           address.find_first_of("./#:") != npos && address.find_first_of("%$\\") != 0;
}

/// "```" or "```python", but no quotes of a macro language.
bool isFence(std::string_view line)
{
    if (!line.starts_with("```") && !line.starts_with("~~~"))
        return false;
    const std::string_view name = line.substr(std::min(line.find_first_not_of(line.front()), line.size()));
    return name.find('`') == npos &&
           (name.empty() || isWordPart(name.front()) || std::string_view{" {.+"}.find(name.front()) != npos);
}

MarkdownMarks markdownMarks(Lines lines)
{
    MarkdownMarks marks;
    bool inFence = false;
    bool followsComment = false; // lines of "#" in a row are the comments of a script
    for (std::string_view line; lines.nextFilled(line);) {
        const bool isIndented = indentation(line) >= 4;
        line = bothTrimmed(line);
        if (isFence(line)) {
            marks.fences = true;
            inFence = !inFence;
        }
        if (inFence || isIndented)
            continue;
        marks.headings += isHeading(line) && !followsComment;
        followsComment = line.starts_with('#');
        marks.lists = marks.lists || line.starts_with("- ") || line.starts_with("* ") || line.starts_with("1. ");
        marks.tables = marks.tables || isTableRule(line);
        marks.links = marks.links || hasLink(line);
        marks.emphasis = marks.emphasis || std::ranges::count(line, '`') >= 2 || line.find("**") != line.rfind("**");
    }
    return marks;
}

// --- delimited text

/// What the records of a text have in common when it is cut at one delimiter.
struct Table {
    std::size_t records = 0;
    std::size_t fields = 0; // of every record; 0 when they differ
    std::size_t spaced = 0; // delimiters with a space behind them, as in sentences
    std::size_t filledFirst = 0;
    std::size_t filledLast = 0;
    bool namesLast = false;     // the first record, which names the columns, fills its last field
    std::size_t statements = 0; // records that end as the statements of programs do, in a semicolon
    bool hasQuotes = false;
};

/// Reads records of fields by RFC 4180, the last one only when a line end shows it whole.
class DelimitedReader {
public:
    DelimitedReader(std::string_view text, char delimiter) : text_{text}, delimiter_{delimiter} {}

    Table read()
    {
        while (at_ < text_.size()) {
            const std::size_t fields = readRecord();
            if (isCut_)
                break;
            if (fields == 0)
                continue; // a blank line
            if (table_.records > 0 && fields != table_.fields) {
                table_.fields = 0;
                break;
            }
            table_.fields = fields;
            if (table_.records == 0)
                table_.namesLast = last_ > 0;
            ++table_.records;
            table_.filledFirst += first_ > 0;
            table_.filledLast += last_ > 0;
            table_.statements += delimiter_ != ';' && lastCharacter_ == ';';
        }
        return table_;
    }

private:
    /// The number of fields; 0 for a blank line.
    std::size_t readRecord()
    {
        std::size_t fields = 1;
        first_ = last_ = 0;
        for (; at_ < text_.size(); ++at_) {
            const char each = text_[at_];
            if (each == '\n') {
                ++at_;
                return fields == 1 && last_ == 0 ? 0 : fields;
            }
            if (each == delimiter_) {
                ++fields;
                table_.spaced += at_ + 1 < text_.size() && text_[at_ + 1] == ' ';
                last_ = 0;
                continue;
            }
            if (each == '"' && last_ == 0)
                passQuoted();
            else if (each == '\r')
                continue;
            lastCharacter_ = each;
            ++last_;
            first_ += fields == 1;
        }
        // The end of a short file ends its last record too; the end of a full head may cut it.
        isCut_ = text_.size() > longestWhole || fields != table_.fields;
        return fields;
    }

    void passQuoted()
    {
        table_.hasQuotes = true;
        std::size_t end = at_ + 1;
        while (end < text_.size() && (text_[end] != '"' || (end + 1 < text_.size() && text_[end + 1] == '"')))
            end += text_[end] == '"' ? std::size_t{2} : std::size_t{1};
        at_ = std::min(end, text_.size() - 1);
    }

    static constexpr std::size_t longestWhole = 4000;

    std::string_view text_;
    char delimiter_;
    std::size_t at_ = 0;
    std::size_t first_ = 0;  // characters of the record's first field
    std::size_t last_ = 0;   // and of its last one
    char lastCharacter_ = 0; // of the record
    bool isCut_ = false;
    Table table_;
};

bool isTable(std::string_view text, char delimiter)
{
    if (text.substr(0, text.find('\n')).find(delimiter) == npos)
        return false;
    const Table table = DelimitedReader{text, delimiter}.read();
    if (table.records < 2 || table.fields < 2)
        return false;
    // Lists in sentences, lines that end in a comma, indented lines.
    const std::size_t delimiters = table.records * (table.fields - 1);
    if (table.statements * 2 > table.records || (delimiter == ';' && table.records == 2 && table.fields == 2))
        return false; // lines of a program in step
    const bool readsAsProse = !table.hasQuotes && table.spaced * 2 > delimiters;
    if (table.filledFirst * 2 < table.records || (table.filledLast * 2 < table.records && table.fields == 2) ||
        (table.records == 2 && table.filledLast == 1 && !table.namesLast))
        return false;
    return !readsAsProse || (table.records >= 4 && table.fields >= 3);
}

} // namespace

bool looksLikeToml(std::string_view text)
{
    std::size_t headers = 0;
    std::size_t pairs = 0;
    std::string_view continuation;
    Lines lines{text};
    for (std::string_view line; lines.nextFilled(line) && !lines.wasCut();) {
        line = bothTrimmed(line);
        if (!continuation.empty()) {
            if (line.find(continuation) != npos)
                continuation = {};
            continue;
        }
        if (line.starts_with('#'))
            continue;
        if (isTomlHeader(line)) {
            ++headers;
            continue;
        }
        const std::size_t equals = line.find('=');
        if (equals == npos || !isTomlKey(bothTrimmed(line.substr(0, equals))))
            return false;
        const std::string_view value = bothTrimmed(line.substr(equals + 1));
        if (!isTomlValue(value))
            return false;
        ++pairs;
        continuation = tomlContinuation(value);
    }
    return headers > 0 && pairs > 0;
}

bool looksLikeYaml(std::string_view text)
{
    if (text.starts_with("%YAML"))
        return true;
    const YamlOutline outline = yamlOutline(Lines{text});
    if (!outline.isSound)
        return false;
    return (outline.pairs >= 3 && outline.nested > 0) || (text.starts_with("---\n") && outline.pairs >= 1);
}

bool looksLikeMarkdown(std::string_view text)
{
    if (text.starts_with("\"\"\"") || text.starts_with("//") || text.starts_with("/*") || text.starts_with("#!"))
        return false; // programs quote the language in their comments
    if (text.find("\n#") == npos && !text.starts_with('#') && text.find("](") == npos && text.find("```") == npos)
        return false;
    const MarkdownMarks marks = markdownMarks(Lines{text});
    const int strong = marks.links + marks.fences + marks.tables;
    const int weak = (marks.headings > 0) + marks.lists + marks.emphasis;
    return (strong >= 1 && strong + weak >= 2 && marks.headings > 0) || strong >= 2 ||
           (marks.headings >= 2 && weak == 3);
}

std::string_view delimitedFormats(std::string_view text)
{
    if (text.starts_with('{') || text.starts_with('[') || text.starts_with('<'))
        return {}; // lines of JSON and the like have their commas in step too
    if (isTable(text, '\t'))
        return "tsv";
    return isTable(text, ',') || isTable(text, ';') ? "csv" : std::string_view{};
}

} // namespace nivex::shapes
