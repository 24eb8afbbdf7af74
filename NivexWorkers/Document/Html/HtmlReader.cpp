#include "NivexWorkers/Document/Html/HtmlReader.hpp"

#include "NivexWorkers/Document/Model/DocumentBuilder.hpp"
#include "NivexWorkers/Document/Model/Images.hpp"
#include "NivexWorkers/Document/Text/TextReader.hpp"

#include "NivexKit/Foundation/Text/Ascii.hpp"
#include "NivexKit/Foundation/Text/CharacterSet.hpp"
#include "NivexKit/Foundation/Text/Unicode.hpp"

#include <libxml/HTMLparser.h>

#include <algorithm>
#include <charconv>
#include <exception>
#include <iterator>
#include <memory>
#include <utility>

namespace nivex::document {
namespace {

constexpr std::size_t mostOpenElements = 10'000; // below these, elements are read as if they had no marks

enum class Role {
    none,
    block, // begins and ends a paragraph
    heading,
    quote,
    unorderedList,
    orderedList,
    item,
    table,
    row,
    cell,
    caption,
    preformatted,
    style,
    link,
    term,      // what a list of definitions defines
    quotation, // inside a line
    hidden,
    title,
};

struct Element {
    std::string_view name;
    Role role;
    Style style = Style::bold;
};

// clang-format off
constexpr Element elements[] = {
    {"p", Role::block}, {"div", Role::block}, {"section", Role::block}, {"article", Role::block}, {"header", Role::block},
    {"footer", Role::block}, {"main", Role::block}, {"nav", Role::block}, {"aside", Role::block}, {"address", Role::block},
    {"figure", Role::block}, {"figcaption", Role::block}, {"center", Role::block}, {"form", Role::block},
    {"fieldset", Role::block}, {"legend", Role::block}, {"details", Role::block}, {"summary", Role::block},
    {"dl", Role::block}, {"hgroup", Role::block}, {"body", Role::block}, {"option", Role::block},
    {"h1", Role::heading}, {"h2", Role::heading}, {"h3", Role::heading}, {"h4", Role::heading}, {"h5", Role::heading},
    {"h6", Role::heading}, {"blockquote", Role::quote}, {"dd", Role::quote}, {"dt", Role::term},
    {"ul", Role::unorderedList}, {"menu", Role::unorderedList}, {"dir", Role::unorderedList}, {"ol", Role::orderedList},
    {"li", Role::item}, {"table", Role::table}, {"tr", Role::row}, {"td", Role::cell}, {"th", Role::cell},
    {"caption", Role::caption}, {"pre", Role::preformatted}, {"listing", Role::preformatted}, {"xmp", Role::preformatted},
    {"b", Role::style, Style::bold}, {"strong", Role::style, Style::bold}, {"i", Role::style, Style::italic},
    {"em", Role::style, Style::italic}, {"cite", Role::style, Style::italic}, {"var", Role::style, Style::italic},
    {"dfn", Role::style, Style::italic}, {"u", Role::style, Style::underline}, {"ins", Role::style, Style::underline},
    {"s", Role::style, Style::strikethrough}, {"del", Role::style, Style::strikethrough},
    {"strike", Role::style, Style::strikethrough}, {"sup", Role::style, Style::superscript},
    {"sub", Role::style, Style::subscript}, {"code", Role::style, Style::code}, {"kbd", Role::style, Style::code},
    {"samp", Role::style, Style::code}, {"tt", Role::style, Style::code}, {"a", Role::link}, {"q", Role::quotation},
    {"script", Role::hidden}, {"style", Role::hidden}, {"template", Role::hidden}, {"iframe", Role::hidden},
    {"object", Role::hidden}, {"svg", Role::hidden}, {"head", Role::none}, {"textarea", Role::hidden},
    {"noframes", Role::hidden}, {"audio", Role::hidden}, {"video", Role::hidden}, {"canvas", Role::hidden},
    {"title", Role::title},
};
// clang-format on

class Attributes {
public:
    explicit Attributes(const xmlChar** pairs) : pairs_{pairs} {}

