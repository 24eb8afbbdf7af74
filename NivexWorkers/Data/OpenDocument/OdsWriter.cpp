#include "NivexWorkers/Data/OpenDocument/OdsWriter.hpp"

#include "NivexWorkers/Data/Workbook/SpreadsheetWriter.hpp"
#include "NivexWorkers/Data/Xml/XmlEscape.hpp"

namespace nivex::data {
namespace {

// clang-format off
constexpr std::string_view mimeType = "application/vnd.oasis.opendocument.spreadsheet";
constexpr std::string_view declaration = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";

constexpr std::string_view namespaces =
    " xmlns:office=\"urn:oasis:names:tc:opendocument:xmlns:office:1.0\""
    " xmlns:style=\"urn:oasis:names:tc:opendocument:xmlns:style:1.0\""
    " xmlns:text=\"urn:oasis:names:tc:opendocument:xmlns:text:1.0\""
    " xmlns:table=\"urn:oasis:names:tc:opendocument:xmlns:table:1.0\""
    " xmlns:fo=\"urn:oasis:names:tc:opendocument:xmlns:xsl-fo-compatible:1.0\""
    " xmlns:number=\"urn:oasis:names:tc:opendocument:xmlns:datastyle:1.0\""
    " xmlns:config=\"urn:oasis:names:tc:opendocument:xmlns:config:1.0\""
    " xmlns:ooo=\"http://openoffice.org/2004/office\""
    " office:version=\"1.3\"";

constexpr std::string_view manifest =
    "<manifest:manifest xmlns:manifest=\"urn:oasis:names:tc:opendocument:xmlns:manifest:1.0\" manifest:version=\"1.3\">"
    "<manifest:file-entry manifest:full-path=\"/\" manifest:version=\"1.3\" manifest:media-type=\"application/vnd.oasis.opendocument.spreadsheet\"/>"
    "<manifest:file-entry manifest:full-path=\"content.xml\" manifest:media-type=\"text/xml\"/>"
    "<manifest:file-entry manifest:full-path=\"styles.xml\" manifest:media-type=\"text/xml\"/>"
    "<manifest:file-entry manifest:full-path=\"settings.xml\" manifest:media-type=\"text/xml\"/>"
    "</manifest:manifest>";

constexpr std::string_view dateStyles =
    "<number:date-style style:name=\"D\"><number:year number:style=\"long\"/><number:text>-</number:text><number:month number:style=\"long\"/>"
    "<number:text>-</number:text><number:day number:style=\"long\"/></number:date-style>"
    "<number:date-style style:name=\"M\"><number:year number:style=\"long\"/><number:text>-</number:text><number:month number:style=\"long\"/>"
    "<number:text>-</number:text><number:day number:style=\"long\"/><number:text> </number:text><number:hours number:style=\"long\"/>"
    "<number:text>:</number:text><number:minutes number:style=\"long\"/><number:text>:</number:text><number:seconds number:style=\"long\"/></number:date-style>"
    "<number:time-style style:name=\"T\"><number:hours number:style=\"long\"/><number:text>:</number:text><number:minutes number:style=\"long\"/>"
    "<number:text>:</number:text><number:seconds number:style=\"long\"/></number:time-style>"
    "<number:boolean-style style:name=\"B\"><number:boolean/></number:boolean-style>"
    "<style:style style:name=\"day\" style:family=\"table-cell\" style:parent-style-name=\"Default\" style:data-style-name=\"D\"/>"
    "<style:style style:name=\"moment\" style:family=\"table-cell\" style:parent-style-name=\"Default\" style:data-style-name=\"M\"/>"
    "<style:style style:name=\"time\" style:family=\"table-cell\" style:parent-style-name=\"Default\" style:data-style-name=\"T\"/>"
    "<style:style style:name=\"boolean\" style:family=\"table-cell\" style:parent-style-name=\"Default\" style:data-style-name=\"B\"/>"
    "<style:style style:name=\"names\" style:family=\"table-cell\" style:parent-style-name=\"Default\"><style:text-properties fo:font-weight=\"bold\"/></style:style>";
// clang-format on

std::string item(std::string_view name, std::string_view type, std::string_view value)
{
    std::string xml = "<config:config-item config:name=\"";
    ((((xml += name) += "\" config:type=\"") += type) += "\">") += value;
    return xml += "</config:config-item>";
}

/// The width of a column for so many characters, in hundredths of a centimetre.
std::string columnWidthText(std::size_t characters)
{
    const std::size_t hundredths = characters * 20;
    const std::string decimals = std::to_string(100 + hundredths % 100);
    return std::to_string(hundredths / 100) + "." + decimals.substr(1) + "cm";
}

class OdsWriter final : public SpreadsheetWriter {
public:
    explicit OdsWriter(Output& output) : SpreadsheetWriter{output}
    {
        archive_.addStored("mimetype", mimeType);
        archive_.begin("content.xml");
        std::string top{declaration};
        (top += "<office:document-content") += namespaces;
        (top += "><office:automatic-styles>") += dateStyles;
        for (std::size_t width = narrowest; width <= widest; ++width)
            top += "<style:style style:name=\"w" + std::to_string(width) +
                   "\" style:family=\"table-column\"><style:table-column-properties style:column-width=\"" +
                   columnWidthText(width) + "\"/></style:style>";
        top += "</office:automatic-styles><office:body><office:spreadsheet>";
        archive_.write(top);
    }

