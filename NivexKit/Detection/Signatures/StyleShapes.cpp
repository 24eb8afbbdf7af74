#include "NivexKit/Detection/Signatures/TextHead.hpp"
#include "NivexKit/Detection/Signatures/TextShapes.hpp"
#include "NivexKit/Foundation/Text/Words.hpp"

#include <algorithm>
#include <array>
#include <span>
#include <string>

namespace nivex::shapes {
namespace {

constexpr auto npos = std::string_view::npos;

// Properties that nearly every style sheet uses.
constexpr auto properties = std::to_array<std::string_view>({
    "color",
    "background",
    "background-color",
    "margin",
    "padding",
    "border",
    "font-size",
    "font-family",
    "font-weight",
    "font",
    "display",
    "width",
    "height",
    "position",
    "text-align",
    "float",
    "line-height",
    "top",
    "left",
    "right",
    "bottom",
    "overflow",
    "cursor",
    "content",
    "opacity",
    "flex",
    "text-decoration",
    "margin-top",
    "margin-bottom",
    "margin-left",
    "margin-right",
    "padding-left",
    "padding-top",
    "border-radius",
    "max-width",
    "min-width",
    "vertical-align",
    "list-style",
    "white-space",
    "z-index",
    "transition",
    "transform",
    "src",
    "align-items",
    "justify-content",
    "min-height",
    "box-sizing",
    "grid-template-columns",
    "gap",
    "visibility",
});

// Elements that style sheets have rules for: what a selector names without a dot or another sign.
constexpr std::string_view elements =
    "a abbr address article aside audio b blockquote body button canvas caption cite code col colgroup dd del details "
    "dfn "
    "div dl dt em fieldset figcaption figure footer form from h1 h2 h3 h4 h5 h6 header hgroup hr html i iframe img "
    "input "
    "ins kbd label legend li main mark menu meter nav object ol optgroup option output p pre progress q s samp section "
    "select small span strong sub summary sup svg table tbody td template textarea tfoot th thead time to tr u ul var "
    "video";

/// What a head shows of a style sheet.
struct StyleMarks {
    std::size_t rules = 0;        // blocks whose selector only style sheets have
    std::size_t declarations = 0; // "property: value" of a known property or a custom one
    std::size_t foreign = 0;      // what a style sheet cannot hold
    std::size_t extensions = 0;   // what only the SCSS dialect has
};

/// Hands out what a style sheet is made of: selectors, each ended by "{", declarations and statements, ended by ";" or
/// "}". Comments are left out, and signs in quotes, parentheses and interpolations end nothing.
class StylePieces {
public:
    explicit StylePieces(std::string_view text) : rest_{text} {}

    /// Moves to the next piece, which ends in its sign; false when none is whole.
    bool next(std::string& piece)
    {
        piece.clear();
        int parentheses = 0;
        while (!rest_.empty()) {
            if (passComment(piece))
                continue;
            const bool isInterpolation = rest_.starts_with("#{");
            const char each = rest_.front();
            if (isInterpolation || each == '"' || each == '\'') {
                takeUpTo(isInterpolation ? '}' : each, piece);
                continue;
            }
            piece += each;
            rest_.remove_prefix(1);
            parentheses += (each == '(') - (each == ')');
            if (each == '\n')
                parentheses = std::min(parentheses, 1); // a stray one must not swallow the rest
            if (each == '{' || each == '}' || (each == ';' && parentheses <= 0))
                return true;
        }
        return false;
    }

private:
    bool passComment(std::string_view before)
    {
        const bool isBlock = rest_.starts_with("/*");
        const bool isLine = rest_.starts_with("//") && (before.empty() || isAsciiSpace(before.back()));
        if (!isBlock && !isLine)
            return false;
        const std::string_view end = isBlock ? "*/" : "\n";
        const std::size_t at = rest_.find(end, 2);
        rest_.remove_prefix(at == npos ? rest_.size() : at + end.size());
        return true;
    }

    /// Takes a piece that `end` ends, or the line.
    void takeUpTo(char end, std::string& piece)
    {
        std::size_t at = 1;
        while (at < rest_.size() && rest_[at] != end && rest_[at] != '\n')
            at += rest_[at] == '\\' ? std::size_t{2} : std::size_t{1};
        at = std::min(at + 1, rest_.size());
        piece.append(rest_.substr(0, at));
        rest_.remove_prefix(at);
    }

