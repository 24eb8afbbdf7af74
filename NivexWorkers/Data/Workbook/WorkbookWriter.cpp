#include "NivexWorkers/Data/Workbook/WorkbookWriter.hpp"

#include "NivexWorkers/Data/Model/Numbers.hpp"
#include "NivexWorkers/Data/Workbook/SpreadsheetWriter.hpp"

#include "NivexKit/Foundation/Text/Ascii.hpp"

#include <algorithm>
#include <array>
#include <string>
#include <vector>

namespace nivex::data {
namespace {

// clang-format off
constexpr std::string_view declaration = "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n";
constexpr std::string_view mainNamespace = "http://schemas.openxmlformats.org/spreadsheetml/2006/main";

constexpr std::string_view contentTypes =
    "<Types xmlns=\"http://schemas.openxmlformats.org/package/2006/content-types\">"
    "<Default Extension=\"rels\" ContentType=\"application/vnd.openxmlformats-package.relationships+xml\"/>"
    // Every other XML part is a sheet, so that their number need not be known at the beginning.
    "<Default Extension=\"xml\" ContentType=\"application/vnd.openxmlformats-officedocument.spreadsheetml.worksheet+xml\"/>"
    "<Override PartName=\"/xl/workbook.xml\" ContentType=\"application/vnd.openxmlformats-officedocument.spreadsheetml.sheet.main+xml\"/>"
    "<Override PartName=\"/xl/styles.xml\" ContentType=\"application/vnd.openxmlformats-officedocument.spreadsheetml.styles+xml\"/>"
    "</Types>";

constexpr std::string_view packageRelations =
    "<Relationships xmlns=\"http://schemas.openxmlformats.org/package/2006/relationships\">"
    "<Relationship Id=\"rId1\" Type=\"http://schemas.openxmlformats.org/officeDocument/2006/relationships/officeDocument\" Target=\"xl/workbook.xml\"/>"
    "</Relationships>";

constexpr std::string_view styles =
    "<styleSheet xmlns=\"http://schemas.openxmlformats.org/spreadsheetml/2006/main\">"
    "<numFmts count=\"3\"><numFmt numFmtId=\"164\" formatCode=\"yyyy\\-mm\\-dd\"/>"
    "<numFmt numFmtId=\"165\" formatCode=\"yyyy\\-mm\\-dd\\ hh:mm:ss\"/><numFmt numFmtId=\"166\" formatCode=\"hh:mm:ss\"/></numFmts>"
    "<fonts count=\"2\"><font><sz val=\"11\"/><name val=\"Calibri\"/><family val=\"2\"/></font>"
    "<font><b/><sz val=\"11\"/><name val=\"Calibri\"/><family val=\"2\"/></font></fonts>"
    "<fills count=\"2\"><fill><patternFill patternType=\"none\"/></fill><fill><patternFill patternType=\"gray125\"/></fill></fills>"
    "<borders count=\"1\"><border><left/><right/><top/><bottom/><diagonal/></border></borders>"
    "<cellStyleXfs count=\"1\"><xf numFmtId=\"0\" fontId=\"0\" fillId=\"0\" borderId=\"0\"/></cellStyleXfs>"
    "<cellXfs count=\"5\"><xf numFmtId=\"0\" fontId=\"0\" fillId=\"0\" borderId=\"0\" xfId=\"0\"/>"
    "<xf numFmtId=\"164\" fontId=\"0\" fillId=\"0\" borderId=\"0\" xfId=\"0\" applyNumberFormat=\"1\"/>"
    "<xf numFmtId=\"165\" fontId=\"0\" fillId=\"0\" borderId=\"0\" xfId=\"0\" applyNumberFormat=\"1\"/>"
    "<xf numFmtId=\"166\" fontId=\"0\" fillId=\"0\" borderId=\"0\" xfId=\"0\" applyNumberFormat=\"1\"/>"
    "<xf numFmtId=\"0\" fontId=\"1\" fillId=\"0\" borderId=\"0\" xfId=\"0\" applyFont=\"1\"/></cellXfs>"
    "<cellStyles count=\"1\"><cellStyle name=\"Normal\" xfId=\"0\" builtinId=\"0\"/></cellStyles>"
    "</styleSheet>";
// clang-format on

constexpr char headerStyle = '4';
char styleOf(DateParts parts) { return parts == DateParts::day ? '1' : parts == DateParts::moment ? '2' : '3'; }

std::string columnName(std::size_t column)
{
    std::string name;
    for (std::size_t left = column + 1; left > 0; left = (left - 1) / 26)
        name.insert(name.begin(), static_cast<char>('A' + (left - 1) % 26));
    return name;
}

/// How many of the characters at `at` spell "_x000D_", which readers would take for what it stands for.
bool looksEscaped(std::string_view text, std::size_t at)
{
    if (text.size() - at < 7 || text[at + 1] != 'x' || text[at + 6] != '_')
        return false;
    return std::ranges::all_of(text.substr(at + 2, 4), [](char each) {
        const char low = asciiLowercased(each);
        return isAsciiDigit(each) || (low >= 'a' && low <= 'f');
    });
}

void appendEscaped(std::string& xml, std::string_view text)
{
    constexpr std::string_view digits = "0123456789ABCDEF";
    for (std::size_t at = 0; at < text.size(); ++at) {
        const char each = text[at];
        const auto byte = static_cast<unsigned char>(each);
        if (each == '&')
            xml += "&amp;";
        else if (each == '<')
            xml += "&lt;";
        else if (each == '>')
            xml += "&gt;";
        else if (each == '"')
            xml += "&quot;";
        else if (each == '_' && looksEscaped(text, at))
            xml += "_x005F_";
        else if (byte < 0x20 && each != '\n' && each != '\t') {
            xml += "_x00";
            xml += digits[byte >> 4];
            xml += digits[byte & 15];
            xml += '_';
        } else if (byte == 0xEF && (text.substr(at).starts_with("\uFFFE") || text.substr(at).starts_with("\uFFFF"))) {
            xml += text[at + 2] == '\xBE' ? "_xFFFE_" : "_xFFFF_"; // no characters of XML
            at += 2;
        } else {
            xml += each;
        }
    }
}

bool isPlain(char each)
{
    const auto byte = static_cast<unsigned char>(each);
    return byte >= 0x20 && byte != 0xEF && each != '&' && each != '<' && each != '>' && each != '"' && each != '_';
}

class WorkbookWriter final : public SpreadsheetWriter {
public:
    explicit WorkbookWriter(Output& output) : SpreadsheetWriter{output}
    {
        archive_.add("[Content_Types].xml", std::string{declaration} + std::string{contentTypes});
        archive_.add("_rels/.rels", std::string{declaration} + std::string{packageRelations});
    }

