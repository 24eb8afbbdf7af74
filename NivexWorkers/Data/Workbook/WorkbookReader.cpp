#include "NivexWorkers/Data/Workbook/WorkbookReader.hpp"

#include "NivexWorkers/Data/Model/Errors.hpp"
#include "NivexWorkers/Data/Workbook/CellValues.hpp"
#include "NivexWorkers/Data/Workbook/SheetLimits.hpp"
#include "NivexWorkers/Data/Workbook/SheetNotes.hpp"
#include "NivexWorkers/Data/Workbook/SheetRows.hpp"
#include "NivexWorkers/Data/Workbook/Workbook.hpp"

#include "NivexKit/Foundation/Text/Ascii.hpp"

#include <algorithm>
#include <charconv>

namespace nivex::data {
namespace {

/// The column of a cell by its name ("AB12"), counted from 0; none for a name without letters.
std::optional<std::size_t> columnOf(std::string_view cell)
{
    std::size_t column = 0;
    std::size_t letters = 0;
    for (; letters < cell.size() && isAsciiLetter(cell[letters]); ++letters) {
        column = column * 26 + static_cast<std::size_t>(asciiLowercased(cell[letters]) - 'a') + 1;
        if (column > maxSheetColumns)
            throw tooManyColumns(maxSheetColumns);
    }
    return letters == 0 ? std::nullopt : std::optional{column - 1};
}

/// Makes rows of the elements of one sheet.
class SheetReader final : public XmlEvents {
public:
    /// table  none where only whether there is a value matters: then the first one throws HasValue
    SheetReader(const Workbook& workbook, SheetNotes& notes, TableEvents* table) : workbook_{workbook}, notes_{notes}
    {
        if (table != nullptr)
            rows_.emplace(*table);
    }

    void begin(std::string_view name, const XmlAttributes& attributes) override
    {
        if (name == "c")
            beginCell(attributes);
        else if (name == "v" || name == "t")
            isText_ = !isReading_;
        else if (name == "row")
            beginRow(attributes);
        else if (name == "f")
            hasFormula_ = true;
        else if (name == "rPh")
            isReading_ = true;
        else if (name == "mergeCell")
            notes_.hasMergedCells = true;
    }

    void end(std::string_view name) override
    {
        if (name == "c")
            endCell();
        else if (name == "v" || name == "t")
            isText_ = false;
        else if (name == "row")
            endRow();
        else if (name == "rPh")
            isReading_ = false;
    }

    void text(std::string_view part) override
    {
        if (isText_)
            text_ += part;
    }

private:
    void beginRow(const XmlAttributes& attributes)
    {
        nextColumn_ = 0;
        const std::string_view number = attributes["r"];
        std::size_t row = 0;
        if (!number.empty())
            std::from_chars(number.data(), number.data() + number.size(), row);
        if (row > maxSheetRows)
            throw damagedContent().because("row " + std::string{number});
        lastRow_ = row > lastRow_ ? row : lastRow_ + 1;
        if (rows_)
            rows_->begin(lastRow_);
        notes_.hasHiddenRows = notes_.hasHiddenRows || attributes["hidden"] == "1" || attributes["hidden"] == "true";
    }

    void endRow()
    {
        if (rows_)
            rows_->end();
    }

    void beginCell(const XmlAttributes& attributes)
    {
        text_.clear();
        type_ = attributes["t"];
        style_ = 0;
        const std::string_view style = attributes["s"];
        std::from_chars(style.data(), style.data() + style.size(), style_);
        hasFormula_ = false;
        column_ = columnOf(attributes["r"]).value_or(nextColumn_);
        nextColumn_ = column_ + 1;
        if (nextColumn_ > maxSheetColumns)
            throw tooManyColumns(maxSheetColumns);
    }

    void endCell()
    {
        if (text_.empty() && type_ != "inlineStr" && type_ != "str") {
            notes_.formulasWithoutValue += hasFormula_ && rows_.has_value();
            return;
        }
        if (!rows_)
            throw HasValue{};
        if (type_.empty() || type_ == "n")
            setNumber();
        else if (type_ == "s")
            setShared();
        else if (type_ == "b")
            rows_->set(column_, ScalarKind::boolean, text_ == "0" || text_ == "false" ? "false" : "true");
        else if (type_ == "d")
            rows_->set(column_, ScalarKind::date, text_);
        else
            rows_->set(column_, ScalarKind::text, unescapedText(text_)); // of a formula or an error, too
    }

    void setShared()
    {
        std::size_t index = 0;
        const auto [end, failure] = std::from_chars(text_.data(), text_.data() + text_.size(), index);
        const auto shared = failure == std::errc{} ? workbook_.strings()[index] : std::nullopt;
        if (!shared)
            throw damagedContent().because("no shared string " + text_);
        rows_->set(column_, ScalarKind::text, *shared);
    }

    void setNumber()
    {
        const NumberLook look = workbook_.lookOfStyle(style_);
        const auto number = cellNumber(text_);
        if (!number) {
            rows_->set(column_, ScalarKind::text, text_);
            return;
        }
        double days = 0;
        std::from_chars(text_.data(), text_.data() + text_.size(), days);
        if (const auto date = cellDate(days, look, workbook_.dayCount()))
            rows_->set(column_, date->kind, date->text);
        else
            rows_->set(column_, ScalarKind::number, *number);
    }

    const Workbook& workbook_;
    SheetNotes& notes_;
    std::optional<SheetRows> rows_; // none where only a value is looked for
    std::size_t lastRow_ = 0;       // that was begun, counted from 1
    std::size_t nextColumn_ = 0;
    std::size_t column_ = 0;
    std::string type_;
    std::size_t style_ = 0;
    bool hasFormula_ = false;
    bool isText_ = false;
    bool isReading_ = false; // inside how a text is spoken
    std::string text_;
};

bool hasValues(const Workbook& workbook, const Workbook::SheetPart& sheet)
{
    SheetNotes ignored;
    SheetReader reader{workbook, ignored, nullptr};
    try {
        workbook.readPart(*sheet.entry, reader);
    } catch (const HasValue&) {
        return true;
    }
    return false;
}

} // namespace

void readWorkbook(const Input& input, TableEvents& events)
{
    const Workbook workbook{input};
    std::vector<const Workbook::SheetPart*> sheets;
    for (const Workbook::SheetPart& sheet : workbook.sheets()) {
        if (!hasValues(workbook, sheet))
            continue;
        if (sheet.isHidden)
            remarkHiddenSheet(sheet.name, input.remarks);
        sheets.push_back(&sheet);
    }
    if (sheets.empty())
        throw nothingToConvert();
    SheetNotes notes;
    for (std::size_t i = 0; i < sheets.size(); ++i) {
        events.beginSheet({.name = sheets[i]->name, .count = sheets.size()});
        SheetReader reader{workbook, notes, &events};
        workbook.readPart(*sheets[i]->entry, reader, [&](double share) {
            input.progress((static_cast<double>(i) + share) / static_cast<double>(sheets.size()));
        });
        events.endSheet();
    }
    notes.remark(input.remarks);
}

} // namespace nivex::data
