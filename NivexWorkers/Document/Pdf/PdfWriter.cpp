#include "NivexWorkers/Document/Pdf/PdfWriter.hpp"

#include "NivexWorkers/Document/Model/TableGrid.hpp"
#include "NivexWorkers/Document/Pdf/PdfPages.hpp"

#include "NivexKit/Foundation/Text/Unicode.hpp"

#include <algorithm>
#include <cstring>
#include <numeric>
#include <variant>

namespace nivex::document {
namespace {

constexpr double bodySize = 11;
constexpr double codeSize = 9.5;
constexpr double noteSize = 9;
constexpr double headingSizes[] = {20, 16, 13.5, 12, 11, 11};
constexpr double paragraphSpace = 7;
constexpr double indentWidth = 20;
constexpr double narrowest = 120; // what nesting leaves of a line at least
constexpr double cellPadding = 4;
constexpr double pointsOfPixel = 0.75;
constexpr std::int64_t mostPixels = 100'000'000; // of a picture

/// The names of all anchors.
std::set<std::string> anchorsIn(Document document)
{
    std::set<std::string> names;
    const auto visit = [&](Inlines& inlines) {
        for (const Inline& piece : inlines)
            if (piece.kind == Inline::Kind::anchor)
                names.insert(piece.source);
    };
    visitInlines(document.blocks, visit);
    return names;
}

/// A picture as the library takes it: a JPEG keeps its bytes. Null for other kinds and for what is damaged.
Surface surfaceOf(const Image& image)
{
    if (image.width <= 0 || image.height <= 0 || std::int64_t{image.width} * image.height > mostPixels)
        return nullptr;
    struct Rest {
        const std::string& bytes;
        std::size_t at = 0;
    } rest{image.bytes};
    const auto read = [](void* all, unsigned char* data, unsigned size) {
        Rest& left = *static_cast<Rest*>(all);
        if (left.bytes.size() - left.at < size)
            return CAIRO_STATUS_READ_ERROR;
        std::memcpy(data, left.bytes.data() + left.at, size);
        left.at += size;
        return CAIRO_STATUS_SUCCESS;
    };
    Surface surface;
    if (image.mediaType == "image/png") {
        surface.reset(cairo_image_surface_create_from_png_stream(read, &rest));
    } else if (image.mediaType == "image/jpeg") {
        // Nothing is decoded: the page holds the bytes themselves, and its pixels are never looked at.
        surface.reset(cairo_image_surface_create(CAIRO_FORMAT_A8, image.width, image.height));
        auto* copy = new std::string{image.bytes};
        const auto release = [](void* bytes) { delete static_cast<std::string*>(bytes); };
        if (cairo_surface_set_mime_data(surface.get(), CAIRO_MIME_TYPE_JPEG,
                                        reinterpret_cast<const unsigned char*>(copy->data()), copy->size(), release,
                                        copy) != CAIRO_STATUS_SUCCESS) {
            delete copy;
            return nullptr;
        }
    }
    return surface && cairo_surface_status(surface.get()) == CAIRO_STATUS_SUCCESS ? std::move(surface) : nullptr;
}

class PdfWriter {
public:
    PdfWriter(const Document& document, const Remark& remark)
        : document_{document}, remark_{remark}, pages_{anchorsIn(document)}
    {
    }

    std::string written()
    {
        pages_.describe(document_.title, document_.author);
        write(document_.blocks, 0);
        writeNotes();
        if (lacksGlyphs_)
            remark_(
                "Certains caractères n'ont pas pu être dessinés : aucune police de cette machine ne les contient."_fr);
        if (lacksImages_)
            remark_(
                "Certaines images n'ont pas pu être dessinées : leur texte de remplacement est écrit à leur place."_fr);
        return pages_.finish();
    }

private:
    void write(const Blocks& blocks, double indent)
    {
        for (const Block& block : blocks)
            std::visit([&](const auto& content) { write(content, indent); }, block.content);
    }

    SetText set(const Inlines& inlines, const TextLooks& looks, double width)
    {
        SetText text = setText(pages_.context(), inlines, looks, width);
        lacksGlyphs_ = lacksGlyphs_ || text.lacksGlyphs;
        return text;
    }

    static double widthBehind(double indent) { return std::max(narrowest, PdfPages::textWidth - indent); }
    static double xOf(double indent) { return PdfPages::margin + std::min(indent, PdfPages::textWidth - narrowest); }

