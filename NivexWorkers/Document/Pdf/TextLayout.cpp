#include "NivexWorkers/Document/Pdf/TextLayout.hpp"

namespace nivex::document {
namespace {

constexpr const char* family = "Liberation Sans, DejaVu Sans, Noto Sans, sans-serif";
constexpr const char* codeFamily = "Liberation Mono, DejaVu Sans Mono, monospace";
constexpr double raisedScale = 0.65;
constexpr double raise = 0.35; // of the size
constexpr std::uint16_t linkColor[] = {0x0500, 0x4000, 0xA000};

class Attributes {
public:
    Attributes() : list_{pango_attr_list_new()} {}
    Attributes(const Attributes&) = delete;
    Attributes& operator=(const Attributes&) = delete;
    ~Attributes() { pango_attr_list_unref(list_); }

    void add(PangoAttribute* attribute, std::size_t begin, std::size_t end)
    {
        attribute->start_index = static_cast<guint>(begin);
        attribute->end_index = static_cast<guint>(end);
        pango_attr_list_insert(list_, attribute);
    }
    PangoAttrList* list() const { return list_; }

private:
    PangoAttrList* list_;
};

void addStyles(Attributes& attributes, const Inline& piece, double size, std::size_t begin, std::size_t end)
{
    const auto has = [&](Style style) { return piece.styles.has(style); };
    if (has(Style::bold))
        attributes.add(pango_attr_weight_new(PANGO_WEIGHT_BOLD), begin, end);
    if (has(Style::italic))
        attributes.add(pango_attr_style_new(PANGO_STYLE_ITALIC), begin, end);
    if (has(Style::underline) || !piece.link.empty())
        attributes.add(pango_attr_underline_new(PANGO_UNDERLINE_SINGLE), begin, end);
    if (has(Style::strikethrough))
        attributes.add(pango_attr_strikethrough_new(true), begin, end);
    if (has(Style::code))
        attributes.add(pango_attr_family_new(codeFamily), begin, end);
    if (has(Style::superscript) || has(Style::subscript) || piece.kind == Inline::Kind::note) {
        const double direction = has(Style::subscript) ? -0.5 : 1;
        attributes.add(pango_attr_rise_new(static_cast<int>(direction * raise * size * PANGO_SCALE)), begin, end);
        attributes.add(pango_attr_scale_new(raisedScale), begin, end);
    }
    if (!piece.link.empty())
        attributes.add(pango_attr_foreground_new(linkColor[0], linkColor[1], linkColor[2]), begin, end);
}

PangoAlignment alignmentOf(Alignment alignment)
{
    return alignment == Alignment::center  ? PANGO_ALIGN_CENTER
           : alignment == Alignment::right ? PANGO_ALIGN_RIGHT
                                           : PANGO_ALIGN_LEFT;
}

} // namespace

double SetText::height() const
{
    PangoRectangle extents;
    pango_layout_get_extents(layout.get(), nullptr, &extents);
    return static_cast<double>(extents.height) / PANGO_SCALE;
}

SetText setText(cairo_t* context, const Inlines& inlines, const TextLooks& looks, double width)
{
    SetText result{.layout = Layout{pango_cairo_create_layout(context)}};
    PangoLayout* layout = result.layout.get();
    std::string text;
    Attributes attributes;
    for (const Inline& piece : inlines) {
        const std::size_t begin = text.size();
        if (piece.kind == Inline::Kind::text)
            text += piece.text;
        else if (piece.kind == Inline::Kind::lineBreak)
            text += "\u2028"; // a new line of the same paragraph
        else if (piece.kind == Inline::Kind::note)
            text += std::to_string(*piece.index + 1);
        else if (piece.kind == Inline::Kind::anchor)
            result.anchors.push_back(piece.source);
        addStyles(attributes, piece, looks.size, begin, text.size());
        if (!piece.link.empty() && text.size() > begin)
            result.links.push_back({begin, text.size(), piece.link});
    }
    const std::unique_ptr<PangoFontDescription, ReleaseWith<pango_font_description_free>> font{
        pango_font_description_new()};
    pango_font_description_set_family(font.get(), looks.isCode ? codeFamily : family);
    pango_font_description_set_absolute_size(font.get(), looks.size * PANGO_SCALE);
    if (looks.isBold)
        pango_font_description_set_weight(font.get(), PANGO_WEIGHT_BOLD);
    pango_layout_set_font_description(layout, font.get());
    pango_layout_set_text(layout, text.data(), static_cast<int>(text.size()));
    pango_layout_set_attributes(layout, attributes.list());
    if (width >= 0)
        pango_layout_set_width(layout, static_cast<int>(width * PANGO_SCALE));
    pango_layout_set_wrap(layout, PANGO_WRAP_WORD_CHAR);
    pango_layout_set_alignment(layout, alignmentOf(looks.alignment));
    pango_layout_set_justify(layout, looks.alignment == Alignment::justified);
    pango_layout_set_line_spacing(layout, looks.isCode ? 1.0F : 1.2F);
    result.lacksGlyphs = pango_layout_get_unknown_glyphs_count(layout) > 0;
    return result;
}

} // namespace nivex::document