    void finish() override
    {
        std::string sheets;
        std::string relations;
        const std::string type = "http://schemas.openxmlformats.org/officeDocument/2006/relationships/";
        const auto relate = [&](const std::string& id, const std::string& kind, const std::string& target) {
            relations += "<Relationship Id=\"" + id + "\" Type=\"" + type + kind + "\" Target=\"" + target + "\"/>";
        };
        for (std::size_t i = 1; i <= sheetNames().size(); ++i) {
            const std::string number = std::to_string(i);
            sheets += "<sheet name=\"";
            appendEscaped(sheets, sheetNames()[i - 1]);
            sheets += "\" sheetId=\"" + number + "\" r:id=\"rId" + number + "\"/>";
            relate("rId" + number, "worksheet", "worksheets/sheet" + number + ".xml");
        }
        relate("rId" + std::to_string(sheetNames().size() + 1), "styles", "styles.xml");
        archive_.add("xl/workbook.xml", std::string{declaration} + "<workbook xmlns=\"" + std::string{mainNamespace} +
                                            "\" xmlns:r=\"" + type.substr(0, type.size() - 1) +
                                            "\"><bookViews><workbookView/></bookViews><sheets>" + sheets +
                                            "</sheets></workbook>");
        archive_.add("xl/_rels/workbook.xml.rels",
                     std::string{declaration} +
                         "<Relationships xmlns=\"http://schemas.openxmlformats.org/package/2006/relationships\">" +
                         relations + "</Relationships>");
        archive_.add("xl/styles.xml", std::string{declaration} + std::string{styles});
        archive_.finish();
    }

private:
    void openSheet() override { archive_.begin("xl/worksheets/sheet" + std::to_string(sheetNames().size()) + ".xml"); }

