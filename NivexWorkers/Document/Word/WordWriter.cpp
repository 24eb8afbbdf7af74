#include "NivexWorkers/Document/Word/WordWriter.hpp"

#include "NivexWorkers/Document/Html/Markup.hpp"
#include "NivexWorkers/Document/Model/Images.hpp"
#include "NivexWorkers/Document/Model/TableGrid.hpp"
#include "NivexWorkers/Document/Package/Package.hpp"
#include "NivexWorkers/Document/Word/WordParts.hpp"

#include "NivexKit/Archive/ZipArchive.hpp"

#include <algorithm>
#include <cmath>
#include <span>
#include <utility>
#include <variant>

namespace nivex::document {
namespace {

constexpr double textWidth = 451; // points between the margins of a page of A4
constexpr double textHeight = 690;
constexpr double emusOfPoint = 12'700;
constexpr double pointsOfPixel = 0.75;
constexpr int mostLevels = 9; // of a list (ECMA-376, 17.9.6)
constexpr std::string_view emptyParagraph = "<w:p/>";

/// The left edge of an item's text, in twentieths of a point.
int indentOf(int level) { return 720 + 360 * level; }

/// What a paragraph stands in; its own properties come on top.
struct Place {
    int list = 0;   // the number of the list whose item begins with the paragraph; 0 for none
    int level = -1; // of the list, 0…8; -1 outside of lists
    int quotes = 0;
    std::string_view mark = {}; // of a task that begins with the paragraph
};

class WordWriter {
public:
    explicit WordWriter(const Document& document) : document_{document} {}

    std::vector<std::byte> written()
    {
        write(document_.blocks, {});
        const std::string body = std::exchange(xml_, {});
        bodyRelations_ = std::exchange(relations_, {});
        writeNotes();
        ZipArchive::Writer archive{firstZipDay};
        const auto add = [&](const std::string& name, std::string_view contents) {
            archive.add(name, std::as_bytes(std::span{contents}), true);
        };
        add("[Content_Types].xml", contentTypes());
        add("_rels/.rels", packageRelations());
        add("docProps/core.xml", properties());
        add("word/document.xml", wholePart("document", "<w:body>" + body + sectionProperties() + "</w:body>"));
        add("word/styles.xml", styles());
        add("word/numbering.xml", numbering());
        add("word/footnotes.xml", wholePart("footnotes", xml_));
        add("word/_rels/document.xml.rels", relationsPart(bodyRelations_, true));
        add("word/_rels/footnotes.xml.rels", relationsPart(relations_, false));
        for (std::size_t i = 0; i < document_.images.size(); ++i)
            archive.add("word/" + imageName(i), std::as_bytes(std::span{document_.images[i].bytes}), false);
        return archive.finish();
    }

private:
    // --- Blocks

    void write(const Blocks& blocks, const Place& place)
    {
        Place next = place;
        for (const Block& block : blocks) {
            std::visit([&](const auto& content) { write(content, next); }, block.content);
            next.list = 0; // the mark stands before the first paragraph only
            next.mark = {};
        }
    }

