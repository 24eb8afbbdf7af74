#include "NivexKit/Detection/Signatures/TextHead.hpp"
#include "NivexKit/Detection/Signatures/TextShapes.hpp"

#include <algorithm>
#include <array>

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

/// What a head shows of a style sheet.
struct StyleMarks {
    std::size_t rules = 0;        // lines that open a block and are no program's
    std::size_t declarations = 0; // "property: value;" of a known property or a custom one
    std::size_t foreign = 0;      // lines that a style sheet cannot hold
    std::size_t extensions = 0;   // what only the SCSS dialect has
};

bool isDeclaration(std::string_view line)
{
    const std::size_t colon = line.find(':');
    if (colon == npos || line.find('(') < colon)
        return false;
    const std::string_view name = bothTrimmed(line.substr(0, colon));
    return name.starts_with("--") || std::ranges::find(properties, name) != properties.end();
}

bool isSelector(std::string_view line)
{
    static constexpr std::string_view signs = " .#:*,>-_[]=\"'()@~+&%";
    return std::ranges::all_of(line.substr(0, line.find('{')),
                               [](char each) { return isWordPart(each) || signs.find(each) != npos; });
}

void addLine(StyleMarks& marks, std::string_view line)
{
    constexpr auto dialect = std::to_array<std::string_view>(
        {"$", "@mixin ", "@include ", "@use ", "@extend ", "&:", "&.", "& ", "@function "});
    const bool isDialect =
        std::ranges::any_of(dialect, [line](std::string_view each) { return line.starts_with(each); });
    marks.extensions += isDialect;
    const std::size_t brace = line.find('{');
    if (line == "{" && marks.foreign > 0)
        --marks.foreign; // the selector stands alone on the line before
    if (brace != npos && isSelector(line)) {
        ++marks.rules;
        line = leftTrimmed(line.substr(brace + 1));
    }
    if (line.empty() || line.front() == '}' || line.front() == '@' || isDialect)
        return;
    if (isDeclaration(line))
        ++marks.declarations;
    else if (brace == npos && !line.ends_with(',') && line.find(':') == npos)
        ++marks.foreign;
}

StyleMarks styleMarks(std::string_view text)
{
    constexpr std::size_t hopeless = 10;
    StyleMarks marks;
    bool inComment = false;
    Lines lines{text};
    for (std::string_view line; lines.nextFilled(line);) {
        line = bothTrimmed(line);
        if (!inComment && line.starts_with("//"))
            continue;
        const bool startsComment = !inComment && line.starts_with("/*");
        if (inComment || startsComment) {
            inComment = line.find("*/", startsComment ? 2 : 0) == npos;
            continue;
        }
        addLine(marks, line);
        if (marks.foreign > hopeless && marks.declarations == 0)
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
    const StyleMarks marks = styleMarks(text);
    const std::size_t told = marks.rules + marks.declarations + marks.extensions;
    if (marks.rules == 0 || marks.declarations == 0 || told < 3 || marks.foreign * 4 > told)
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
        {"pragma ", ""},
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
        return (!rest.empty() || opening.needs.empty()) && statement.find(". ") == npos;
    }
    return false;
}

} // namespace nivex::shapes