    std::string sheetTop() override
    {
        std::string top{declaration};
        top += "<worksheet xmlns=\"";
        top += mainNamespace;
        top += "\"><sheetViews><sheetView workbookViewId=\"0\"";
        if (sheetNames().size() == 1)
            top += " tabSelected=\"1\"";
        top += hasHeader() ? "><pane ySplit=\"1\" topLeftCell=\"A2\" activePane=\"bottomLeft\" "
                             "state=\"frozen\"/><selection pane=\"bottomLeft\"/></sheetView>"
                           : "/>";
        top += "</sheetViews>";
        if (columnCount() > 0)
            top += "<cols>";
        for (std::size_t i = 0; i < columnCount(); ++i) {
            const std::string number = std::to_string(i + 1);
            top += "<col min=\"" + number + "\" max=\"" + number + "\" width=\"" + std::to_string(columnWidth(i)) +
                   "\" customWidth=\"1\"/>";
        }
        if (columnCount() > 0)
            top += "</cols>";
        return top += "<sheetData>";
    }

    std::string_view sheetEnd() override { return "</sheetData></worksheet>"; }
    void closeSheet() override { archive_.end(); }

    void openRow(std::size_t cells) override
    {
        while (columns_.size() < cells)
            columns_.push_back("<c r=\"" + columnName(columns_.size()));
        rowNumber_ = std::to_string(rowNumber());
        xml_ += "<row r=\"";
        xml_ += rowNumber_;
        xml_ += "\">";
    }

    std::string_view rowEnd() override { return "</row>"; }

    void beginCell(std::size_t column, char style = '\0')
    {
        xml_ += columns_[column];
        xml_ += rowNumber_;
        if (style != '\0') {
            xml_ += "\" s=\"";
            xml_ += style;
        }
    }

    void value(std::size_t column, std::string_view value, std::string_view attributes, char style = '\0')
    {
        beginCell(column, style);
        xml_ += attributes;
        xml_ += value;
        xml_ += "</v></c>";
    }

    void numberCell(std::size_t column, std::string_view number) override { value(column, number, "\"><v>"); }

    void booleanCell(std::size_t column, bool isTrue) override { value(column, isTrue ? "1" : "0", "\" t=\"b\"><v>"); }

    void dateCell(std::size_t column, std::string_view, const CountedDate& date) override
    {
        value(column, shortestNumber(date.days).value_or("0"), "\"><v>", styleOf(date.parts));
    }

    void textCell(std::size_t column, std::string_view text, bool isHeader) override
    {
        beginCell(column, isHeader ? headerStyle : '\0');
        const bool hasOuterSpace = !text.empty() && (isAsciiSpace(text.front()) || isAsciiSpace(text.back()));
        const bool keepsSpace = hasOuterSpace || text.find('\n') != text.npos;
        xml_ += keepsSpace ? "\" t=\"inlineStr\"><is><t xml:space=\"preserve\">" : "\" t=\"inlineStr\"><is><t>";
        if (std::ranges::all_of(text, isPlain))
            xml_ += text;
        else
            appendEscaped(xml_, text);
        xml_ += "</t></is></c>";
    }

    std::string rowNumber_;            // of the row at hand
    std::vector<std::string> columns_; // how the cells of each column begin
};

} // namespace

std::unique_ptr<TableEvents> workbookWriter(Output& output) { return std::make_unique<WorkbookWriter>(output); }

} // namespace nivex::data