    void write(const Paragraph& paragraph, const Place& place)
    {
        const std::string_view style = place.level >= 0 ? "ListParagraph" : place.quotes > 0 ? "Quote" : "";
        beginParagraph(style, paragraph.alignment, place);
        write(paragraph.inlines);
        xml_ += "</w:p>";
    }
    void write(const Heading& heading, const Place& place)
    {
        beginParagraph("Heading" + std::to_string(heading.level), heading.alignment, place);
        write(heading.inlines);
        xml_ += "</w:p>";
    }
    void write(const CodeBlock& code, const Place& place)
    {
        beginParagraph("HTMLPreformatted", Alignment::natural, place);
        xml_ += "<w:r>";
        std::string_view rest = code.text;
        while (true) {
            const std::size_t end = rest.find('\n');
            writeWords(rest.substr(0, end));
            if (end == rest.npos)
                break;
            xml_ += "<w:br/>";
            rest.remove_prefix(end + 1);
        }
        xml_ += "</w:r></w:p>";
    }
    void write(const Quote& quote, const Place& place)
    {
        Place inside = place;
        ++inside.quotes;
        write(quote.blocks, inside);
    }
    void write(const List& list, const Place& place)
    {
        Place item{.level = std::min(place.level + 1, mostLevels - 1), .quotes = place.quotes};
        lists_.push_back({list.isOrdered, list.start, item.level});
        const int number = static_cast<int>(lists_.size());
        for (const ListItem& each : list.items) {
            item.list = number;
            item.mark = !each.isChecked ? "" : *each.isChecked ? "☒ " : "☐ ";
            const bool beginsWithText =
                !each.blocks.empty() && (std::holds_alternative<Paragraph>(each.blocks.front().content) ||
                                         std::holds_alternative<Heading>(each.blocks.front().content));
            if (!beginsWithText) {
                write(Paragraph{}, item);
                item.list = 0;
                item.mark = {};
            }
            write(each.blocks, item);
        }
    }
    void write(const Table& table, const Place& place)
    {
        const std::size_t columns = table.columnCount();
        if (columns == 0)
            return;
        if (!table.caption.empty()) {
            beginParagraph("Caption", Alignment::natural, place);
            write(table.caption);
            xml_ += "</w:p>";
        }
        xml_ +=
            "<w:tbl><w:tblPr><w:tblStyle w:val=\"TableGrid\"/><w:tblW w:w=\"0\" w:type=\"auto\"/></w:tblPr><w:tblGrid>";
        const std::string width = std::to_string(std::lround(textWidth * 20 / static_cast<double>(columns)));
        for (std::size_t i = 0; i < columns; ++i)
            xml_ += "<w:gridCol w:w=\"" + width + "\"/>";
        xml_ += "</w:tblGrid>";
        for (const std::vector<TablePlace>& row : gridOf(table))
            writeRow(row);
        xml_ += "</w:tbl>";
        xml_ += emptyParagraph; // two tables that touch would be one
    }
    void writeRow(const std::vector<TablePlace>& row)
    {
        const bool isHeader =
            std::ranges::all_of(row, [](const TablePlace& place) { return place.cell && place.cell->isHeader; });
        xml_ += isHeader ? "<w:tr><w:trPr><w:tblHeader/></w:trPr>" : "<w:tr>";
        for (const TablePlace& place : row) {
            xml_ += "<w:tc><w:tcPr>";
            if (place.columns > 1)
                xml_ += "<w:gridSpan w:val=\"" + std::to_string(place.columns) + "\"/>";
            if (place.cell && place.cell->rows > 1)
                xml_ += place.isFirstRow ? "<w:vMerge w:val=\"restart\"/>" : "<w:vMerge/>";
            xml_ += "</w:tcPr>";
            const bool isFilled = place.cell && place.isFirstRow && !place.cell->blocks.empty();
            if (isFilled)
                writeCell(*place.cell);
            if (!isFilled)
                xml_ += emptyParagraph; // a cell ends with one
            xml_ += "</w:tc>";
        }
        xml_ += "</w:tr>";
    }
    void writeCell(const TableCell& cell)
    {
        cellAlignment_ = cell.alignment;
        const bool wasBold = std::exchange(isBold_, cell.isHeader);
        write(cell.blocks, {});
        isBold_ = wasBold;
        cellAlignment_ = Alignment::natural;
        if (!xml_.ends_with("</w:p>") && !xml_.ends_with(emptyParagraph))
            xml_ += emptyParagraph;
    }
    void write(const Rule&, const Place&)
    {
        xml_ += "<w:p><w:pPr><w:pBdr><w:bottom w:val=\"single\" w:sz=\"6\" w:space=\"1\" "
                "w:color=\"auto\"/></w:pBdr></w:pPr></w:p>";
    }
    void write(const PageBreak&, const Place&) { xml_ += "<w:p><w:r><w:br w:type=\"page\"/></w:r></w:p>"; }