    void finish() override
    {
        archive_.write("</office:spreadsheet></office:body></office:document-content>");
        archive_.end();
        const auto document = [this](std::string_view name, std::string_view element, std::string_view content) {
            std::string xml{declaration};
            (((xml += "<office:") += element) += namespaces) += ">";
            ((xml += content) += "</office:") += element;
            archive_.add(name, xml += ">");
        };
        document("styles.xml", "document-styles",
                 "<office:styles><style:style style:name=\"Default\" style:family=\"table-cell\"/></office:styles>");
        document("settings.xml", "document-settings", settings());
        archive_.add("META-INF/manifest.xml", std::string{declaration} + std::string{manifest});
        archive_.finish();
    }

private:
    /// Keeps the names of the columns in view.
    std::string settings() const
    {
        return "<office:settings><config:config-item-set config:name=\"ooo:view-settings\">"
               "<config:config-item-map-indexed config:name=\"Views\"><config:config-item-map-entry>" +
               item("ViewId", "string", "view1") + "<config:config-item-map-named config:name=\"Tables\">" + frozen_ +
               "</config:config-item-map-named></config:config-item-map-entry></config:config-item-map-indexed>"
               "</config:config-item-set></office:settings>";
    }

    void openSheet() override {}

    std::string sheetTop() override
    {
        const std::string name = escapedXml(sheetNames().back(), output_.remarks(), true);
        if (hasHeader())
            frozen_ += "<config:config-item-map-entry config:name=\"" + name + "\">" +
                       item("HorizontalSplitMode", "short", "2") + item("VerticalSplitMode", "short", "2") +
                       item("HorizontalSplitPosition", "int", "0") + item("VerticalSplitPosition", "int", "1") +
                       item("ActiveSplitRange", "short", "2") + item("PositionLeft", "int", "0") +
                       item("PositionRight", "int", "0") + item("PositionTop", "int", "0") +
                       item("PositionBottom", "int", "1") + "</config:config-item-map-entry>";
        std::string top = "<table:table table:name=\"" + name + "\">";
        for (std::size_t i = 0; i < columnCount(); ++i)
            top += "<table:table-column table:style-name=\"w" + std::to_string(columnWidth(i)) + "\"/>";
        if (columnCount() == 0)
            top += "<table:table-column/>";
        return top;
    }

    std::string_view sheetEnd() override { return rowNumber() > 0 ? "</table:table>" : emptyRowAndEnd; }