    void write(const Paragraph& paragraph, double indent)
    {
        writeInlines(paragraph.inlines, {.size = size_, .alignment = paragraph.alignment}, indent, "P");
    }

    void write(const Heading& heading, double indent)
    {
        const double size = headingSizes[std::clamp(heading.level, 1, 6) - 1];
        pages_.leaveSpace(size * 0.6);
        pages_.require(size * 1.5 + 3 * bodySize); // never alone at the end of a page
        pages_.addOutline(heading.level, plainText(heading.inlines));
        const std::string role = "H" + std::to_string(heading.level);
        writeInlines(heading.inlines, {.size = size, .isBold = true, .alignment = heading.alignment}, indent,
                     role.c_str());
    }

    /// Pictures stand between the texts before and behind them.
    void writeInlines(const Inlines& inlines, const TextLooks& looks, double indent, const char* role)
    {
        auto begin = inlines.begin();
        while (begin != inlines.end()) {
            const auto image = std::ranges::find(begin, inlines.end(), Inline::Kind::image, &Inline::kind);
            if (image != begin)
                writeText(Inlines(begin, image), looks, indent, role);
            if (image == inlines.end())
                break;
            writeImage(*image, looks, indent);
            begin = image + 1;
        }
        pages_.leaveSpace(paragraphSpace);
    }

    void writeText(const Inlines& inlines, const TextLooks& looks, double indent, const char* role)
    {
        const SetText text = set(inlines, looks, widthBehind(indent));
        pages_.draw(text, xOf(indent), role);
    }

    void writeImage(const Inline& piece, const TextLooks& looks, double indent)
    {
        const Surface surface = piece.index ? surfaceOf(document_.images[*piece.index]) : nullptr;
        if (!surface) {
            lacksImages_ = true;
            if (!piece.text.empty())
                writeText({{.text = "[" + piece.text + "]"}}, looks, indent, "P");
            return;
        }
        const Image& image = document_.images[*piece.index];
        const double width = piece.width > 0 ? piece.width : image.width * pointsOfPixel;
        const double height = piece.height > 0 ? piece.height : image.height * pointsOfPixel;
        const double scale = std::min({1.0, widthBehind(indent) / width, PdfPages::textHeight / height});
        pages_.leaveSpace(2);
        pages_.drawImage(surface.get(), xOf(indent), width * scale, height * scale);
    }

    void write(const CodeBlock& code, double indent)
    {
        Inlines lines;
        std::string_view rest = code.text;
        while (true) {
            const std::size_t end = rest.find('\n');
            lines.push_back({.text = std::string{rest.substr(0, end)}});
            if (end == rest.npos)
                break;
            lines.push_back({.kind = Inline::Kind::lineBreak});
            rest.remove_prefix(end + 1);
        }
        const SetText text = set(lines, {.size = codeSize, .isCode = true}, widthBehind(indent) - 2 * cellPadding);
        cairo_t* context = pages_.context();
        pages_.draw(text, xOf(indent) + cellPadding, "Code", [&](double y, double height) {
            cairo_save(context);
            cairo_set_source_rgb(context, 0.95, 0.95, 0.95);
            cairo_rectangle(context, xOf(indent), y, widthBehind(indent), height + 0.3);
            cairo_fill(context);
            cairo_restore(context);
        });
        pages_.leaveSpace(paragraphSpace);
    }

    void write(const Quote& quote, double indent) { write(quote.blocks, indent + indentWidth); }

    void write(const List& list, double indent)
    {
        std::int64_t number = list.start;
        for (const ListItem& item : list.items) {
            std::string mark = list.isOrdered ? std::to_string(number++) + "." : "•";
            if (item.isChecked)
                mark = *item.isChecked ? "☒" : "☐";
            const SetText text = set({{.text = mark}}, {.size = size_}, -1);
            pages_.require(2 * text.height());
            const double y = pages_.y();
            pages_.draw(text, xOf(indent + indentWidth) - widthOf(text) - 6, "Lbl");
            if (item.blocks.empty())
                continue;
            pages_.moveTo(y);
            write(item.blocks, indent + indentWidth);
        }
    }

    static double widthOf(const SetText& text)
    {
        PangoRectangle extents;
        pango_layout_get_extents(text.layout.get(), nullptr, &extents);
        return static_cast<double>(extents.width) / PANGO_SCALE;
    }