    /// The properties stand in the order of the schema (ECMA-376, 17.3.1.26).
    void beginParagraph(std::string_view style, Alignment alignment, const Place& place)
    {
        xml_ += "<w:p><w:pPr>";
        if (!style.empty())
            xml_.append("<w:pStyle w:val=\"").append(style).append("\"/>");
        if (place.list > 0)
            xml_ += "<w:numPr><w:ilvl w:val=\"" + std::to_string(place.level) + "\"/><w:numId w:val=\"" +
                    std::to_string(place.list) + "\"/></w:numPr>";
        else if (const int indent = (place.level >= 0 ? indentOf(place.level) : 0) + 567 * place.quotes; indent > 0)
            xml_ += "<w:ind w:left=\"" + std::to_string(indent) + "\"/>";
        xml_ += alignmentMark(alignment == Alignment::natural ? cellAlignment_ : alignment);
        xml_ += "</w:pPr>";
        if (!place.mark.empty()) {
            xml_ += "<w:r>";
            writeWords(place.mark);
            xml_ += "</w:r>";
        }
    }
    static std::string_view alignmentMark(Alignment alignment)
    {
        switch (alignment) {
        case Alignment::natural:
            return "";
        case Alignment::left:
            return "<w:jc w:val=\"left\"/>";
        case Alignment::center:
            return "<w:jc w:val=\"center\"/>";
        case Alignment::right:
            return "<w:jc w:val=\"right\"/>";
        case Alignment::justified:
            return "<w:jc w:val=\"both\"/>";
        }
        return "";
    }

    // --- Inlines

    void write(const Inlines& inlines)
    {
        for (auto piece = inlines.begin(); piece != inlines.end();) {
            const std::string& link = piece->link;
            const auto end = std::find_if(piece, inlines.end(), [&](const Inline& each) { return each.link != link; });
            if (link.starts_with('#'))
                xml_ += "<w:hyperlink w:anchor=\"" + bookmarkName(link.substr(1)) + "\">";
            else if (!link.empty())
                xml_ += "<w:hyperlink r:id=\"" + relationTo(link) + "\">";
            for (; piece != end; ++piece)
                write(*piece);
            if (!link.empty())
                xml_ += "</w:hyperlink>";
        }
    }

    void write(const Inline& piece)
    {
        switch (piece.kind) {
        case Inline::Kind::text:
            xml_ += "<w:r>" + runProperties(piece);
            writeWords(piece.text);
            xml_ += "</w:r>";
            break;
        case Inline::Kind::lineBreak:
            xml_ += "<w:r><w:br/></w:r>";
            break;
        case Inline::Kind::image:
            writeImage(piece);
            break;
        case Inline::Kind::anchor: {
            const std::string number = std::to_string(++bookmarks_);
            xml_ += "<w:bookmarkStart w:id=\"" + number + "\" w:name=\"" + bookmarkName(piece.source) +
                    "\"/><w:bookmarkEnd w:id=\"" + number + "\"/>";
            break;
        }
        case Inline::Kind::note:
            // The first two numbers are those of the lines between text and notes.
            xml_ += "<w:r><w:rPr><w:rStyle w:val=\"FootnoteReference\"/></w:rPr><w:footnoteReference w:id=\"" +
                    std::to_string(*piece.index + 1) + "\"/></w:r>";
            break;
        }
    }

    /// In the order of the schema (ECMA-376, 17.3.2.28).
    std::string runProperties(const Inline& piece) const
    {
        std::string properties;
        if (!piece.link.empty())
            properties += "<w:rStyle w:val=\"Hyperlink\"/>";
        else if (piece.styles.has(Style::code))
            properties += "<w:rStyle w:val=\"HTMLCode\"/>";
        if (piece.styles.has(Style::bold) || isBold_)
            properties += "<w:b/>";
        if (piece.styles.has(Style::italic))
            properties += "<w:i/>";
        if (piece.styles.has(Style::strikethrough))
            properties += "<w:strike/>";
        if (piece.styles.has(Style::underline))
            properties += "<w:u w:val=\"single\"/>";
        if (piece.styles.has(Style::superscript))
            properties += "<w:vertAlign w:val=\"superscript\"/>";
        else if (piece.styles.has(Style::subscript))
            properties += "<w:vertAlign w:val=\"subscript\"/>";
        return properties.empty() ? properties : "<w:rPr>" + properties + "</w:rPr>";
    }

