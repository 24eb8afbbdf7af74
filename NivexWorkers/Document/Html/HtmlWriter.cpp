#include "NivexWorkers/Document/Html/HtmlWriter.hpp"

#include "NivexWorkers/Document/Html/Markup.hpp"
#include "NivexWorkers/Document/Model/Images.hpp"
#include "NivexWorkers/Document/Model/Visit.hpp"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <span>
#include <variant>
#include <vector>

namespace nivex::document {
namespace {

struct Tag {
    Style style;
    std::string_view name;
};

// clang-format off
constexpr Tag tags[] = {
    {Style::strikethrough, "s"}, {Style::bold, "strong"}, {Style::italic, "em"}, {Style::underline, "u"},
    {Style::superscript, "sup"}, {Style::subscript, "sub"}, {Style::code, "code"},
};
// clang-format on

std::string_view styleOf(Alignment alignment)
{
    switch (alignment) {
    case Alignment::natural:
        return "";
    case Alignment::left:
        return " style=\"text-align:left\"";
    case Alignment::center:
        return " style=\"text-align:center\"";
    case Alignment::right:
        return " style=\"text-align:right\"";
    case Alignment::justified:
        return " style=\"text-align:justify\"";
    }
    return "";
}

/// A program's place behind "javascript:" is no address for a person.
bool isHarmless(std::string_view address)
{
    const std::size_t colon = address.find_first_of(":/?#");
    if (colon == address.npos || address[colon] != ':')
        return true;
    constexpr std::string_view schemes[] = {"http", "https", "mailto", "ftp", "tel",
                                            "file", "sms",   "geo",    "urn", "doi"};
    return std::ranges::find(schemes, address.substr(0, colon)) != std::end(schemes);
}

class HtmlWriter {
public:
    HtmlWriter(const Document& document, const HtmlStyle& style) : document_{document}, style_{style} {}

    std::string written(const Blocks& blocks)
    {
        write(blocks);
        writeNotes();
        return std::move(html_);
    }

private:
    void write(const Blocks& blocks)
    {
        for (const Block& block : blocks)
            std::visit([this](const auto& content) { write(content); }, block.content);
    }

    void write(const Paragraph& paragraph)
    {
        html_.append("<p").append(styleOf(paragraph.alignment)) += '>';
        write(paragraph.inlines);
        html_ += "</p>\n";
    }
    void write(const Heading& heading)
    {
        const std::string name = "h" + std::to_string(heading.level);
        html_.append("<").append(name).append(styleOf(heading.alignment)) += '>';
        write(heading.inlines);
        html_ += "</" + name + ">\n";
    }
    void write(const CodeBlock& code)
    {
        html_ += "<pre><code";
        if (!code.language.empty())
            html_ += " class=\"language-" + escaped(code.language) + "\"";
        html_ += ">" + escaped(code.text) + "\n</code></pre>\n";
    }
    void write(const Quote& quote)
    {
        html_ += "<blockquote>\n";
        write(quote.blocks);
        html_ += "</blockquote>\n";
    }
    void write(const List& list)
    {
        html_ += list.isOrdered ? "<ol" : "<ul";
        if (list.isOrdered && list.start != 1)
            html_ += " start=\"" + std::to_string(list.start) + "\"";
        html_ += ">\n";
        for (const ListItem& item : list.items) {
            html_ += "<li>";
            if (item.isChecked)
                html_ += *item.isChecked ? "<input type=\"checkbox\" disabled=\"disabled\" checked=\"checked\" /> "
                                         : "<input type=\"checkbox\" disabled=\"disabled\" /> ";
            writeTight(item.blocks);
            html_ += "</li>\n";
        }
        html_ += list.isOrdered ? "</ol>\n" : "</ul>\n";
    }
    void write(const Table& table)
    {
        html_ += "<table>\n";
        if (!table.caption.empty()) {
            html_ += "<caption>";
            write(table.caption);
            html_ += "</caption>\n";
        }
        for (const TableRow& row : table.rows) {
            html_ += "<tr>";
            for (const TableCell& cell : row.cells)
                write(cell);
            html_ += "</tr>\n";
        }
        html_ += "</table>\n";
    }
    void write(const TableCell& cell)
    {
        const char* name = cell.isHeader ? "th" : "td";
        html_.append("<").append(name);
        if (cell.columns > 1)
            html_ += " colspan=\"" + std::to_string(cell.columns) + "\"";
        if (cell.rows > 1)
            html_ += " rowspan=\"" + std::to_string(cell.rows) + "\"";
        html_.append(styleOf(cell.alignment)) += '>';
        writeTight(cell.blocks);
        html_.append("</").append(name) += '>';
    }
    void write(const Rule&) { html_ += "<hr />\n"; }
    void write(const PageBreak&) { html_ += "<div class=\"page-break\"></div>\n"; }

    /// A single plain paragraph without the marks of one.
    void writeTight(const Blocks& blocks)
    {
        const Paragraph* first = blocks.empty() ? nullptr : std::get_if<Paragraph>(&blocks.front().content);
        const auto isList = [](const Block& block) { return std::holds_alternative<List>(block.content); };
        if (!first || first->alignment != Alignment::natural || !std::all_of(blocks.begin() + 1, blocks.end(), isList))
            return write(blocks);
        write(first->inlines);
        if (blocks.size() > 1)
            html_ += '\n';
        for (const Block& list : std::span{blocks}.subspan(1))
            write(std::get<List>(list.content));
    }

