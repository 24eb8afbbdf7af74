#include "NivexWorkers/Data/OpenDocument/OdsReader.hpp"

#include "NivexWorkers/Data/Model/Errors.hpp"
#include "NivexWorkers/Data/Model/Numbers.hpp"
#include "NivexWorkers/Data/OpenDocument/OdsValues.hpp"
#include "NivexWorkers/Data/Workbook/CellValues.hpp"
#include "NivexWorkers/Data/Workbook/SheetLimits.hpp"
#include "NivexWorkers/Data/Workbook/SheetNotes.hpp"
#include "NivexWorkers/Data/Workbook/SheetRows.hpp"
#include "NivexWorkers/Data/Xml/XmlReader.hpp"
#include "NivexWorkers/Data/Zip/EntryReader.hpp"

#include "NivexKit/Archive/ZipArchive.hpp"

#include <algorithm>
#include <charconv>
#include <optional>
#include <set>

namespace nivex::data {
namespace {

constexpr std::size_t maxRepeatedCells = 50'000'000;

/// How often something is there; once where nothing is said.
std::size_t repetitions(std::string_view text)
{
    std::size_t count = 1;
    std::from_chars(text.data(), text.data() + text.size(), count);
    return std::max<std::size_t>(count, 1);
}

/// Walks through the document and tells each sheet, cell and row to one who wants them.
class ContentReader : public XmlEvents {
public:
    void begin(std::string_view name, const XmlAttributes& attributes) override
    {
        if (outside_ > 0 || name == "annotation" || name == "shapes" || name == "tracked-changes") {
            ++outside_;
            return;
        }
        if (name == "style")
            style_ = attributes["name"];
        else if (name == "table-properties" && attributes["display"] == "false")
            hiddenStyles_.insert(style_);
        else if (name == "table")
            beginTable(attributes);
        else if (name == "table-row")
            beginRow(attributes);
        else if (name == "table-cell" || name == "covered-table-cell")
            beginCell(attributes);
        else if (isInCell_)
            beginInCell(name, attributes);
    }

    void end(std::string_view name) override
    {
        if (outside_ > 0) {
            --outside_;
            return;
        }
        if (name == "table" && --tables_ == 0)
            endSheet();
        else if (tables_ != 1)
            return;
        else if (name == "table-row")
            endRow(rowRepetitions_);
        else if (name == "table-cell" || name == "covered-table-cell")
            endCell();
        else if (name == "p" && isInCell_)
            isInText_ = false;
    }

    void text(std::string_view part) override
    {
        if (!isInText_ || outside_ > 0)
            return;
        // White space of the document's own layout is one space (OpenDocument 1.3, 6.1.2).
        for (const char each : part) {
            const bool isSpace = each == ' ' || each == '\t' || each == '\n' || each == '\r';
            if (!isSpace)
                text_ += each;
            else if (!text_.empty() && text_.back() != ' ' && text_.back() != '\n')
                text_ += ' ';
        }
    }

protected:
    virtual void beginSheet(const std::string& name, bool isHidden) = 0;
    virtual void beginSheetRow(bool isHidden) = 0;
    virtual void cell(const CellValue& value, std::size_t repeated) = 0;
    virtual void emptyCells(std::size_t repeated) = 0;
    virtual void formulaWithoutValue() = 0;
    virtual void mergedCells() = 0;
    virtual void endRow(std::size_t repeated) = 0;
    virtual void endSheet() = 0;

private:
    void beginTable(const XmlAttributes& attributes)
    {
        if (++tables_ == 1) // tables inside cells are part of their text
            beginSheet(std::string{attributes["name"]}, hiddenStyles_.contains(attributes["style-name"]));
    }

    void beginRow(const XmlAttributes& attributes)
    {
        if (tables_ != 1)
            return;
        rowRepetitions_ = repetitions(attributes["number-rows-repeated"]);
        const std::string_view visibility = attributes["visibility"];
        beginSheetRow(visibility == "collapse" || visibility == "filter");
    }

    void beginCell(const XmlAttributes& attributes)
    {
        if (tables_ != 1)
            return;
        isInCell_ = true;
        text_.clear();
        hasText_ = false;
        hasFormula_ = !attributes["formula"].empty();
        cellRepetitions_ = repetitions(attributes["number-columns-repeated"]);
        if (repetitions(attributes["number-columns-spanned"]) > 1 || repetitions(attributes["number-rows-spanned"]) > 1)
            mergedCells();
        type_ = attributes["value-type"];
        const std::string_view attribute = type_ == "date"      ? "date-value"
                                           : type_ == "time"    ? "time-value"
                                           : type_ == "boolean" ? "boolean-value"
                                           : type_ == "string"  ? "string-value"
                                                                : "value";
        value_ = attributes[attribute];
    }

    void beginInCell(std::string_view name, const XmlAttributes& attributes)
    {
        if (name == "p") {
            if (hasText_)
                text_ += '\n';
            hasText_ = true;
            isInText_ = true;
        } else if (name == "s") {
            text_.append(std::min<std::size_t>(repetitions(attributes["c"]), maxCellCharacters), ' ');
        } else if (name == "tab") {
            text_ += '\t';
        } else if (name == "line-break") {
            text_ += '\n';
        }
    }

    void endCell()
    {
        isInCell_ = false;
        isInText_ = false;
        const std::optional<CellValue> value = odsValue(type_, value_, text_);
        if (value && (hasText_ || !type_.empty())) {
            cell(*value, cellRepetitions_);
            return;
        }
        if (hasFormula_)
            formulaWithoutValue();
        emptyCells(cellRepetitions_);
    }