    void writeWords(std::string_view text)
    {
        while (true) {
            const std::size_t end = text.find_first_of("\t\n");
            if (end != 0 && !text.empty())
                xml_ += "<w:t xml:space=\"preserve\">" + escaped(text.substr(0, end)) + "</w:t>";
            if (end == text.npos)
                return;
            xml_ += text[end] == '\t' ? "<w:tab/>" : "<w:br/>";
            text.remove_prefix(end + 1);
        }
    }

    void writeImage(const Inline& piece)
    {
        if (!piece.index) { // the picture lies elsewhere: its words and where
            Inline words = piece;
            words.kind = Inline::Kind::text;
            words.text = piece.text.empty() ? piece.source : piece.text;
            return write(words);
        }
        const Image& image = document_.images[*piece.index];
        double width = piece.width > 0 ? piece.width : image.width * pointsOfPixel;
        double height = piece.height > 0 ? piece.height : image.height * pointsOfPixel;
        if (width <= 0 || height <= 0)
            width = height = 200;
        const double scale = std::min({1.0, textWidth / width, textHeight / height});
        const std::string cx = std::to_string(std::lround(width * scale * emusOfPoint));
        const std::string cy = std::to_string(std::lround(height * scale * emusOfPoint));
        const std::string number = std::to_string(++drawings_);
        const std::string words = escaped(piece.text);
        xml_ +=
            "<w:r><w:drawing><wp:inline distT=\"0\" distB=\"0\" distL=\"0\" distR=\"0\"><wp:extent cx=\"" + cx +
            "\" cy=\"" + cy + "\"/><wp:docPr id=\"" + number + "\" name=\"Image " + number + "\" descr=\"" + words +
            "\"/><a:graphic><a:graphicData uri=\"http://schemas.openxmlformats.org/drawingml/2006/picture\"><pic:pic>"
            "<pic:nvPicPr><pic:cNvPr id=\"" +
            number + "\" name=\"Image " + number +
            "\"/><pic:cNvPicPr/></pic:nvPicPr><pic:blipFill><a:blip r:embed=\"image" + std::to_string(*piece.index) +
            "\"/><a:stretch><a:fillRect/></a:stretch></pic:blipFill><pic:spPr><a:xfrm><a:off x=\"0\" y=\"0\"/><a:ext "
            "cx=\"" +
            cx + "\" cy=\"" + cy +
            "\"/></a:xfrm><a:prstGeom prst=\"rect\"><a:avLst/></a:prstGeom></pic:spPr></pic:pic></a:graphicData>"
            "</a:graphic></wp:inline></w:drawing></w:r>";
    }

    /// At most 40 characters, and none but letters, digits and "_" (ECMA-376, 17.13.6.2).
    static std::string bookmarkName(std::string_view anchor)
    {
        std::string name = "_";
        for (const char character : anchor)
            name += std::isalnum(static_cast<unsigned char>(character)) ? character : '_';
        return name.substr(0, 40);
    }

    std::string relationTo(const std::string& address)
    {
        const auto found = std::ranges::find(relations_, address);
        const auto index = static_cast<std::size_t>(found - relations_.begin());
        if (found == relations_.end())
            relations_.push_back(address);
        return "link" + std::to_string(index);
    }

