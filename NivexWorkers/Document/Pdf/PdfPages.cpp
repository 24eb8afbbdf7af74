#include "NivexWorkers/Document/Pdf/PdfPages.hpp"

#include "NivexKit/Foundation/ConversionError.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"

#include <cairo-pdf.h>

#include <algorithm>

namespace nivex::document {
namespace {

double points(int pangoUnits) { return static_cast<double>(pangoUnits) / PANGO_SCALE; }

std::string hexadecimal(unsigned char byte)
{
    constexpr std::string_view digits = "0123456789ABCDEF";
    return {digits[byte >> 4], digits[byte & 15]};
}

/// An address between quotes in the attributes of a tag, in ASCII.
std::string quoted(std::string_view value)
{
    std::string result = "'";
    for (const char character : value)
        if (character == '\'')
            result += "%27";
        else if (character == '\\')
            result += "%5C";
        else if (static_cast<unsigned char>(character) > 0x7E)
            result += "%" + hexadecimal(static_cast<unsigned char>(character));
        else if (character > ' ')
            result += character;
    return result + "'";
}

} // namespace

PdfPages::PdfPages(std::set<std::string> anchors)
{
    const auto write = [](void* all, const unsigned char* data, unsigned size) {
        static_cast<std::string*>(all)->append(reinterpret_cast<const char*>(data), size);
        return CAIRO_STATUS_SUCCESS;
    };
    surface_.reset(cairo_pdf_surface_create_for_stream(write, &bytes_, width, height));
    context_.reset(cairo_create(surface_.get()));
    for (const std::string& name : anchors)
        anchors_.emplace(name, anchors_.size());
    check();
}

void PdfPages::describe(const std::string& title, const std::string& author)
{
    if (!title.empty())
        cairo_pdf_surface_set_metadata(surface_.get(), CAIRO_PDF_METADATA_TITLE, title.c_str());
    if (!author.empty())
        cairo_pdf_surface_set_metadata(surface_.get(), CAIRO_PDF_METADATA_AUTHOR, author.c_str());
}

void PdfPages::leaveSpace(double space)
{
    if (!isAtTop())
        y_ += space;
}

void PdfPages::require(double needed)
{
    if (left() < needed && !isAtTop())
        breakPage();
}

void PdfPages::breakPage()
{
    drawNumber();
    cairo_show_page(context());
    check();
    ++page_;
    y_ = margin;
    if (repeat_)
        repeat_();
}

void PdfPages::drawNumber()
{
    const SetText number =
        setText(context(), {{.text = std::to_string(page_)}}, {.size = 9, .alignment = Alignment::center}, textWidth);
    cairo_save(context());
    cairo_set_source_rgb(context(), 0.4, 0.4, 0.4);
    cairo_move_to(context(), margin, height - margin / 2 - number.height());
    pango_cairo_show_layout(context(), number.layout.get());
    cairo_restore(context());
}

void PdfPages::draw(const SetText& text, double x, const char* role, const std::function<void(double, double)>& behind)
{
    cairo_tag_begin(context(), role, nullptr);
    placeAnchors(text.anchors);
    const LayoutIterator line{pango_layout_get_iter(text.layout.get())};
    do {
        PangoRectangle extents;
        pango_layout_iter_get_line_extents(line.get(), nullptr, &extents);
        int top = 0;
        int bottom = 0;
        pango_layout_iter_get_line_yrange(line.get(), &top, &bottom);
        const double lineHeight = points(bottom - top);
        if (left() < lineHeight && !isAtTop()) {
            cairo_tag_end(context(), role); // what is marked lies on one page
            breakPage();
            cairo_tag_begin(context(), role, nullptr);
        }
        if (behind)
            behind(y_, lineHeight);
        const double baseline = points(pango_layout_iter_get_baseline(line.get()) - top);
        drawLine(text, pango_layout_iter_get_line_readonly(line.get()), extents, baseline, x, y_);
        y_ += lineHeight;
    } while (pango_layout_iter_next_line(line.get()));
    cairo_tag_end(context(), role);
    check();
}

void PdfPages::drawLine(const SetText& text, PangoLayoutLine* line, const PangoRectangle& extents, double baseline,
                        double x, double y)
{
    cairo_move_to(context(), x + points(extents.x), y + baseline);
    pango_cairo_show_layout_line(context(), line);
    const auto begin = static_cast<std::size_t>(line->start_index);
    const auto end = begin + static_cast<std::size_t>(line->length);
    for (const LinkedRange& range : text.links) {
        const std::size_t from = std::max(begin, range.begin);
        const std::size_t to = std::min(end, range.end);
        const std::string target =
            range.link.starts_with('#') ? destination(range.link.substr(1)) : "uri=" + quoted(range.link);
        if (from >= to || target.empty())
            continue;
        int* ranges = nullptr;
        int count = 0;
        pango_layout_line_get_x_ranges(line, static_cast<int>(from), static_cast<int>(to), &ranges, &count);
        for (int i = 0; i < count; ++i) {
            const double left = x + points(ranges[2 * i]);
            const double right = x + points(ranges[2 * i + 1]);
            const auto number = [](double value) { return std::to_string(static_cast<int>(value * 10) / 10.0); };
            const std::string place = " rect=[" + number(left) + " " + number(y) + " " + number(right - left) + " " +
                                      number(points(extents.height)) + "]";
            cairo_tag_begin(context(), CAIRO_TAG_LINK, (target + place).c_str());
            cairo_tag_end(context(), CAIRO_TAG_LINK);
        }
        g_free(ranges);
    }
}

void PdfPages::placeAnchors(const std::vector<std::string>& names)
{
    for (const std::string& name : names)
        if (const auto anchor = anchors_.find(name); anchor != anchors_.end() && placed_.insert(name).second) {
            const std::string attributes = "name='a" + std::to_string(anchor->second) +
                                           "' x=" + std::to_string(margin) + " y=" + std::to_string(y_);
            cairo_tag_begin(context(), CAIRO_TAG_DEST, attributes.c_str());
            cairo_tag_end(context(), CAIRO_TAG_DEST);
        }
}

std::string PdfPages::destination(const std::string& anchor) const
{
    const auto found = anchors_.find(anchor);
    return found == anchors_.end() ? std::string{} : "dest='a" + std::to_string(found->second) + "'";
}

void PdfPages::addOutline(int level, const std::string& title)
{
    while (!outline_.empty() && outline_.back().first >= level)
        outline_.pop_back();
    const int parent = outline_.empty() ? CAIRO_PDF_OUTLINE_ROOT : outline_.back().second;
    const std::string place = "page=" + std::to_string(page_) + " pos=[0 " + std::to_string(static_cast<int>(y_)) + "]";
    const int entry = cairo_pdf_surface_add_outline(surface_.get(), parent, title.c_str(), place.c_str(),
                                                    CAIRO_PDF_OUTLINE_FLAG_OPEN);
    outline_.push_back({level, entry});
}

void PdfPages::drawImage(cairo_surface_t* image, double x, double imageWidth, double imageHeight)
{
    require(imageHeight);
    const double pixelWidth = cairo_image_surface_get_width(image);
    const double pixelHeight = cairo_image_surface_get_height(image);
    cairo_save(context());
    cairo_translate(context(), x, y_);
    cairo_scale(context(), imageWidth / pixelWidth, imageHeight / pixelHeight);
    cairo_set_source_surface(context(), image, 0, 0);
    cairo_paint(context());
    cairo_restore(context());
    y_ += imageHeight;
    check();
}

std::string PdfPages::finish()
{
    for (const auto& [name, number] : anchors_) // a link to nothing would spoil the file
        placeAnchors({name});
    drawNumber();
    cairo_show_page(context());
    check();
    context_.reset();
    cairo_surface_finish(surface_.get());
    if (cairo_surface_status(surface_.get()) != CAIRO_STATUS_SUCCESS)
        throw ConversionError::encodingFailed("le fichier n'a pas pu être écrit"_fr)
            .because(cairo_status_to_string(cairo_surface_status(surface_.get())));
    return std::move(bytes_);
}

void PdfPages::check()
{
    const cairo_status_t status = context_ ? cairo_status(context_.get()) : cairo_surface_status(surface_.get());
    if (status != CAIRO_STATUS_SUCCESS)
        throw ConversionError::encodingFailed("le fichier n'a pas pu être écrit"_fr)
            .because(cairo_status_to_string(status));
}

} // namespace nivex::document
