#include "NivexWorkers/Data/Workbook/SpreadsheetWriter.hpp"

#include "NivexWorkers/Data/Model/Errors.hpp"
#include "NivexWorkers/Data/Model/Numbers.hpp"
#include "NivexWorkers/Data/Workbook/SheetLimits.hpp"

#include "NivexKit/Foundation/Text/Unicode.hpp"

#include <algorithm>

namespace nivex::data {
namespace {

constexpr std::size_t sampledBytes = 1 << 18; // of rows, before the widths of the columns are settled
constexpr std::size_t pieceSize = 1 << 16;

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

} // namespace

void SpreadsheetWriter::beginSheet(const Sheet& sheet)
{
    wantedName_ = sheet.name.empty() ? output_.request().baseName : sheet.name;
    header_.clear();
    widths_ = sheet.columnWidths;
    areWidthsKnown_ = !widths_.empty();
    begin();
}

void SpreadsheetWriter::header(std::span<const Scalar> names)
{
    for (const Scalar& name : names)
        header_.emplace_back(name.text);
    writeHeader();
}

void SpreadsheetWriter::row(std::span<const Scalar> cells)
{
    if (rows_ == maxSheetRows) {
        end();
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

void SpreadsheetWriter::endSheet() { end(); }

std::size_t SpreadsheetWriter::columnCount() const { return std::min(widths_.size(), maxSheetColumns); }

std::size_t SpreadsheetWriter::columnWidth(std::size_t column) const
{
    constexpr std::size_t room = 2;
    return std::clamp(widths_[column] + room, narrowest, widest);
}

void SpreadsheetWriter::begin()
{
    sheetNames_.push_back(sheetName(wantedName_, sheetNames_));
    rows_ = 0;
    hasTop_ = false;
    xml_.clear();
    openSheet();
}

void SpreadsheetWriter::end()
{
    flush();
    archive_.write(sheetEnd());
    closeSheet();
}

void SpreadsheetWriter::flush()
{
    if (!hasTop_)
        archive_.write(sheetTop());
    hasTop_ = true;
    areWidthsKnown_ = true;
    archive_.write(xml_);
    xml_.clear();
}

void SpreadsheetWriter::writeHeader()
{
    if (header_.empty())
        return;
    beginRow(header_.size());
    for (std::size_t i = 0; i < header_.size(); ++i)
        if (header_[i].empty())
            emptyCell();
        else
            text(i, header_[i], true);
    endRow();
}

void SpreadsheetWriter::beginRow(std::size_t cells)
{
    if (cells > maxSheetColumns)
        throw tooManyColumns(maxSheetColumns);
    ++rows_;
    openRow(cells);
}

void SpreadsheetWriter::endRow()
{
    xml_ += rowEnd();
    if (xml_.size() >= (areWidthsKnown_ ? pieceSize : sampledBytes))
        flush();
}

void SpreadsheetWriter::cell(std::size_t column, const Scalar& scalar)
{
    switch (scalar.kind) {
    case ScalarKind::missing:
    case ScalarKind::null:
        emptyCell();
        return;
    case ScalarKind::boolean:
        measure(column, scalar.text.size());
        booleanCell(column, scalar.text == "true");
        return;
    case ScalarKind::number:
        if (fitsSpreadsheetNumber(scalar.text)) {
            measure(column, scalar.text.size());
            numberCell(column, scalar.text);
            return;
        }
        output_.remarks().add("des nombres de plus de 15 chiffres ont été gardés comme textes"_fr);
        break;
    case ScalarKind::date:
        if (const auto date = countedDate(scalar.text)) {
            measure(column, scalar.text.size());
            dateCell(column, scalar.text, *date);
            return;
        }
        break;
    case ScalarKind::asWritten:
    case ScalarKind::text:
    case ScalarKind::data:
        break;
    }
    text(column, scalar.text, false);
}

void SpreadsheetWriter::text(std::size_t column, std::string_view text, bool isHeader)
{
    if (text.size() > maxCellCharacters && utf16Units(text) > maxCellCharacters)
        throw ConversionError::resourceLimit(filled("une cellule de la ligne {} dépasse {} caractères"_fr,
                                                    {std::to_string(rows_), std::to_string(maxCellCharacters)}));
    if (!areWidthsKnown_)
        measure(column, text.size() > widest ? widest : utf16Units(text));
    textCell(column, text, isHeader);
}

void SpreadsheetWriter::measure(std::size_t column, std::size_t width)
{
    if (areWidthsKnown_)
        return;
    if (column >= widths_.size())
        widths_.resize(column + 1);
    widths_[column] = std::max(widths_[column], width);
}

} // namespace nivex::data