    void writeNotes()
    {
        xml_ +=
            "<w:footnote w:type=\"separator\" w:id=\"-1\"><w:p><w:r><w:separator/></w:r></w:p></w:footnote>"
            "<w:footnote w:type=\"continuationSeparator\" w:id=\"0\"><w:p><w:r><w:continuationSeparator/></w:r></w:p>"
            "</w:footnote>";
        for (std::size_t i = 0; i < document_.notes.size(); ++i) {
            xml_ += "<w:footnote w:id=\"" + std::to_string(i + 1) +
                    "\"><w:p><w:pPr><w:pStyle w:val=\"FootnoteText\"/></w:pPr><w:r><w:rPr><w:rStyle "
                    "w:val=\"FootnoteReference\"/>"
                    "</w:rPr><w:footnoteRef/></w:r><w:r><w:t xml:space=\"preserve\"> </w:t></w:r>";
            const Blocks& blocks = document_.notes[i];
            const Paragraph* first = blocks.empty() ? nullptr : std::get_if<Paragraph>(&blocks.front().content);
            if (first)
                write(first->inlines);
            xml_ += "</w:p>";
            if (!blocks.empty())
                write(Blocks(blocks.begin() + (first ? 1 : 0), blocks.end()), {});
            xml_ += "</w:footnote>";
        }
    }

    // --- Parts

    static std::string wholePart(std::string_view name, const std::string& content)
    {
        std::string part{xmlHead};
        part.append("<w:").append(name).append(wordNamespaces).append(">") += content;
        return part.append("</w:").append(name).append(">");
    }

    static std::string sectionProperties()
    {
        return "<w:sectPr><w:pgSz w:w=\"11906\" w:h=\"16838\"/><w:pgMar w:top=\"1440\" w:right=\"1440\" "
               "w:bottom=\"1440\" "
               "w:left=\"1440\" w:header=\"708\" w:footer=\"708\" w:gutter=\"0\"/></w:sectPr>";
    }

    std::string imageName(std::size_t index) const
    {
        return "media/image" + std::to_string(index + 1) + "." +
               std::string{extensionOf(document_.images[index].mediaType)};
    }

    std::string contentTypes() const
    {
        std::string types{xmlHead};
        types +=
            "<Types xmlns=\"http://schemas.openxmlformats.org/package/2006/content-types\">"
            "<Default Extension=\"rels\" ContentType=\"application/vnd.openxmlformats-package.relationships+xml\"/>"
            "<Default Extension=\"xml\" ContentType=\"application/xml\"/>";
        std::vector<std::string_view> known;
        for (const Image& image : document_.images)
            if (const std::string_view extension = extensionOf(image.mediaType);
                std::ranges::find(known, extension) == known.end()) {
                known.push_back(extension);
                types.append("<Default Extension=\"").append(extension).append("\" ContentType=\"") +=
                    image.mediaType + "\"/>";
            }
        constexpr std::string_view kind = "application/vnd.openxmlformats-officedocument.wordprocessingml.";
        for (const auto& [part, type] : {std::pair{"document", "document.main"},
                                         {"styles", "styles"},
                                         {"numbering", "numbering"},
                                         {"footnotes", "footnotes"}})
            types.append("<Override PartName=\"/word/")
                .append(part)
                .append(".xml\" ContentType=\"")
                .append(kind)
                .append(type)
                .append("+xml\"/>");
        return types + "<Override PartName=\"/docProps/core.xml\" "
                       "ContentType=\"application/vnd.openxmlformats-package.core-properties+xml\"/></Types>";
    }

    static std::string packageRelations()
    {
        return std::string{xmlHead} +
               "<Relationships xmlns=\"http://schemas.openxmlformats.org/package/2006/relationships\"><Relationship "
               "Id=\"rId1\" "
               "Type=\"http://schemas.openxmlformats.org/officeDocument/2006/relationships/officeDocument\" "
               "Target=\"word/document.xml\"/><Relationship Id=\"rId2\" "
               "Type=\"http://schemas.openxmlformats.org/package/2006/relationships/metadata/core-properties\" "
               "Target=\"docProps/core.xml\"/></Relationships>";
    }

