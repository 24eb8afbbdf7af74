#include "NivexWorkers/Data/Workbook/WorkbookWriter.hpp"

#include "NivexWorkers/Data/Model/Dates.hpp"
#include "NivexWorkers/Data/Model/Errors.hpp"
#include "NivexWorkers/Data/Model/Numbers.hpp"
#include "NivexWorkers/Data/Workbook/SheetLimits.hpp"
#include "NivexWorkers/Data/Zip/ArchiveWriter.hpp"

#include "NivexKit/Foundation/Text/Ascii.hpp"
#include "NivexKit/Foundation/Text/Unicode.hpp"

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

constexpr std::size_t sampledBytes = 1 << 18; // of rows, before the widths of the columns are settled
constexpr std::size_t pieceSize = 1 << 16;
constexpr std::size_t narrowest = 8; // characters
constexpr std::size_t widest = 60;

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

/// Characters of UTF-8, those outside the basic plane counted as the two units that they are in UTF-16.
std::size_t utf16Units(std::string_view text)
{
    std::size_t units = 0;
    for (const char each : text) {
        const auto byte = static_cast<unsigned char>(each);
        units += (byte & 0xC0) != 0x80;
        units += byte >= 0xF0;
    }
    return units;
}

/// A name that no other sheet bears and that spreadsheets take (31 characters, none of []:*?/\, no apostrophe at an
/// end).
std::string sheetName(std::string_view wanted, const std::vector<std::string>& taken)
{
    constexpr std::size_t longest = 31;
    std::string name;
    for (std::size_t at = 0; at < wanted.size();) {
        const char32_t scalar = nextScalar(wanted, at);
        const bool isForbidden =
            isControl(scalar) ||
            (scalar < 0x80 && std::string_view{"[]:*?/\\"}.find(static_cast<char>(scalar)) != std::string_view::npos);
        appendScalar(name, isForbidden ? U'-' : scalar);
    }
    while (name.starts_with('\''))
        name.erase(0, 1);
    const auto cut = [&name](std::size_t room) {
        std::string_view part = name;
        while (utf16Units(part) > room)
            part = cutToBytes(part, part.size() - 1);
        while (part.ends_with('\''))
            part.remove_suffix(1);
        return std::string{part};
    };
    if (name.empty())
        name = "Feuille"_fr;
    std::string candidate = cut(longest);
    const auto isTaken = [&](const std::string& each) { return lowercased(each) == lowercased(candidate); };
    for (int number = 2; std::ranges::any_of(taken, isTaken); ++number) {
        const std::string suffix = " " + std::to_string(number);
        candidate = cut(longest - suffix.size()) + suffix;
    }
    return candidate;
}

class WorkbookWriter final : public TableEvents {
public:
    explicit WorkbookWriter(Output& output) : output_{output}, archive_{output.single()}
    {
        archive_.add("[Content_Types].xml", std::string{declaration} + std::string{contentTypes});
        archive_.add("_rels/.rels", std::string{declaration} + std::string{packageRelations});
    }

    void beginSheet(const Sheet& sheet) override
    {
        wantedName_ = sheet.name.empty() ? output_.request().baseName : sheet.name;
        header_.clear();
        widths_ = sheet.columnWidths;
        areWidthsKnown_ = !widths_.empty();
        begin();
    }

    void header(std::span<const Scalar> names) override
    {
        for (const Scalar& name : names)
            header_.emplace_back(name.text);
        writeHeader();
    }

    void row(std::span<const Scalar> cells) override
    {
        if (rows_ == maxSheetRows) {
            endPart();
            begin();
            writeHeader();
            output_.remarks().add(
                filled("plus de {} lignes : la suite est sur une autre feuille"_fr, {std::to_string(maxSheetRows)}));
        }
        beginRow(cells.size());
        for (std::size_t i = 0; i < cells.size(); ++i)
            cell(i, cells[i]);
        endRow();
    }

    void endSheet() override { endPart(); }