    void write(const Rule&, double indent)
    {
        pages_.require(12);
        cairo_t* context = pages_.context();
        cairo_save(context);
        cairo_set_source_rgb(context, 0.6, 0.6, 0.6);
        cairo_set_line_width(context, 0.75);
        cairo_move_to(context, xOf(indent), pages_.y() + 4);
        cairo_rel_line_to(context, widthBehind(indent), 0);
        cairo_stroke(context);
        cairo_restore(context);
        pages_.moveDown(12);
    }

    void write(const PageBreak&, double)
    {
        if (!pages_.isAtTop())
            pages_.breakPage();
    }

    // --- Tables

    /// The content of a cell as one text, its blocks in lines of their own.
    static void flatten(const Blocks& blocks, Inlines& all)
    {
        for (const Block& block : blocks) {
            if (const auto* paragraph = std::get_if<Paragraph>(&block.content))
                append(all, paragraph->inlines);
            else if (const auto* heading = std::get_if<Heading>(&block.content))
                append(all, heading->inlines);
            else if (const auto* code = std::get_if<CodeBlock>(&block.content))
                append(all, {{.text = code->text}});
            else if (const auto* quote = std::get_if<Quote>(&block.content))
                flatten(quote->blocks, all);
            else if (const auto* list = std::get_if<List>(&block.content))
                for (const ListItem& item : list->items) {
                    append(all, {{.text = "• "}});
                    const std::size_t behind = all.size();
                    flatten(item.blocks, all);
                    if (behind < all.size() && all[behind].kind == Inline::Kind::lineBreak)
                        all.erase(all.begin() + static_cast<std::ptrdiff_t>(behind));
                }
            else if (const auto* table = std::get_if<Table>(&block.content))
                for (const TableRow& row : table->rows)
                    for (const TableCell& cell : row.cells)
                        flatten(cell.blocks, all);
        }
    }
    static void append(Inlines& all, const Inlines& more)
    {
        if (!all.empty())
            all.push_back({.kind = Inline::Kind::lineBreak});
        for (Inline piece : more) {
            if (piece.kind == Inline::Kind::image)
                piece = {.text = piece.text};
            all.push_back(std::move(piece));
        }
    }

    struct SetCell {
        SetText text;
        double x = 0;
        double width = 0;
        LayoutIterator line; // the next that is drawn; null when all are
        bool isHeader = false;
    };
    using SetRow = std::vector<SetCell>;

    void write(const Table& table, double indent)
    {
        const std::size_t columns = table.columnCount();
        if (columns == 0)
            return;
        if (!table.caption.empty())
            writeInlines(table.caption, {.size = size_}, indent, "Caption");
        const auto grid = gridOf(table);
        const std::vector<double> widths = columnWidths(grid, columns, widthBehind(indent));
        const bool hasHead = std::ranges::all_of(
            grid.front(), [](const TablePlace& place) { return place.cell && place.cell->isHeader; });
        for (std::size_t i = 0; i < grid.size(); ++i) {
            SetRow row = setRow(grid[i], widths, xOf(indent));
            if (heightOf(row) <= PdfPages::textHeight / 3)
                pages_.require(heightOf(row));
            drawRow(row);
            if (i == 0 && hasHead)
                pages_.onNewPage([this, &grid, &widths, indent] {
                    SetRow head = setRow(grid.front(), widths, xOf(indent));
                    if (heightOf(head) < PdfPages::textHeight / 3)
                        drawRow(head);
                });
        }
        pages_.onNewPage({});
        pages_.moveDown(paragraphSpace);
    }

    /// As wide as their words where all fit; else those that are narrower than their share leave the rest to the
    /// others.
    std::vector<double> columnWidths(const std::vector<std::vector<TablePlace>>& grid, std::size_t columns,
                                     double whole)
    {
        std::vector<double> natural(columns, 2 * cellPadding + 10);
        for (const auto& row : grid)
            for (const TablePlace& place : row)
                if (place.cell && place.isFirstRow && place.columns == 1) {
                    Inlines all;
                    flatten(place.cell->blocks, all);
                    const SetText text = set(all, {.size = size_, .isBold = place.cell->isHeader}, -1);
                    natural[place.column] = std::max(natural[place.column], widthOf(text) + 2 * cellPadding + 1);
                }
        const double sum = std::accumulate(natural.begin(), natural.end(), 0.0);
        if (sum <= whole)
            return natural;
        std::vector<double> sorted = natural;
        std::ranges::sort(sorted);
        double left = whole;
        double most = 0; // what a wide column gets
        for (std::size_t i = 0; i < columns; ++i) {
            most = left / static_cast<double>(columns - i);
            if (sorted[i] > most)
                break;
            left -= sorted[i];
        }
        for (double& each : natural)
            each = std::min(each, most);
        return natural;
    }

