#include "NivexWorkers/Data/Workbook/WorkbookReader.hpp"

#include "NivexWorkers/Data/Model/Errors.hpp"
#include "NivexWorkers/Data/Model/HeaderGuess.hpp"
#include "NivexWorkers/Data/Model/Numbers.hpp"
#include "NivexWorkers/Data/Workbook/SheetLimits.hpp"
#include "NivexWorkers/Data/Workbook/Workbook.hpp"

#include "NivexKit/Foundation/Text/Ascii.hpp"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace nivex::data {
namespace {

/// A number of a cell as JSON writes it. Programs write the digits of a double that nobody typed
/// (0.30000000000000004), so long ones are told by the shortest that mean the same number.
std::optional<std::string> numberText(std::string_view text)
{
    constexpr std::size_t neverLong = 15; // digits that every double holds
    if (text.size() <= neverLong && isJsonNumber(text))
        return std::string{text};
    double value = 0;
    const auto [end, failure] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (failure != std::errc{} || end != text.data() + text.size())
        return std::nullopt;
    return shortestNumber(value);
}

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

/// Thrown to end a look at a sheet.
struct HasValue {};

/// What a sheet has beside its cells, and all sheets together.
struct SheetNotes {
    std::size_t formulasWithoutValue = 0;
    bool hasMergedCells = false;
    bool hasHiddenRows = false;
};

/// One row that is being gathered: the values of its cells by their column.
class CellRow {
public:
    void clear()
    {
        values_.clear();
        texts_.clear();
    }
    bool isEmpty() const { return values_.empty(); }

    void set(std::size_t column, ScalarKind kind, std::string_view text)
    {
        if (column >= values_.size())
            values_.resize(column + 1);
        values_[column] = {kind, texts_.size(), text.size()};
        texts_ += text;
    }

    /// At least `width` cells.
    std::span<const Scalar> cells(std::size_t width)
    {
        cells_.assign(std::max(width, values_.size()), {ScalarKind::null, {}});
        for (std::size_t i = 0; i < values_.size(); ++i)
            if (values_[i].kind != ScalarKind::missing)
                cells_[i] = {values_[i].kind, std::string_view{texts_}.substr(values_[i].begin, values_[i].size)};
        return cells_;
    }

private:
    struct Value {
        ScalarKind kind = ScalarKind::missing;
        std::size_t begin = 0;
        std::size_t size = 0;
    };

    std::vector<Value> values_;
    std::string texts_;
    std::vector<Scalar> cells_;
};

/// Makes rows of the elements of one sheet.
class SheetReader final : public XmlEvents {
public:
    /// table  none where only whether there is a value matters: then the first one throws HasValue
    SheetReader(const Workbook& workbook, SheetNotes& notes, TableEvents* table)
        : workbook_{workbook}, notes_{notes}, table_{table}
    {
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
        row_.clear();
        nextColumn_ = 0;
        const std::string_view number = attributes["r"];
        std::size_t row = 0;
        if (!number.empty())
            std::from_chars(number.data(), number.data() + number.size(), row);
        if (row > maxSheetRows)
            throw damagedContent().because("row " + std::string{number});
        rowNumber_ = row > lastRow_ ? row : lastRow_ + 1;
        notes_.hasHiddenRows = notes_.hasHiddenRows || attributes["hidden"] == "1" || attributes["hidden"] == "true";
    }

    void endRow()
    {
        lastRow_ = rowNumber_;
        if (row_.isEmpty() || table_ == nullptr)
            return;
        if (lastWritten_ == 0) {
            const std::span<const Scalar> cells = row_.cells(0);
            width_ = cells.size();
            lastWritten_ = rowNumber_;
            if (namesColumns(cells))
                table_->header(cells);
            else
                table_->row(cells);
            return;
        }
        const std::vector<Scalar> blank(width_);
        while (++lastWritten_ < rowNumber_)
            table_->row(blank);
        table_->row(row_.cells(width_));
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
            notes_.formulasWithoutValue += hasFormula_ && table_ != nullptr;
            return;
        }
        if (table_ == nullptr)
            throw HasValue{};
        if (type_.empty() || type_ == "n")
            setNumber();
        else if (type_ == "s")
            setShared();
        else if (type_ == "b")
            row_.set(column_, ScalarKind::boolean, text_ == "0" || text_ == "false" ? "false" : "true");
        else if (type_ == "d")
            row_.set(column_, ScalarKind::date, text_);
        else
            row_.set(column_, ScalarKind::text, unescapedText(text_)); // of a formula or an error, too
    }

    void setShared()
    {
        std::size_t index = 0;
        const auto [end, failure] = std::from_chars(text_.data(), text_.data() + text_.size(), index);
        const auto shared = failure == std::errc{} ? workbook_.strings()[index] : std::nullopt;
        if (!shared)
            throw damagedContent().because("no shared string " + text_);
        row_.set(column_, ScalarKind::text, *shared);
    }

    void setNumber()
    {
        const NumberLook look = workbook_.lookOfStyle(style_);
        const auto number = numberText(text_);
        if (!number) {
            row_.set(column_, ScalarKind::text, text_);
            return;
        }
        if (look != NumberLook::number) {
            double days = 0;
            std::from_chars(text_.data(), text_.data() + text_.size(), days);
            if (const auto date = asDate(days, look)) {
                row_.set(column_, look == NumberLook::duration ? ScalarKind::text : ScalarKind::date, *date);
                return;
            }
        }
        row_.set(column_, ScalarKind::number, *number);
    }

    std::optional<std::string> asDate(double days, NumberLook look) const
    {
        constexpr double longest = 1e6;
        if (look == NumberLook::duration)
            return std::abs(days) < longest ? std::optional{durationOfDays(days)} : std::nullopt;
        return dateOfDays(days, workbook_.dayCount(), look != NumberLook::time, look != NumberLook::day);
    }

    const Workbook& workbook_;
    SheetNotes& notes_;
    TableEvents* table_;
    CellRow row_;
    std::size_t rowNumber_ = 0;   // of the row at hand, counted from 1
    std::size_t lastRow_ = 0;     // that was read
    std::size_t lastWritten_ = 0; // 0 before the first
    std::size_t width_ = 0;       // of the first row
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

void remark(const SheetNotes& notes, Remarks& remarks)
{
    if (notes.hasMergedCells)
        remarks.add("la valeur de cellules fusionnées n'est que dans la première"_fr);
    if (notes.hasHiddenRows)
        remarks.add("les lignes masquées ou filtrées ont été reprises aussi"_fr);
    if (notes.formulasWithoutValue > 0)
        remarks.add("des formules n'ont pas de valeur calculée : leurs cellules restent vides"_fr);
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
            input.remarks.add(filled("la feuille masquée « {} » a été reprise aussi"_fr, {sheet.name}));
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
    remark(notes, input.remarks);
}

} // namespace nivex::data
