#include "NivexWorkers/Data/Xls/XlsReader.hpp"

#include "NivexWorkers/Data/Model/Errors.hpp"
#include "NivexWorkers/Data/Model/Numbers.hpp"
#include "NivexWorkers/Data/Workbook/CellValues.hpp"
#include "NivexWorkers/Data/Workbook/SheetNotes.hpp"
#include "NivexWorkers/Data/Workbook/SheetRows.hpp"
#include "NivexWorkers/Data/Xls/BiffRecords.hpp"
#include "NivexWorkers/Data/Xls/CompoundStream.hpp"

#include "NivexKit/Foundation/Text/CharacterSet.hpp"
#include "NivexKit/Foundation/Text/Unicode.hpp"

#include <algorithm>
#include <array>
#include <bit>
#include <map>

namespace nivex::data {
namespace {

constexpr std::uint16_t version8 = 0x0600;

/// The name under which the library of character sets knows a code page of Windows.
std::string characterSetOf(std::uint16_t codePage)
{
    switch (codePage) {
    case 367:
        return "US-ASCII";
    case 10'000:
    case 32'768:
        return "macintosh";
    case 32'769:
        return "windows-1252";
    default:
        return (codePage >= 1250 && codePage <= 1258 ? "windows-" : "cp") + std::to_string(codePage);
    }
}

double rkNumber(std::uint32_t rk)
{
    constexpr std::uint32_t isHundredfold = 1;
    constexpr std::uint32_t isWhole = 2;
    const double value = (rk & isWhole) != 0 ? static_cast<double>(static_cast<std::int32_t>(rk) >> 2)
                                             : std::bit_cast<double>(std::uint64_t{rk & ~3U} << 32);
    return (rk & isHundredfold) != 0 ? value / 100 : value;
}

std::string_view errorText(std::uint8_t code)
{
    struct Row {
        std::uint8_t code;
        std::string_view text;
    };
    constexpr std::array<Row, 7> rows{{{0x00, "#NULL!"},
                                       {0x07, "#DIV/0!"},
                                       {0x0F, "#VALUE!"},
                                       {0x17, "#REF!"},
                                       {0x1D, "#NAME?"},
                                       {0x24, "#NUM!"},
                                       {0x2A, "#N/A"}}};
    const auto* found = std::ranges::find(rows, code, &Row::code);
    return found == rows.end() ? "#N/A" : found->text;
}

/// What the first part of a workbook says for all of its sheets.
class Globals {
public:
    struct SheetPart {
        std::string name;
        std::size_t position = 0;
        bool isHidden = false;
    };

    explicit Globals(std::span<const std::byte> stream)
    {
        BiffRecords records{stream, 0};
        const auto first = records.next();
        if (!first || first->type != Biff::beginOfPart)
            throw ConversionError::unreadableSource("ce n'est pas un classeur"_fr);
        version_ = first->reader().u16();
        while (const auto record = records.next()) {
            if (record->type == Biff::endOfPart)
                break;
            take(*record);
        }
    }

    bool isUnicode() const { return version_ >= version8; }
    DayCount dayCount() const { return dayCount_; }
    const std::vector<SheetPart>& sheets() const { return sheets_; }

    std::string_view string(std::size_t index) const
    {
        if (index >= strings_.size())
            throw damagedContent().because("no shared string " + std::to_string(index));
        return strings_[index];
    }

    NumberLook lookOfStyle(std::size_t style) const
    {
        if (style >= formats_.size())
            return NumberLook::number;
        const auto own = ownFormats_.find(formats_[style]);
        return own == ownFormats_.end() ? lookOfBuiltInFormat(formats_[style]) : own->second;
    }

