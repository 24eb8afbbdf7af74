#include "NivexWorkers/Document/Markdown/MarkdownReader.hpp"

#include "NivexWorkers/Document/Html/HtmlReader.hpp"
#include "NivexWorkers/Document/Text/TextReader.hpp"

#include "NivexKit/Foundation/Text/Unicode.hpp"

#include <md4c-html.h>

#include <algorithm>

namespace nivex::document {
namespace {

/// What the head of a file says of the whole.
struct FrontMatter {
    std::string title;
    std::string author;
    std::string language;
};

std::string unquoted(std::string_view value)
{
    value = trimmed(value);
    if (value.size() >= 2 && (value.front() == '"' || value.front() == '\'') && value.back() == value.front())
        value = value.substr(1, value.size() - 2);
    return std::string{value};
}

/// Takes the head from the beginning of the text: lines between "---" and "---", each with a name and a value.
FrontMatter takeFrontMatter(std::string_view& text)
{
    FrontMatter matter;
    constexpr std::string_view mark = "---\n";
    if (!text.starts_with(mark))
        return matter;
    const std::size_t end = text.find("\n---\n", mark.size() - 1);
    if (end == text.npos)
        return matter;
    std::string_view head = text.substr(mark.size(), end + 1 - mark.size());
    if (head.find(':') == head.npos)
        return matter; // two rules with words between them
    text.remove_prefix(end + 1 + mark.size());
    while (!head.empty()) {
        const std::string_view line = head.substr(0, head.find('\n'));
        head.remove_prefix(std::min(head.size(), line.size() + 1));
        const std::size_t colon = std::min(line.find(':'), line.size());
        const std::string_view name = line.substr(0, colon);
        std::string value = unquoted(line.substr(std::min(colon + 1, line.size())));
        if (name == "title")
            matter.title = std::move(value);
        else if (name == "author")
            matter.author = std::move(value);
        else if (name == "lang" || name == "language")
            matter.language = std::move(value);
    }
    return matter;
}

} // namespace

Document readMarkdown(const Source& source)
{
    const std::string file = textOf(source);
    std::string_view text = file;
    const FrontMatter matter = takeFrontMatter(text);
    std::string html;
    constexpr unsigned flags = MD_FLAG_TABLES | MD_FLAG_STRIKETHROUGH | MD_FLAG_TASKLISTS | MD_FLAG_PERMISSIVEAUTOLINKS;
    const int code = md_html(
        text.data(), static_cast<MD_SIZE>(text.size()),
        [](const MD_CHAR* part, MD_SIZE size, void* all) { static_cast<std::string*>(all)->append(part, size); }, &html,
        flags, 0);
    if (code != 0)
        throw damagedDocument("Markdown parser: " + std::to_string(code));
    Document document = readHtmlText(html);
    const auto prefer = [](std::string& own, const std::string& said) {
        if (!said.empty())
            own = said;
    };
    prefer(document.title, matter.title);
    prefer(document.author, matter.author);
    prefer(document.language, matter.language);
    return document;
}

} // namespace nivex::document