    std::string relationsPart(const std::vector<std::string>& links, bool isMain) const
    {
        constexpr std::string_view kind = "http://schemas.openxmlformats.org/officeDocument/2006/relationships/";
        std::string part{xmlHead};
        part += "<Relationships xmlns=\"http://schemas.openxmlformats.org/package/2006/relationships\">";
        const auto add = [&](const std::string& id, std::string_view type, const std::string& target, bool isExternal) {
            part += "<Relationship Id=\"" + id + "\" Type=\"";
            part.append(kind).append(type) +=
                "\" Target=\"" + escaped(target) + (isExternal ? "\" TargetMode=\"External\"/>" : "\"/>");
        };
        if (isMain)
            for (const char* each : {"styles", "numbering", "footnotes"})
                add(each, each, std::string{each} + ".xml", false);
        for (std::size_t i = 0; i < document_.images.size(); ++i)
            add("image" + std::to_string(i), "image", imageName(i), false);
        for (std::size_t i = 0; i < links.size(); ++i)
            add("link" + std::to_string(i), "hyperlink", links[i], true);
        return part + "</Relationships>";
    }

    std::string properties() const
    {
        return std::string{xmlHead} +
               "<cp:coreProperties "
               "xmlns:cp=\"http://schemas.openxmlformats.org/package/2006/metadata/core-properties\" "
               "xmlns:dc=\"http://purl.org/dc/elements/1.1/\"><dc:title>" +
               escaped(document_.title) + "</dc:title><dc:creator>" + escaped(document_.author) +
               "</dc:creator></cp:coreProperties>";
    }

    std::string styles() const
    {
        std::string part{wordStyles};
        constexpr std::string_view mark = "@LANGUAGE@";
        part.replace(part.find(mark), mark.size(), document_.language.empty() ? "fr-FR" : escaped(document_.language));
        return part;
    }

    /// Two kinds of marks, and a list of its own for each of the document's, whose numbers begin anew.
    std::string numbering() const
    {
        std::string part{xmlHead};
        part.append("<w:numbering").append(wordNamespaces) += ">";
        for (const bool isOrdered : {false, true}) {
            part += std::string{"<w:abstractNum w:abstractNumId=\""} + (isOrdered ? "1" : "0") +
                    "\"><w:multiLevelType w:val=\"hybridMultilevel\"/>";
            for (int level = 0; level < mostLevels; ++level) {
                constexpr const char* bullets[] = {"•", "◦", "▪"};
                const std::string mark = isOrdered ? "%" + std::to_string(level + 1) + "." : bullets[level % 3];
                part += "<w:lvl w:ilvl=\"" + std::to_string(level) + "\"><w:start w:val=\"1\"/><w:numFmt w:val=\"" +
                        (isOrdered ? "decimal" : "bullet") + "\"/><w:lvlText w:val=\"" + mark +
                        "\"/><w:lvlJc w:val=\"left\"/><w:pPr><w:ind w:left=\"" + std::to_string(indentOf(level)) +
                        "\" w:hanging=\"360\"/></w:pPr></w:lvl>";
            }
            part += "</w:abstractNum>";
        }
        for (std::size_t i = 0; i < lists_.size(); ++i) {
            part += "<w:num w:numId=\"" + std::to_string(i + 1) + "\"><w:abstractNumId w:val=\"" +
                    (lists_[i].isOrdered ? "1" : "0") + "\"/>";
            if (lists_[i].isOrdered)
                part += "<w:lvlOverride w:ilvl=\"" + std::to_string(lists_[i].level) + "\"><w:startOverride w:val=\"" +
                        std::to_string(std::max<std::int64_t>(0, lists_[i].start)) + "\"/></w:lvlOverride>";
            part += "</w:num>";
        }
        return part + "</w:numbering>";
    }

    struct WrittenList {
        bool isOrdered;
        std::int64_t start;
        int level;
    };

    const Document& document_;
    std::string xml_;
    std::vector<WrittenList> lists_;
    std::vector<std::string> relations_; // the addresses that the part at work leads to
    std::vector<std::string> bodyRelations_;
    Alignment cellAlignment_ = Alignment::natural;
    bool isBold_ = false;
    int bookmarks_ = 0;
    int drawings_ = 0;
};

} // namespace

std::vector<std::byte> writtenWord(const Document& document) { return WordWriter{document}.written(); }

} // namespace nivex::document