    std::string_view rest_;
};

/// True for one of a selector's parts that no program begins a block with: an element, a class, an identifier, a state.
bool isSelectorPart(std::string_view part)
{
    const std::size_t end = std::min(part.find_first_of(".#:["), part.size());
    const std::string_view name = part.substr(0, end);
    const std::string_view rest = part.substr(end);
    const auto isNamePart = [](char each) { return isWordPart(each) || std::string_view{"-.#:\\"}.find(each) != npos; };
    if (!name.empty() && !hasWord(elements, name) && name != "&" && name != "*" && !name.ends_with('%'))
        return false;
    if (rest.find('[') != npos || rest.find('(') != npos)
        return rest.ends_with(']') || rest.ends_with(')') || rest.find(")") != npos || rest.find("]") != npos;
    return rest.size() != 1 && std::ranges::all_of(rest, isNamePart);
}

bool isSelector(std::string_view selector)
{
    if (selector.empty() || selector.find(';') != npos)
        return false;
    while (!selector.empty()) {
        const std::size_t end = std::min(selector.find_first_of(", \t\r\n>+~"), selector.size());
        if (end > 0 && !isSelectorPart(selector.substr(0, end)))
            return false;
        selector.remove_prefix(std::min(end + 1, selector.size()));
    }
    return true;
}

bool opensWithOneOf(std::string_view piece, std::span<const std::string_view> openings)
{
    return std::ranges::any_of(openings, [piece](std::string_view each) { return piece.starts_with(each); });
}

constexpr auto statements = std::to_array<std::string_view>(
    {"@import ", "@charset ", "@media", "@font-face", "@keyframes ", "@-webkit-keyframes ", "@-moz-keyframes ", "@-ms-",
     "@-o-", "@supports", "@page", "@namespace", "@layer", "@container"});
constexpr auto dialect =
    std::to_array<std::string_view>({"$", "@mixin ", "@include ", "@use ", "@extend ", "@function ", "@if ", "@else",
                                     "@each ", "@for ", "@return ", "@forward ", "%", "&"});

/// A declaration's value has no second colon behind a line end and no comma at its end, as the members of an object do.
void addDeclaration(StyleMarks& marks, std::string_view piece)
{
    const std::size_t colon = piece.find(':');
    const std::string_view name = bothTrimmed(piece.substr(0, std::min(colon, piece.size())));
    const std::string_view value = colon == npos ? std::string_view{} : bothTrimmed(piece.substr(colon + 1));
    const bool isName = !name.empty() && std::ranges::all_of(name, [](char each) {
        return isWordPart(each) || each == '-' || each == '*';
    });
    const std::size_t lineEnd = value.find('\n');
    const bool isValue =
        !value.empty() && !value.ends_with(',') && (lineEnd == npos || value.find(": ", lineEnd) == npos);
    if (!isName || !isValue)
        ++marks.foreign;
    else
        marks.declarations += name.starts_with("--") || std::ranges::find(properties, name) != properties.end();
}

void addPiece(StyleMarks& marks, std::string_view piece)
{
    const char end = piece.back();
    piece = bothTrimmed(piece.substr(0, piece.size() - 1));
    if (piece.empty() && end != '{')
        return;
    if (opensWithOneOf(piece, dialect))
        ++marks.extensions;
    else if (opensWithOneOf(piece, statements))
        ++marks.declarations;
    else if (end == '{' && piece.find("#{") == npos)
        ++(isSelector(piece) ? marks.rules : marks.foreign);
    else if (end != '{')
        addDeclaration(marks, piece);
}

StyleMarks styleMarks(std::string_view text)
{
    constexpr std::size_t hopeless = 5;
    StyleMarks marks;
    StylePieces pieces{text};
    for (std::string piece; pieces.next(piece);) {
        addPiece(marks, piece);
        if (marks.foreign > hopeless + marks.declarations)
            break;
    }
    return marks;
}

/// The text behind comments and blank lines.
std::string_view behindSqlComments(std::string_view text)
{
    while (text.starts_with("--") || text.starts_with("/*") || text.starts_with('#')) {
        const bool isBlock = text.starts_with("/*") && !text.starts_with("/*!");
        const std::size_t end = text.find(isBlock ? "*/" : "\n");
        if (end == npos)
            return {};
        text = leftTrimmed(text.substr(end + (isBlock ? 2 : 1)));
        if (text.starts_with(';'))
            text = leftTrimmed(text.substr(1));
    }
    return text;
}

} // namespace

std::string_view styleSheetFormats(std::string_view text)
{
    if (text.find('{') == npos)
        return {};
    if (text.starts_with('<'))
        return {};
    const StyleMarks marks = styleMarks(text);
    const std::size_t told = marks.rules + marks.declarations + marks.extensions;
    // A short text may hold one oddity, a long one hardly any.
    if (marks.rules + marks.extensions == 0 || marks.declarations == 0 || told < 3 || marks.foreign * 10 > told)
        return {};
    return marks.extensions > 0 ? "scss css" : "css scss";
}

bool looksLikeSql(std::string_view text)
{
    struct Opening {
        std::string_view words;
        std::string_view needs; // further on, before the statement ends
    };
    constexpr Opening openings[] = {
        {"create table", "("},
        {"create unique index", " on "},
        {"create index", " on "},
        {"create view", " as"},
        {"create trigger", " on "},
        {"create temp", " "},
        {"create database", ""},
        {"create or replace", " "},
        {"create schema", ""},
        {"create type", " as"},
        {"create virtual table", "using"},
        {"insert into", "values"},
        {"drop table", ""},
        {"drop view", ""},
        {"drop trigger", ""},
        {"alter table", ""},
        {"delete from", ""},
        {"update ", " set "},
        {"pragma ", "="},
        {"begin transaction", ""},
        {"begin;", ""},
        {"select ", " from "},
        {"use `", "`"},
        {"set names", ""},
    };
    const std::string_view code = behindSqlComments(text);
    const std::size_t end = code.find(';');
    if (end == npos && code.size() < 2000)
        return false;
    const std::string_view statement = code.substr(0, end == npos ? end : end + 1);
    for (const Opening& opening : openings) {
        if (!startsIgnoringCase(statement, opening.words))
            continue;
        std::string_view rest = statement.substr(opening.words.size());
        while (!rest.empty() && !startsIgnoringCase(rest, opening.needs))
            rest.remove_prefix(1);
        // A sentence that begins with such a word has a full stop before a semicolon.
        return (!rest.empty() || opening.needs.empty()) && statement.find(". ") == npos &&
               statement.find("=>") == npos; // nor do the pragmas of other languages speak so
    }
    return false;
}

} // namespace nivex::shapes