    /// Empty where there is none, or it has no value.
    std::string_view operator[](std::string_view name) const
    {
        const char* found = valueOf(name);
        return found ? found : std::string_view{};
    }
    bool has(std::string_view name) const
    {
        for (const xmlChar** pair = pairs_; pair && *pair; pair += 2)
            if (reinterpret_cast<const char*>(*pair) == name)
                return true;
        return false;
    }
    int number(std::string_view name, int otherwise) const
    {
        const std::string_view text = trimmed((*this)[name]);
        int value = otherwise;
        const auto [end, failure] = std::from_chars(text.data(), text.data() + text.size(), value);
        return failure == std::errc{} ? value : otherwise;
    }

private:
    const char* valueOf(std::string_view name) const
    {
        for (const xmlChar** pair = pairs_; pair && *pair; pair += 2)
            if (reinterpret_cast<const char*>(pair[0]) == name)
                return reinterpret_cast<const char*>(pair[1]);
        return nullptr;
    }

    const xmlChar** pairs_;
};

Alignment alignmentOf(const Attributes& attributes, Alignment outer)
{
    std::string named = asciiLowercased(attributes["align"]);
    const std::string style = asciiLowercased(attributes["style"]);
    if (const std::size_t at = style.find("text-align:"); at != style.npos)
        named = trimmed(std::string_view{style}.substr(at + 11, style.find(';', at) - at - 11));
    return named == "left" || named == "start"  ? Alignment::left
           : named == "center"                  ? Alignment::center
           : named == "right" || named == "end" ? Alignment::right
           : named == "justify"                 ? Alignment::justified
                                                : outer;
}

bool isHidden(const Attributes& attributes)
{
    std::string style = asciiLowercased(attributes["style"]);
    std::erase(style, ' ');
    return attributes.has("hidden") || style.find("display:none") != style.npos;
}

/// Follows the events of the parser; an exception ends it.
class PageReader {
public:
    explicit PageReader(const FindImage& findImage) : findImage_{findImage} {}

    void begin(std::string_view name, const Attributes& attributes)
    {
        if (open_.size() >= mostOpenElements)
            throw ConversionError::resourceLimit(
                filled("données imbriquées sur plus de {} niveaux"_fr, {std::to_string(mostOpenElements)}));
        const auto known = std::ranges::find(elements, name, &Element::name);
        const Role role = known == std::end(elements) ? Role::none : known->role;
        open_.push_back({std::string{name}, role, like_, alignment_});
        if (hidden_ == 0)
            beginShown(name, role, known == std::end(elements) ? Style::bold : known->style, attributes);
        if (role == Role::hidden || (isHidden(attributes) && name != "body")) {
            ++hidden_;
            open_.back().isHidden = true;
        }
    }

    void end(std::string_view name)
    {
        const auto open = std::ranges::find(open_.rbegin(), open_.rend(), name, &Open::name);
        if (open == open_.rend())
            return;
        const std::size_t left = static_cast<std::size_t>(open_.rend() - open) - 1;
        while (open_.size() > left) {
            const Open last = std::move(open_.back());
            open_.pop_back();
            if (last.isHidden)
                --hidden_;
            if (hidden_ == 0)
                endShown(last);
        }
    }

    void text(std::string_view part)
    {
        if (hidden_ > 0)
            return;
        if (isTitle_)
            builder_.document().title += part;
        else if (code_)
            code_->text += part;
        else
            addCollapsed(part);
    }

    Document finish()
    {
        endCode();
        Document document = builder_.finish();
        document.title = trimmed(document.title);
        return document;
    }

private:
    struct Open {
        std::string name;
        Role role;
        Inline like;         // before it
        Alignment alignment; // likewise
        bool isHidden = false;
    };

    void beginShown(std::string_view name, Role role, Style style, const Attributes& attributes)
    {
        anchor(attributes);
        switch (role) {
        case Role::block:
            alignment_ = name == "center" ? Alignment::center : alignmentOf(attributes, alignment_);
            builder_.startParagraph(0, alignment_);
            break;
        case Role::heading:
            alignment_ = alignmentOf(attributes, alignment_);
            builder_.startParagraph(name[1] - '0', alignment_);
            break;
        case Role::quote:
            builder_.openQuote();
            break;
        case Role::unorderedList:
            builder_.openList(false, 1);
            break;
        case Role::orderedList:
            builder_.openList(true, attributes.number("start", 1));
            break;
        case Role::item:
            builder_.openItem();
            break;
        case Role::table:
            alignment_ = Alignment::natural;
            builder_.openTable();
            break;
        case Role::row:
            builder_.openRow();
            break;
        case Role::cell:
            alignment_ = alignmentOf(attributes, Alignment::natural);
            builder_.openCell({.columns = attributes.number("colspan", 1),
                               .rows = attributes.number("rowspan", 1),
                               .isHeader = name == "th",
                               .alignment = alignment_});
            break;
        case Role::caption:
            builder_.startCaption();
            break;
        case Role::preformatted:
            builder_.endParagraph();
            code_ = CodeBlock{};
            break;
        case Role::style:
            like_.styles.set(style);
            if (code_ && name == "code")
                noteLanguage(attributes["class"]);
            break;
        case Role::link:
            if (!attributes["href"].empty())
                like_.link = trimmed(attributes["href"]);
            break;
        case Role::term:
            builder_.startParagraph();
            like_.styles.set(Style::bold);
            break;
        case Role::quotation:
            addText("“");
            break;
        case Role::title:
            isTitle_ = open_.size() < 2 || open_[open_.size() - 2].name == "head" || builder_.document().title.empty();
            break;
        case Role::none:
            beginEmpty(name, attributes);
            break;
        case Role::hidden:
            break;
        }
    }