    void finish() override
    {
        std::string sheets;
        std::string relations;
        const std::string type = "http://schemas.openxmlformats.org/officeDocument/2006/relationships/";
        const auto relate = [&](const std::string& id, const std::string& kind, const std::string& target) {
            relations += "<Relationship Id=\"" + id + "\" Type=\"" + type + kind + "\" Target=\"" + target + "\"/>";
        };
        for (std::size_t i = 1; i <= sheetNames_.size(); ++i) {
            const std::string number = std::to_string(i);
            sheets += "<sheet name=\"";
            appendEscaped(sheets, sheetNames_[i - 1]);
            sheets += "\" sheetId=\"" + number + "\" r:id=\"rId" + number + "\"/>";
            relate("rId" + number, "worksheet", "worksheets/sheet" + number + ".xml");
        }
        relate("rId" + std::to_string(sheetNames_.size() + 1), "styles", "styles.xml");
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
    void begin()
    {
        sheetNames_.push_back(sheetName(wantedName_, sheetNames_));
        archive_.begin("xl/worksheets/sheet" + std::to_string(sheetNames_.size()) + ".xml");
        rows_ = 0;
        hasTop_ = false;
        xml_.clear();
    }

    /// What stands before the rows: it needs the widths of the columns.
    void writeTop()
    {
        std::string top{declaration};
        top += "<worksheet xmlns=\"";
        top += mainNamespace;
        top += "\"><sheetViews><sheetView workbookViewId=\"0\"";
        if (sheetNames_.size() == 1)
            top += " tabSelected=\"1\"";
        top += header_.empty() ? "/>"
                               : "><pane ySplit=\"1\" topLeftCell=\"A2\" activePane=\"bottomLeft\" "
                                 "state=\"frozen\"/><selection pane=\"bottomLeft\"/></sheetView>";
        top += "</sheetViews>";
        if (!widths_.empty())
            top += "<cols>";
        for (std::size_t i = 0; i < std::min(widths_.size(), maxSheetColumns); ++i) {
            const std::string number = std::to_string(i + 1);
            const std::size_t width = std::clamp(widths_[i], narrowest, widest) + 2;
            top += "<col min=\"" + number + "\" max=\"" + number + "\" width=\"" + std::to_string(width) +
                   "\" customWidth=\"1\"/>";
        }
        if (!widths_.empty())
            top += "</cols>";
        top += "<sheetData>";
        archive_.write(top);
        hasTop_ = true;
    }

    void flush()
    {
        if (!hasTop_)
            writeTop();
        areWidthsKnown_ = true;
        archive_.write(xml_);
        xml_.clear();
    }

    void endPart()
    {
        flush();
        archive_.write("</sheetData></worksheet>");
        archive_.end();
    }

    void writeHeader()
    {
        if (header_.empty())
            return;
        beginRow(header_.size());
        for (std::size_t i = 0; i < header_.size(); ++i)
            if (!header_[i].empty())
                text(i, header_[i], headerStyle);
        endRow();
    }

    void beginRow(std::size_t cells)
    {
        if (cells > maxSheetColumns)
            throw tooManyColumns(maxSheetColumns);
        while (columns_.size() < cells)
            columns_.push_back("<c r=\"" + columnName(columns_.size()));
        rowNumber_ = std::to_string(++rows_);
        xml_ += "<row r=\"";
        xml_ += rowNumber_;
        xml_ += "\">";
    }

    void endRow()
    {
        xml_ += "</row>";
        if (xml_.size() >= (areWidthsKnown_ ? pieceSize : sampledBytes))
            flush();
    }

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
        measure(column, value.size());
        beginCell(column, style);
        xml_ += attributes;
        xml_ += value;
        xml_ += "</v></c>";
    }

    void text(std::size_t column, std::string_view text, char style = '\0')
    {
        if (text.size() > maxCellCharacters && utf16Units(text) > maxCellCharacters)
            throw ConversionError::resourceLimit(filled("une cellule de la ligne {} dépasse {} caractères"_fr,
                                                        {rowNumber_, std::to_string(maxCellCharacters)}));
        measure(column, text);
        beginCell(column, style);
        const bool hasOuterSpace = !text.empty() && (isAsciiSpace(text.front()) || isAsciiSpace(text.back()));
        const bool keepsSpace = hasOuterSpace || text.find('\n') != text.npos;
        xml_ += keepsSpace ? "\" t=\"inlineStr\"><is><t xml:space=\"preserve\">" : "\" t=\"inlineStr\"><is><t>";
        if (std::ranges::all_of(text, isPlain))
            xml_ += text;
        else
            appendEscaped(xml_, text);
        xml_ += "</t></is></c>";
    }

    void cell(std::size_t column, const Scalar& scalar)
    {
        constexpr std::string_view number = "\"><v>";
        switch (scalar.kind) {
        case ScalarKind::missing:
        case ScalarKind::null:
            return;
        case ScalarKind::boolean:
            value(column, scalar.text == "true" ? "1" : "0", "\" t=\"b\"><v>");
            return;
        case ScalarKind::number:
            if (fitsSpreadsheetNumber(scalar.text)) {
                value(column, scalar.text, number);
                return;
            }
            output_.remarks().add("des nombres de plus de 15 chiffres ont été gardés comme textes"_fr);
            break;
        case ScalarKind::date:
            if (const auto date = countedDate(scalar.text)) {
                value(column, shortestNumber(date->days).value_or("0"), number, styleOf(date->parts));
                measure(column, scalar.text.size());
                return;
            }
            break;
        case ScalarKind::asWritten:
        case ScalarKind::text:
        case ScalarKind::data:
            break;
        }
        text(column, scalar.text);
    }

    void measure(std::size_t column, std::size_t width)
    {
        if (areWidthsKnown_)
            return;
        if (column >= widths_.size())
            widths_.resize(column + 1);
        widths_[column] = std::max(widths_[column], width);
    }
    void measure(std::size_t column, std::string_view text)
    {
        if (!areWidthsKnown_)
            measure(column, text.size() > widest ? widest : utf16Units(text));
    }

    Output& output_;
    ArchiveWriter archive_;
    std::vector<std::string> sheetNames_; // of all that were begun
    std::string wantedName_;              // of the table at hand
    std::vector<std::string> header_;
    std::vector<std::size_t> widths_;  // of columns, in characters
    bool areWidthsKnown_ = false;      // otherwise they are measured while rows wait
    bool hasTop_ = false;              // whether the beginning of the sheet is written
    std::size_t rows_ = 0;             // of the sheet
    std::string rowNumber_;            // of the row at hand
    std::vector<std::string> columns_; // how the cells of each column begin
    std::string xml_;                  // rows that wait to be written
};

} // namespace

std::unique_ptr<TableEvents> workbookWriter(Output& output) { return std::make_unique<WorkbookWriter>(output); }

} // namespace nivex::data