    void openRow(std::size_t cells) override
    {
        xml_ += "<table:table-row>";
        if (cells == 0)
            xml_ += "<table:table-cell/>";
        gap_ = 0;
    }

    std::string_view rowEnd() override
    {
        closeGap();
        return "</table:table-row>";
    }

    void emptyCell() override { ++gap_; }

    void closeGap()
    {
        if (gap_ == 1)
            xml_ += "<table:table-cell/>";
        else if (gap_ > 1)
            xml_ += "<table:table-cell table:number-columns-repeated=\"" + std::to_string(gap_) + "\"/>";
        gap_ = 0;
    }

    /// A cell with an attribute that holds its value, which it shows as `shown`.
    void cell(std::string_view attributes, std::string_view value, std::string_view shown)
    {
        closeGap();
        ((((xml_ += "<table:table-cell") += attributes) += value) += "\"><text:p>") += shown;
        xml_ += "</text:p></table:table-cell>";
    }

    void numberCell(std::size_t, std::string_view number) override
    {
        cell(" office:value-type=\"float\" office:value=\"", number, number);
    }

    void booleanCell(std::size_t, bool value) override
    {
        cell(" table:style-name=\"boolean\" office:value-type=\"boolean\" office:boolean-value=\"",
             value ? "true" : "false", value ? "TRUE" : "FALSE");
    }

    void dateCell(std::size_t, std::string_view text, const CountedDate& date) override
    {
        std::string value{text};
        if (date.parts == DateParts::time) {
            value = "PT" + value.substr(0, 2) + "H" + value.substr(3, 2) + "M" + value.substr(6) + "S";
            cell(" table:style-name=\"time\" office:value-type=\"time\" office:time-value=\"", value, text);
            return;
        }
        const bool isMoment = date.parts == DateParts::moment;
        if (isMoment)
            value[10] = 'T';
        cell(isMoment ? " table:style-name=\"moment\" office:value-type=\"date\" office:date-value=\""
                      : " table:style-name=\"day\" office:value-type=\"date\" office:date-value=\"",
             value, text);
    }

    void textCell(std::size_t, std::string_view text, bool isHeader) override
    {
        closeGap();
        xml_ += isHeader ? "<table:table-cell table:style-name=\"names\" office:value-type=\"string\">"
                         : "<table:table-cell office:value-type=\"string\">";
        while (true) {
            const std::size_t end = std::min(text.find('\n'), text.size());
            xml_ += "<text:p>";
            paragraph(text.substr(0, end));
            xml_ += "</text:p>";
            if (end == text.size())
                break;
            text.remove_prefix(end + 1);
        }
        xml_ += "</table:table-cell>";
    }

    /// White space that readers would drop is said in elements.
    void paragraph(std::string_view text)
    {
        while (!text.empty()) {
            const std::size_t plain = std::min(text.find_first_of(" \t"), text.size());
            xml_ += escapedXml(text.substr(0, plain), output_.remarks());
            text.remove_prefix(plain);
            if (text.starts_with('\t')) {
                xml_ += "<text:tab/>";
                text.remove_prefix(1);
            } else if (!text.empty()) {
                const std::size_t spaces = std::min(text.find_first_not_of(' '), text.size());
                const bool isSingle = spaces == 1 && plain > 0 && text.size() > 1 && text[1] != '\t';
                xml_ += isSingle ? " " : "<text:s text:c=\"" + std::to_string(spaces) + "\"/>";
                text.remove_prefix(spaces);
            }
        }
    }

    static constexpr std::string_view emptyRowAndEnd =
        "<table:table-row><table:table-cell/></table:table-row></table:table>";

    std::string frozen_;  // what the settings say of sheets with names of columns
    std::size_t gap_ = 0; // empty cells that wait for one that is not
};

} // namespace

std::unique_ptr<TableEvents> odsWriter(Output& output) { return std::make_unique<OdsWriter>(output); }

} // namespace nivex::data