    void write(const Inlines& inlines)
    {
        for (auto piece = inlines.begin(); piece != inlines.end();) {
            const std::string& link = piece->link;
            const auto end = std::find_if(piece, inlines.end(), [&](const Inline& each) { return each.link != link; });
            const bool isLink = !link.empty() && isHarmless(link);
            if (isLink)
                html_ += "<a href=\"" + escaped(style_.linkAddress(link)) + "\">";
            for (; piece != end; ++piece)
                write(*piece);
            if (isLink)
                html_ += "</a>";
        }
    }

    void write(const Inline& piece)
    {
        switch (piece.kind) {
        case Inline::Kind::text:
            for (const Tag& tag : tags)
                if (piece.styles.has(tag.style))
                    html_.append("<").append(tag.name) += '>';
            html_ += escaped(piece.text);
            for (auto tag = std::rbegin(tags); tag != std::rend(tags); ++tag)
                if (piece.styles.has(tag->style))
                    html_.append("</").append(tag->name) += '>';
            break;
        case Inline::Kind::lineBreak:
            html_ += "<br />\n";
            break;
        case Inline::Kind::image:
            writeImage(piece);
            break;
        case Inline::Kind::anchor:
            html_ += "<span id=\"" + escaped(piece.source) + "\"></span>";
            break;
        case Inline::Kind::note:
            notes_.push_back(*piece.index);
            writeMark(*piece.index);
            break;
        }
    }

    void writeImage(const Inline& piece)
    {
        const std::string address = piece.index ? style_.imageAddress(*piece.index) : piece.source;
        if (address.empty() || (style_.isBook && !piece.index)) {
            html_ += escaped(piece.text);
            return;
        }
        html_ += "<img src=\"" + escaped(address) + "\" alt=\"" + escaped(piece.text) + "\"";
        constexpr double pixelsOfPoint = 4.0 / 3;
        if (piece.width > 0 && piece.height > 0)
            html_ += " width=\"" + std::to_string(std::lround(piece.width * pixelsOfPoint)) + "\" height=\"" +
                     std::to_string(std::lround(piece.height * pixelsOfPoint)) + "\"";
        html_ += " />";
    }

    void writeMark(std::size_t note)
    {
        const std::string number = std::to_string(note + 1);
        html_ += "<sup><a id=\"note-mark-" + number + "\" href=\"#note-" + number + "\"" +
                 (style_.isBook ? " epub:type=\"noteref\"" : "") + ">" + number + "</a></sup>";
    }

    /// Notes may have marks of other notes.
    void writeNotes()
    {
        if (notes_.empty())
            return;
        html_ += "<hr />\n";
        for (std::size_t i = 0; i < notes_.size(); ++i) {
            const std::size_t note = notes_[i];
            const std::string number = std::to_string(note + 1);
            const std::string name = style_.isBook ? "aside" : "div";
            html_ += "<" + name + " id=\"note-" + number + "\" class=\"note\"" +
                     (style_.isBook ? " epub:type=\"footnote\"" : "") + ">\n<p class=\"number\"><a href=\"#note-mark-" +
                     number + "\">" + number + "</a></p>\n";
            write(document_.notes[note]);
            html_ += "</" + name + ">\n";
        }
    }

    const Document& document_;
    const HtmlStyle& style_;
    std::string html_;
    std::vector<std::size_t> notes_; // in the order of their marks
};

} // namespace

const std::string_view documentStyleSheet =
    "body{max-width:45em;margin:2em auto;padding:0 1em;font-family:sans-serif;line-height:1.5}\n"
    "img{max-width:100%}\n"
    "table{border-collapse:collapse}td,th{border:1px solid #999;padding:.25em "
    ".5em;vertical-align:top;text-align:left}\n"
    "pre{background:#f4f4f4;padding:.75em;overflow:auto}\n"
    "blockquote{margin-left:0;padding-left:1em;border-left:3px solid #ccc}\n"
    ".page-break{page-break-after:always}\n"
    ".note .number{float:left;margin:0 .5em 0 0}\n";

std::string htmlOf(const Blocks& blocks, const Document& document, const HtmlStyle& style)
{
    return HtmlWriter{document, style}.written(blocks);
}

std::string writtenHtml(const Document& document)
{
    const HtmlStyle style{.imageAddress = [&](std::size_t index) { return addressOf(document.images[index]); }};
    std::string html = "<!DOCTYPE html>\n<html";
    if (!document.language.empty())
        html += " lang=\"" + escaped(document.language) + "\"";
    html += ">\n<head>\n<meta charset=\"utf-8\" />\n<title>" + escaped(document.title) + "</title>\n";
    if (!document.author.empty())
        html += "<meta name=\"author\" content=\"" + escaped(document.author) + "\" />\n";
    html.append("<style>\n").append(documentStyleSheet).append("</style>\n</head>\n<body>\n");
    html += htmlOf(document.blocks, document, style);
    html += "</body>\n</html>\n";
    return html;
}

} // namespace nivex::document