    /// The rest of a record as a text: behind its length, of one byte or two.
    std::string text(const BiffRecord& record, std::size_t before, bool hasShortLength) const
    {
        ByteReader reader = record.reader();
        reader.skip(before);
        const std::size_t length = hasShortLength ? reader.u8() : reader.u16();
        if (!isUnicode()) {
            const std::string_view bytes = reader.text(std::min(length, reader.left()));
            const auto text = converted(bytes, characterSet_);
            return text ? *text : converted(bytes, "windows-1252").value_or(validUtf8(bytes));
        }
        BiffStrings strings{record};
        strings.skip(before + (hasShortLength ? 1 : 2));
        return strings.unicode(length);
    }

private:
    void take(const BiffRecord& record)
    {
        ByteReader reader = record.reader();
        switch (record.type) {
        case Biff::filePass:
            throw ConversionError::unreadableSource("il est protégé par un mot de passe"_fr);
        case Biff::codePage:
            characterSet_ = characterSetOf(reader.u16());
            break;
        case Biff::dateMode:
            dayCount_ = reader.u16() == 1 ? DayCount::from1904 : DayCount::from1900;
            break;
        case Biff::numberFormat:
            ownFormats_[reader.u16()] = lookOfFormatCode(text(record, 2, !isUnicode()));
            break;
        case Biff::extendedFormat:
            reader.skip(2);
            formats_.push_back(reader.u16());
            break;
        case Biff::boundSheet:
            addSheet(record);
            break;
        case Biff::sharedStrings:
            readStrings(record);
            break;
        default:
            break;
        }
    }

    void addSheet(const BiffRecord& record)
    {
        ByteReader reader = record.reader();
        const std::size_t position = reader.u32();
        const std::uint8_t state = reader.u8();
        const std::uint8_t kind = reader.u8();
        if (kind == 0) // neither a chart nor macros
            sheets_.push_back({text(record, 6, true), position, (state & 3) != 0});
    }

    void readStrings(const BiffRecord& record)
    {
        BiffStrings strings{record};
        strings.skip(4);
        const std::uint32_t count = strings.u32();
        try {
            for (std::uint32_t i = 0; i < count; ++i)
                strings_.push_back(strings.unicode());
        } catch (const ConversionError&) {
            // Programs count more strings than they write; one that a cell asks for is missed there.
        }
    }

    std::uint16_t version_ = 0;
    std::string characterSet_ = "windows-1252";
    DayCount dayCount_ = DayCount::from1900;
    std::vector<SheetPart> sheets_;
    std::vector<std::string> strings_;
    std::vector<int> formats_; // by style
    std::map<int, NumberLook> ownFormats_;
};

/// The cells of one sheet, as they come; their rows need not be in order.
class Cells {
public:
    struct Cell {
        std::uint16_t row = 0;
        std::uint16_t column = 0;
        ScalarKind kind = ScalarKind::null;
        std::size_t begin = 0; // of its text
        std::size_t size = 0;
    };

    void add(std::uint16_t row, std::uint16_t column, ScalarKind kind, std::string_view text)
    {
        cells_.push_back({row, column, kind, texts_.size(), text.size()});
        texts_ += text;
    }

    void write(TableEvents& table)
    {
        std::ranges::stable_sort(cells_, {}, &Cell::row);
        SheetRows rows{table};
        for (std::size_t i = 0; i < cells_.size(); ++i) {
            const Cell& cell = cells_[i];
            if (i == 0 || cell.row != cells_[i - 1].row)
                rows.begin(std::size_t{cell.row} + 1);
            rows.set(cell.column, cell.kind, std::string_view{texts_}.substr(cell.begin, cell.size));
            if (i + 1 == cells_.size() || cells_[i + 1].row != cell.row)
                rows.end();
        }
    }

private:
    std::vector<Cell> cells_;
    std::string texts_;
};

class SheetReader {
public:
    /// cells  none where only whether there is a value matters: then the first one throws HasValue
    SheetReader(const Globals& globals, SheetNotes& notes, Cells* cells)
        : globals_{globals}, notes_{notes}, cells_{cells}
    {
    }