    /// Elements without content.
    void beginEmpty(std::string_view name, const Attributes& attributes)
    {
        if (name == "br" && code_)
            code_->text += '\n';
        else if (name == "br")
            builder_.add({.kind = Inline::Kind::lineBreak});
        else if (name == "hr")
            builder_.addRule();
        else if (name == "img")
            addImage(attributes);
        else if (name == "input" && attributes["type"] == "checkbox")
            builder_.checkItem(attributes.has("checked"));
        else if (name == "html" && !attributes["lang"].empty())
            builder_.document().language = attributes["lang"];
        else if (name == "meta" && equalsIgnoringCase(attributes["name"], "author"))
            builder_.document().author = attributes["content"];
    }

    void endShown(const Open& last)
    {
        switch (last.role) {
        case Role::block:
        case Role::heading:
        case Role::caption:
        case Role::term:
            builder_.endParagraph();
            break;
        case Role::quote:
            builder_.close(DocumentBuilder::Container::quote);
            break;
        case Role::unorderedList:
        case Role::orderedList:
            builder_.close(DocumentBuilder::Container::list);
            break;
        case Role::item:
            builder_.close(DocumentBuilder::Container::item);
            break;
        case Role::table:
            builder_.close(DocumentBuilder::Container::table);
            break;
        case Role::row:
            builder_.close(DocumentBuilder::Container::row);
            break;
        case Role::cell:
            builder_.close(DocumentBuilder::Container::cell);
            break;
        case Role::preformatted:
            endCode();
            break;
        case Role::quotation:
            addText("”");
            break;
        case Role::title:
            isTitle_ = false;
            break;
        default:
            break;
        }
        like_ = last.like;
        alignment_ = last.alignment;
    }

    /// In front of a block its name would stand in the paragraph before: it waits for the block's first word.
    void anchor(const Attributes& attributes)
    {
        std::string_view name = attributes["id"];
        if (name.empty() && open_.back().name == "a")
            name = attributes["name"];
        if (!name.empty())
            pendingAnchors_.push_back(std::string{name});
    }

    void addAnchors()
    {
        for (std::string& name : std::exchange(pendingAnchors_, {}))
            builder_.add({.kind = Inline::Kind::anchor, .source = std::move(name)});
    }

    void addCollapsed(std::string_view part)
    {
        if (!trimmed(part).empty())
            addAnchors();
        builder_.addCollapsed(part, like_);
    }

    void addText(std::string_view text)
    {
        Inline piece = like_;
        piece.text = text;
        builder_.add(std::move(piece));
    }

