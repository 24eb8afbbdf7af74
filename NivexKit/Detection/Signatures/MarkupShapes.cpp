#include "NivexKit/Detection/Signatures/TextHead.hpp"
#include "NivexKit/Detection/Signatures/TextShapes.hpp"

#include <algorithm>
#include <array>
#include <optional>

namespace nivex::shapes {
namespace {

constexpr auto npos = std::string_view::npos;

struct RootRow {
    std::string_view element; // without a name-space prefix, letters as in the document
    std::string_view formats;
};

// clang-format off
constexpr RootRow roots[] = {
    {"svg",                    "svg"},
    {"plist",                  "plist"},
    {"html",                   "html"},
    {"HTML",                   "html"},
    {"head",                   "html"},
    {"body",                   "html"},
    {"gpx",                    "gpx"},
    {"kml",                    "kml"},
    {"TrainingCenterDatabase", "tcx"},
    {"FictionBook",            "fb2"},
    {"COLLADA",                "dae"},
    {"AfterEffectsProject",    "aepx"},
    {"PremiereData",           "prproj"},
};
// clang-format on

/// What stands before the root element: declaration, document type, comments.
struct Prolog {
    bool isDeclared = false;       // "<?xml" was seen
    std::string_view documentType; // the name after "<!doctype"
    std::string_view root;         // from "<" of the root element on; empty when the head ends before it
    bool isNothing = false;        // the text holds nothing but what may stand there
};

/// Behind the next `end` at or after `from`; the text's length when there is none.
std::size_t behind(std::string_view text, std::string_view end, std::size_t from)
{
    const std::size_t found = text.find(end, from);
    return found == npos ? text.size() : found + end.size();
}

/// Behind the document type that `text` opens with: its ">" counts only outside brackets.
std::size_t behindDocumentType(std::string_view text)
{
    const std::size_t close = text.find('>');
    const std::size_t bracket = text.find('[');
    if (close == npos || bracket > close)
        return behind(text, ">", 0);
    return behind(text, ">", behind(text, "]", bracket));
}

Prolog prologOf(std::string_view text)
{
    constexpr std::string_view documentType = "<!doctype";
    Prolog prolog;
    while (!text.empty()) {
        if (text.starts_with("<?")) {
            prolog.isDeclared = prolog.isDeclared || text.starts_with("<?xml");
            text = text.substr(behind(text, "?>", 2));
        } else if (text.starts_with("<!--")) {
            text = text.substr(behind(text, "-->", 4));
        } else if (startsIgnoringCase(text, documentType)) {
            prolog.documentType = openingWord(leftTrimmed(text.substr(documentType.size())));
            text = text.substr(behindDocumentType(text));
        } else {
            prolog.root = text.starts_with('<') ? text : std::string_view{};
            return prolog;
        }
        text = leftTrimmed(text);
    }
    prolog.isNothing = true;
    return prolog;
}

/// The name of the element that `text` opens with, without its prefix; empty when it opens with none.
std::string_view elementName(std::string_view text)
{
    if (text.size() < 2 || (!isAsciiLetter(text[1]) && text[1] != '_'))
        return {};
    std::string_view name = text.substr(1, text.find_first_of(" \t\r\n/>", 1) - 1);
    name.remove_prefix(name.find_last_of(':') + 1);
    for (const char each : name)
        if (!isWordPart(each) && each != '-' && each != '.' && static_cast<unsigned char>(each) < 0x80)
            return {};
    return name;
}

/// Behind the end of the element that `text` opens with, counting those of its name inside; none when it goes on.
std::optional<std::size_t> behindElement(std::string_view text)
{
    const std::string_view name = text.substr(1, text.find_first_of(" \t\r\n/>", 1) - 1); // with its prefix
    const auto isNamed = [&](std::size_t at) {
        const std::string_view rest = text.substr(std::min(at + name.size(), text.size()));
        return text.substr(at).starts_with(name) && !rest.empty() &&
               (isAsciiSpace(rest.front()) || rest.front() == '>' || rest.front() == '/');
    };
    std::size_t open = 0;
    for (std::size_t at = 0; at != npos; at = text.find('<', at + 1)) {
        const bool isEnd = text.substr(at).starts_with("</");
        if (!isNamed(at + (isEnd ? 2 : 1)))
            continue;
        const std::size_t close = text.find('>', at);
        if (close == npos)
            return std::nullopt;
        const bool isEmpty = text[close - 1] == '/';
        open += isEnd || isEmpty ? 0 : 1;
        open -= isEnd ? 1 : 0;
        if (open == 0)
            return close + 1;
    }
    return std::nullopt;
}

std::string_view tagOf(std::string_view root) { return root.substr(0, root.find('>')); }

bool hasNameSpace(std::string_view root) { return tagOf(root).find(" xmlns") != npos; }

/// The text is one element from its beginning to its end.
bool isOneElement(std::string_view root)
{
    const auto end = behindElement(root);
    return end && !tagOf(root).ends_with('/') && prologOf(leftTrimmed(root.substr(*end))).isNothing;
}

// Elements that the body or the head of a page holds.
constexpr auto pageElements = std::to_array<std::string_view>({
    "a",      "abbr",     "article", "aside",   "audio",   "b",     "blockquote", "br",     "button",   "canvas",
    "center", "code",     "dd",      "details", "div",     "dl",    "dt",         "em",     "fieldset", "figure",
    "font",   "footer",   "form",    "h1",      "h2",      "h3",    "h4",         "h5",     "h6",       "header",
    "hr",     "i",        "iframe",  "img",     "input",   "label", "li",         "link",   "main",     "meta",
    "nav",    "noscript", "object",  "ol",      "option",  "p",     "pre",        "script", "section",  "select",
    "small",  "span",     "strong",  "style",   "summary", "table", "tbody",      "td",     "template", "textarea",
    "th",     "thead",    "title",   "tr",      "u",       "ul",    "video",
});

/// True for "<" and "</" with the name of such an element behind it.
bool opensPageElement(std::string_view text)
{
    text.remove_prefix(text.starts_with("</") ? 2 : 1);
    const std::string_view name = openingWord(text);
    const std::string_view rest = text.substr(name.size());
    return !name.empty() &&
           (rest.empty() || isAsciiSpace(rest.front()) || rest.front() == '>' || rest.front() == '/') &&
           std::ranges::any_of(pageElements, [name](std::string_view each) { return equalsIgnoringCase(name, each); });
}

/// From the end tag of a script or a style sheet on when `text` opens with one, for its own signs are no tags.
std::string_view behindRawElement(std::string_view text)
{
    for (const std::string_view name : {"script", "style"}) {
        if (!startsIgnoringCase(text.substr(1), name))
            continue;
        std::size_t end = text.find("</", 1);
        while (end != npos && !startsIgnoringCase(text.substr(end + 2), name))
            end = text.find("</", end + 2);
        return text.substr(std::min(end, text.size()));
    }
    return text;
}

/// XML without a declaration: a name space on the root element, or the text is that element and none of a page.
bool isBareXml(std::string_view root, std::string_view name)
{
    if (tagOf(root).size() == root.size() || name.empty())
        return false;
    const auto end = behindElement(root);
    if (hasNameSpace(root))
        return !end || prologOf(leftTrimmed(root.substr(*end))).isNothing;
    return isOneElement(root) && !opensPageElement(root);
}

} // namespace

std::string_view fragmentFormats(std::string_view text)
{
    constexpr std::size_t enough = 3;
    constexpr std::size_t linesPerTag = 40;
    text = prologOf(text).root;
    if (text.empty() || !opensPageElement(text))
        return {};
    const std::string_view formats = isOneElement(text) ? "html xml" : "html";
    const auto lines = static_cast<std::size_t>(std::ranges::count(text, '\n'));
    std::size_t tags = 0;
    std::size_t rawLines = 0;
    while (!text.empty()) {
        tags += opensPageElement(text);
        const std::string_view rest = behindRawElement(text);
        rawLines += static_cast<std::size_t>(std::ranges::count(text.substr(0, text.size() - rest.size()), '\n'));
        text = rest.size() < text.size() ? rest : text.substr(std::min(text.find('<', 1), text.size()));
    }
    return tags >= enough && tags * linesPerTag >= lines - rawLines ? formats : std::string_view{};
}

std::string_view markupFormats(std::string_view text)
{
    const Prolog prolog = prologOf(text);
    const std::string_view name = elementName(prolog.root);
    for (const RootRow& row : roots)
        if (row.element == name || (row.element == prolog.documentType && !row.element.empty()))
            return row.formats;
    if (startsIgnoringCase(prolog.documentType, "html") || startsIgnoringCase(prolog.root, "<html"))
        return "html";
    if (prolog.isDeclared || isBareXml(prolog.root, name))
        return "xml";
    return {};
}

} // namespace nivex::shapes