    void read(std::span<const std::byte> stream, std::size_t position)
    {
        BiffRecords records{stream, position};
        std::size_t depth = 0; // charts inside a sheet are parts of their own
        while (const auto record = records.next()) {
            if (record->type == Biff::beginOfPart)
                ++depth;
            else if (record->type == Biff::endOfPart && --depth == 0)
                return;
            else if (depth == 1)
                take(*record);
            if (depth == 0)
                break;
        }
        throw damagedContent().because("a sheet without an end");
    }

private:
    void take(const BiffRecord& record)
    {
        ByteReader reader = record.reader();
        switch (record.type) {
        case Biff::number:
            beginCell(reader);
            number(column_, style_, std::bit_cast<double>(reader.u64()));
            break;
        case Biff::rk:
            beginCell(reader);
            number(column_, style_, rkNumber(reader.u32()));
            break;
        case Biff::multipleRk:
            row_ = reader.u16();
            for (column_ = reader.u16(); reader.left() >= 8; ++column_) {
                style_ = reader.u16();
                number(column_, style_, rkNumber(reader.u32()));
            }
            break;
        case Biff::labelOfShared:
            beginCell(reader);
            set(ScalarKind::text, globals_.string(reader.u32()));
            break;
        case Biff::label:
        case Biff::richString:
            beginCell(reader);
            set(ScalarKind::text, globals_.text(record, 6, false));
            break;
        case Biff::booleanOrError: {
            beginCell(reader);
            const std::uint8_t value = reader.u8();
            booleanOrError(value, reader.u8() != 0);
            break;
        }
        case Biff::formula:
            beginCell(reader);
            formula(reader);
            break;
        case Biff::stringOfFormula:
            if (waitsForString_)
                set(ScalarKind::text, globals_.text(record, 0, false));
            waitsForString_ = false;
            break;
        case Biff::row: {
            constexpr std::uint16_t isHidden = 0x20;
            reader.skip(12);
            notes_.hasHiddenRows = notes_.hasHiddenRows || (reader.u16() & isHidden) != 0;
            break;
        }
        case Biff::mergedCells:
            notes_.hasMergedCells = true;
            break;
        default:
            break;
        }
    }

    void beginCell(ByteReader& reader)
    {
        row_ = reader.u16();
        column_ = reader.u16();
        style_ = reader.u16();
        waitsForString_ = false;
    }

    void formula(ByteReader& reader)
    {
        const std::uint64_t result = reader.u64();
        if (result >> 48 != 0xFFFF) {
            number(column_, style_, std::bit_cast<double>(result));
            return;
        }
        const auto value = static_cast<std::uint8_t>(result >> 16);
        switch (result & 0xFF) {
        case 0:
            waitsForString_ = true;
            break;
        case 1:
        case 2:
            booleanOrError(value, (result & 0xFF) == 2);
            break;
        default:
            set(ScalarKind::text, {});
        }
    }

    void booleanOrError(std::uint8_t value, bool isError)
    {
        if (isError)
            set(ScalarKind::text, errorText(value));
        else
            set(ScalarKind::boolean, value != 0 ? "true" : "false");
    }

    void number(std::uint16_t column, std::size_t style, double value)
    {
        column_ = column;
        if (const auto date = cellDate(value, globals_.lookOfStyle(style), globals_.dayCount()))
            set(date->kind, date->text);
        else if (const auto number = shortestNumber(value))
            set(ScalarKind::number, *number);
    }

    void set(ScalarKind kind, std::string_view text)
    {
        if (cells_ == nullptr)
            throw HasValue{};
        cells_->add(row_, column_, kind, text);
    }

    const Globals& globals_;
    SheetNotes& notes_;
    Cells* cells_;
    std::uint16_t row_ = 0;
    std::uint16_t column_ = 0;
    std::uint16_t style_ = 0;
    bool waitsForString_ = false;
};

bool hasValues(const Globals& globals, std::span<const std::byte> stream, const Globals::SheetPart& sheet)
{
    SheetNotes ignored;
    try {
        SheetReader{globals, ignored, nullptr}.read(stream, sheet.position);
    } catch (const HasValue&) {
        return true;
    }
    return false;
}

} // namespace

void readXls(const Input& input, TableEvents& events)
{
    constexpr std::array<std::string_view, 2> streams{"Workbook", "Book"};
    const std::vector<std::byte> stream = compoundStream(input.bytes, streams);
    if (stream.empty())
        throw ConversionError::unreadableSource("ce n'est pas un classeur"_fr).because("no stream of a workbook");
    const Globals globals{stream};
    std::vector<const Globals::SheetPart*> sheets;
    for (const Globals::SheetPart& sheet : globals.sheets()) {
        if (!hasValues(globals, stream, sheet))
            continue;
        if (sheet.isHidden)
            remarkHiddenSheet(sheet.name, input.remarks);
        sheets.push_back(&sheet);
    }
    if (sheets.empty())
        throw nothingToConvert();
    SheetNotes notes;
    for (std::size_t i = 0; i < sheets.size(); ++i) {
        Cells cells;
        SheetReader{globals, notes, &cells}.read(stream, sheets[i]->position);
        events.beginSheet({.name = sheets[i]->name, .count = sheets.size(), .columnWidths = {}});
        cells.write(events);
        events.endSheet();
        input.progress(static_cast<double>(i + 1) / static_cast<double>(sheets.size()));
    }
    notes.remark(input.remarks);
}

} // namespace nivex::data