    void addImage(const Attributes& attributes)
    {
        const std::string address{trimmed(attributes["src"])};
        Inline piece = like_;
        piece.kind = Inline::Kind::image;
        piece.text = attributes["alt"];
        constexpr double pointsOfPixel = 0.75;
        piece.width = std::clamp(attributes.number("width", 0), 0, 10'000) * pointsOfPixel;
        piece.height = std::clamp(attributes.number("height", 0), 0, 10'000) * pointsOfPixel;
        std::optional<Image> image = imageInAddress(address);
        if (!image && findImage_)
            image = findImage_(address);
        if (image)
            piece.index = builder_.keep(std::move(*image));
        else
            piece.source = address;
        if (!address.empty())
            builder_.add(std::move(piece));
    }

    void noteLanguage(std::string_view classes)
    {
        constexpr std::string_view prefix = "language-";
        if (const std::size_t at = classes.find(prefix); at != classes.npos)
            code_->language = classes.substr(at + prefix.size(), classes.find(' ', at) - at - prefix.size());
    }

    void endCode()
    {
        if (!code_)
            return;
        CodeBlock code = *std::exchange(code_, std::nullopt);
        if (code.text.starts_with('\n')) // the one behind the mark
            code.text.erase(0, 1);
        builder_.addCode(std::move(code));
    }

    const FindImage& findImage_;
    DocumentBuilder builder_;
    std::vector<Open> open_;
    Inline like_; // the looks of what comes next
    Alignment alignment_ = Alignment::natural;
    std::optional<CodeBlock> code_;
    std::vector<std::string> pendingAnchors_;
    std::size_t hidden_ = 0; // elements that hide their content, of those that are open
    bool isTitle_ = false;
};

/// The parser is written in C: what a handler throws waits until it has stopped.
struct Parsing {
    PageReader reader;
    std::exception_ptr failure;
    xmlParserCtxtPtr parser = nullptr;

    template <class Work>
    void guarded(Work work)
    {
        if (failure)
            return;
        try {
            work(reader);
        } catch (...) {
            failure = std::current_exception();
            xmlStopParser(parser);
        }
    }
};

std::string_view viewOf(const xmlChar* text) { return reinterpret_cast<const char*>(text); }

xmlSAXHandler handlers()
{
    xmlSAXHandler handler = {};
    handler.startElement = [](void* context, const xmlChar* name, const xmlChar** attributes) {
        static_cast<Parsing*>(context)->guarded(
            [&](PageReader& reader) { reader.begin(viewOf(name), Attributes{attributes}); });
    };
    handler.endElement = [](void* context, const xmlChar* name) {
        static_cast<Parsing*>(context)->guarded([&](PageReader& reader) { reader.end(viewOf(name)); });
    };
    handler.characters = [](void* context, const xmlChar* text, int length) {
        static_cast<Parsing*>(context)->guarded([&](PageReader& reader) {
            reader.text({reinterpret_cast<const char*>(text), static_cast<std::size_t>(length)});
        });
    };
    handler.ignorableWhitespace = handler.characters;
    return handler;
}

/// The character set that a page declares near its beginning; empty for none.
std::string declaredCharacterSet(std::string_view beginning)
{
    const std::string head = asciiLowercased(beginning.substr(0, 2'048));
    for (const std::string_view key : {"charset=", "encoding="})
        if (const std::size_t at = head.find(key); at != head.npos) {
            const std::size_t begin = head.find_first_not_of("\"' ", at + key.size());
            if (begin != head.npos)
                return head.substr(begin, head.find_first_of("\"' />;?", begin) - begin);
        }
    return {};
}

} // namespace

Document readHtml(const Source& source)
{
    if (source.bytes.size() > mostTextBytes)
        throw tooLongDocument();
    const auto beginning = source.bytes.read(0, std::size_t{2'048});
    const std::string declared =
        declaredCharacterSet({reinterpret_cast<const char*>(beginning.data()), beginning.size()});
    if (!declared.empty() && !declared.starts_with("utf")) {
        const auto bytes = source.bytes.read(0, static_cast<std::size_t>(source.bytes.size()));
        const std::string_view text{reinterpret_cast<const char*>(bytes.data()), bytes.size()};
        if (!isValidUtf8(text))
            if (const auto decoded = converted(text, declared))
                return readHtmlText(*decoded);
    }
    return readHtmlText(textOf(source));
}

Document readHtmlText(std::string_view text, const FindImage& findImage)
{
    Parsing parsing{PageReader{findImage}, nullptr, nullptr};
    xmlSAXHandler handler = handlers();
    const std::unique_ptr<htmlParserCtxt, void (*)(htmlParserCtxtPtr)> parser{
        htmlCreatePushParserCtxt(&handler, &parsing, nullptr, 0, nullptr, XML_CHAR_ENCODING_UTF8), htmlFreeParserCtxt};
    if (!parser)
        throw std::bad_alloc{};
    parsing.parser = parser.get();
    htmlCtxtUseOptions(parser.get(), HTML_PARSE_RECOVER | HTML_PARSE_NONET | HTML_PARSE_NOERROR | HTML_PARSE_NOWARNING |
                                         HTML_PARSE_IGNORE_ENC);
    constexpr std::size_t pieceBytes = 64 * 1'024;
    for (std::size_t at = 0; at < text.size() && !parsing.failure; at += pieceBytes) {
        const std::string_view piece = text.substr(at, pieceBytes);
        htmlParseChunk(parser.get(), piece.data(), static_cast<int>(piece.size()), 0);
    }
    if (!parsing.failure)
        htmlParseChunk(parser.get(), nullptr, 0, 1);
    if (parsing.failure)
        std::rethrow_exception(parsing.failure);
    return parsing.reader.finish();
}

} // namespace nivex::document