    SetRow setRow(const std::vector<TablePlace>& places, const std::vector<double>& widths, double x)
    {
        SetRow row;
        for (const TablePlace& place : places) {
            const auto first = widths.begin() + static_cast<std::ptrdiff_t>(place.column);
            const double width = std::accumulate(first, first + static_cast<std::ptrdiff_t>(place.columns), 0.0);
            SetCell cell{.x = x, .width = width, .isHeader = place.cell && place.cell->isHeader};
            if (place.cell && place.isFirstRow) {
                Inlines all;
                flatten(place.cell->blocks, all);
                cell.text =
                    set(all, {.size = size_, .isBold = place.cell->isHeader, .alignment = place.cell->alignment},
                        std::max(1.0, width - 2 * cellPadding));
                cell.line.reset(pango_layout_get_iter(cell.text.layout.get()));
            }
            row.push_back(std::move(cell));
            x += width;
        }
        return row;
    }

    static double heightOf(const SetRow& row)
    {
        double height = bodySize;
        for (const SetCell& cell : row)
            if (cell.text.layout)
                height = std::max(height, cell.text.height());
        return height + 2 * cellPadding;
    }

    /// As many lines of each cell as the page has room for, then the next page.
    void drawRow(SetRow& row)
    {
        bool isFirst = true;
        while (isFirst || std::ranges::any_of(row, [](const SetCell& cell) { return cell.line != nullptr; })) {
            if (!isFirst)
                pages_.breakPage();
            isFirst = false;
            const double room = std::max(pages_.left(), 4 * bodySize);
            double height = bodySize + 2 * cellPadding;
            for (SetCell& cell : row)
                height = std::max(height, drawLines(cell, room));
            for (const SetCell& cell : row)
                drawBorder(cell, height);
            pages_.moveDown(height);
        }
    }

    /// The height that they took.
    double drawLines(SetCell& cell, double room)
    {
        double height = cellPadding;
        cairo_tag_begin(pages_.context(), cell.isHeader ? "TH" : "TD", nullptr);
        pages_.placeAnchors(cell.text.anchors);
        while (cell.line) {
            int top = 0;
            int bottom = 0;
            pango_layout_iter_get_line_yrange(cell.line.get(), &top, &bottom);
            const double lineHeight = static_cast<double>(bottom - top) / PANGO_SCALE;
            if (height > cellPadding && height + lineHeight + cellPadding > room)
                break;
            PangoRectangle extents;
            pango_layout_iter_get_line_extents(cell.line.get(), nullptr, &extents);
            const double baseline =
                static_cast<double>(pango_layout_iter_get_baseline(cell.line.get()) - top) / PANGO_SCALE;
            pages_.drawLine(cell.text, pango_layout_iter_get_line_readonly(cell.line.get()), extents, baseline,
                            cell.x + cellPadding, pages_.y() + height);
            height += lineHeight;
            if (!pango_layout_iter_next_line(cell.line.get()))
                cell.line.reset();
        }
        cairo_tag_end(pages_.context(), cell.isHeader ? "TH" : "TD");
        return height + cellPadding;
    }

    void drawBorder(const SetCell& cell, double height)
    {
        cairo_t* context = pages_.context();
        cairo_save(context);
        cairo_set_source_rgb(context, 0.6, 0.6, 0.6);
        cairo_set_line_width(context, 0.5);
        cairo_rectangle(context, cell.x, pages_.y(), cell.width, height);
        cairo_stroke(context);
        cairo_restore(context);
    }

    void writeNotes()
    {
        if (document_.notes.empty())
            return;
        write(Rule{}, 0);
        size_ = noteSize;
        for (std::size_t i = 0; i < document_.notes.size(); ++i) {
            const SetText mark = set({{.text = std::to_string(i + 1)}}, {.size = noteSize}, -1);
            pages_.require(2 * mark.height());
            const double y = pages_.y();
            pages_.draw(mark, PdfPages::margin, "Note");
            if (document_.notes[i].empty())
                continue;
            pages_.moveTo(y);
            write(document_.notes[i], indentWidth);
        }
    }

    const Document& document_;
    const Remark& remark_;
    PdfPages pages_;
    double size_ = bodySize;
    bool lacksGlyphs_ = false;
    bool lacksImages_ = false;
};

} // namespace

std::string writtenPdf(const Document& document, const Remark& remark) { return PdfWriter{document, remark}.written(); }

} // namespace nivex::document