    std::string style_;
    std::set<std::string, std::less<>> hiddenStyles_;
    std::size_t outside_ = 0; // levels inside what no value is
    std::size_t tables_ = 0;  // that are open
    std::size_t rowRepetitions_ = 1;
    std::size_t cellRepetitions_ = 1;
    std::string type_;
    std::string value_;
    std::string text_;
    bool hasText_ = false;
    bool hasFormula_ = false;
    bool isInCell_ = false;
    bool isInText_ = false;
};

/// Finds the sheets that have values, and what else is to be said of the document.
class Survey final : public ContentReader {
public:
    struct Sheet {
        std::string name;
        bool isHidden = false;
        bool hasValues = false;
    };

    const std::vector<Sheet>& sheets() const { return sheets_; }
    const SheetNotes& notes() const { return notes_; }

private:
    void beginSheet(const std::string& name, bool isHidden) override { sheets_.push_back({name, isHidden}); }
    void beginSheetRow(bool isHidden) override { isHiddenRow_ = isHidden; }
    void cell(const CellValue&, std::size_t) override
    {
        sheets_.back().hasValues = true;
        notes_.hasHiddenRows = notes_.hasHiddenRows || isHiddenRow_;
    }
    void emptyCells(std::size_t) override {}
    void formulaWithoutValue() override { ++notes_.formulasWithoutValue; }
    void mergedCells() override { notes_.hasMergedCells = true; }
    void endRow(std::size_t) override {}
    void endSheet() override {}

    std::vector<Sheet> sheets_;
    SheetNotes notes_;
    bool isHiddenRow_ = false;
};

/// Tells the sheets that have values.
class Sheets final : public ContentReader {
public:
    Sheets(const std::vector<Survey::Sheet>& sheets, TableEvents& table)
        : sheets_{sheets}, count_{static_cast<std::size_t>(std::ranges::count_if(sheets, &Survey::Sheet::hasValues))},
          table_{table}
    {
    }

private:
    struct Cell {
        std::size_t column = 0;
        std::size_t repeated = 1;
        CellValue value;
    };

    void beginSheet(const std::string& name, bool) override
    {
        const bool hasValues = next_ < sheets_.size() && sheets_[next_].hasValues;
        ++next_;
        if (!hasValues)
            return;
        table_.beginSheet({.name = name, .count = count_, .columnWidths = {}});
        rows_.emplace(table_);
        row_ = 1;
    }

    void beginSheetRow(bool) override
    {
        cells_.clear();
        column_ = 0;
    }

    void cell(const CellValue& value, std::size_t repeated) override
    {
        if (repeated > maxSheetColumns - std::min(column_, maxSheetColumns))
            throw tooManyColumns(maxSheetColumns);
        if (rows_)
            cells_.push_back({column_, repeated, value});
        column_ += repeated;
    }

    void emptyCells(std::size_t repeated) override { column_ += std::min(repeated, maxSheetColumns); }
    void formulaWithoutValue() override {}
    void mergedCells() override {}

    void endRow(std::size_t repeated) override
    {
        if (!rows_ || cells_.empty()) {
            row_ += std::min(repeated, maxSheetRows);
            return;
        }
        if (repeated > maxSheetRows || row_ > maxSheetRows)
            throw damagedContent().because("more rows than a sheet has");
        for (std::size_t i = 0; i < repeated; ++i) {
            rows_->begin(row_++);
            for (const Cell& cell : cells_) {
                spend(i == 0 ? cell.repeated - 1 : cell.repeated);
                for (std::size_t j = 0; j < cell.repeated; ++j)
                    rows_->set(cell.column + j, cell.value.kind, cell.value.text);
            }
            rows_->end();
        }
    }

    void endSheet() override
    {
        if (rows_)
            table_.endSheet();
        rows_.reset();
    }

    void spend(std::size_t repeated)
    {
        repeated_ += repeated;
        if (repeated_ > maxRepeatedCells)
            throw ConversionError::resourceLimit("des cellules répétées multiplient les données à l'excès"_fr);
    }

    const std::vector<Survey::Sheet>& sheets_;
    std::size_t count_;
    TableEvents& table_;
    std::size_t next_ = 0;
    std::optional<SheetRows> rows_; // of a sheet with values
    std::size_t row_ = 1;
    std::size_t column_ = 0;
    std::vector<Cell> cells_; // of the row at hand
    std::size_t repeated_ = 0;
};

} // namespace

void readOds(const Input& input, TableEvents& events)
{
    constexpr std::string_view content = "content.xml";
    const ZipArchive::Reader archive{input.bytes, input.limits};
    const ZipArchive::Entry* entry = archive.entry(content);
    if (entry == nullptr)
        throw ConversionError::unreadableSource("ce n'est pas un classeur"_fr)
            .because("content.xml: not in the archive");
    const auto read = [&](XmlEvents& reader, double from, double to) {
        EntryReader bytes{input.bytes, archive, *entry};
        readXml(
            [&](std::span<char> buffer) {
                const std::size_t count = bytes.read(buffer);
                input.progress(from + (to - from) * bytes.share());
                return count;
            },
            reader, {.part = content});
    };
    Survey survey;
    read(survey, 0, 0.4);
    if (std::ranges::none_of(survey.sheets(), &Survey::Sheet::hasValues))
        throw nothingToConvert();
    for (const Survey::Sheet& sheet : survey.sheets())
        if (sheet.isHidden && sheet.hasValues)
            remarkHiddenSheet(sheet.name, input.remarks);
    Sheets sheets{survey.sheets(), events};
    read(sheets, 0.4, 1);
    survey.notes().remark(input.remarks);
}

} // namespace nivex::data
