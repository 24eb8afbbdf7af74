#include "NivexKit/Detection/Signatures/TextHead.hpp"
#include "NivexKit/Detection/Signatures/TextShapes.hpp"

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
    return prolog;
}

/// The name of the element that `text` opens with, without its prefix; empty when it opens with none.
std::string_view elementName(std::string_view text)
{
    if (text.size() < 2 || (!isLetter(text[1]) && text[1] != '_'))
        return {};
    std::string_view name = text.substr(1, text.find_first_of(" \t\r\n/>", 1) - 1);
    name.remove_prefix(name.find_last_of(':') + 1);
    for (const char each : name)
        if (!isWordPart(each) && each != '-' && each != '.' && static_cast<unsigned char>(each) < 0x80)
            return {};
    return name;
}

/// XML without a declaration: a name space on the root element, or the root element closed at the very end.
bool isBareXml(std::string_view root, std::string_view name)
{
    const std::string_view tag = root.substr(0, root.find('>'));
    if (tag.size() == root.size() || name.empty())
        return false;
    if (tag.find(" xmlns") != npos)
        return true;
    const std::string_view all = bothTrimmed(root);
    return all.ends_with('>') && all.substr(0, all.size() - 1).ends_with(name) &&
           all.substr(0, all.size() - 1 - name.size()).ends_with("</");
}

} // namespace

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
