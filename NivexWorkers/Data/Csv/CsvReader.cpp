#include "NivexWorkers/Data/Csv/CsvReader.hpp"

#include "NivexWorkers/Data/Csv/CsvRecords.hpp"
#include "NivexWorkers/Data/Csv/CsvSurvey.hpp"
#include "NivexWorkers/Data/Model/Errors.hpp"
#include "NivexWorkers/Data/Model/Numbers.hpp"
#include "NivexWorkers/Data/Text/TextSource.hpp"

#include <algorithm>
#include <optional>
#include <string>

namespace nivex::data {
namespace {

constexpr std::size_t sampleSize = 256 * 1024;
constexpr std::size_t maxColumns = 1'000'000;

/// sourceBytes  of which no character becomes more than three
std::string sampleOf(TextSource& text, std::uint64_t sourceBytes)
{
    std::string sample(static_cast<std::size_t>(std::min<std::uint64_t>(sampleSize, 3 * sourceBytes + 1)), '\0');
    std::size_t filled = 0;
    while (filled < sample.size()) {
        const std::size_t count = text.read(std::span{sample}.subspan(filled));
        if (count == 0)
            break;
        filled += count;
    }
    // A cut record at the end would say the wrong things of quotes and lengths.
    const bool isWhole = filled < sample.size();
    sample.resize(filled);
    if (const std::size_t lineEnd = sample.rfind('\n'); !isWhole && lineEnd != sample.npos)
        sample.resize(lineEnd + 1);
    text.rewind();
    return sample;
}

bool isBlank(const std::vector<CsvField>& record)
{
    return record.size() == 1 && record.front().text.empty() && !record.front().isQuoted;
}

/// One pass over the records of a text, reporting progress between two shares of the whole work.
class Pass {
public:
    Pass(const Input& input, TextSource& text, const CsvDialect& dialect, double from, double to)
        : records{fromTheBeginning(input, text, from, to), dialect, input.bytes.size()}
    {
    }

    CsvRecords records;

private:
    static CsvRecords::Fill fromTheBeginning(const Input& input, TextSource& text, double from, double to)
    {
        text.rewind();
        return [&input, &text, from, to](std::span<char> buffer) {
            const std::size_t count = text.read(buffer);
            input.progress(from + (to - from) * text.share());
            return count;
        };
    }
};

class Reader {
public:
    Reader(const Input& input, TableEvents& events)
        : input_{input}, events_{events}, text_{input.bytes}, dialect_{dialectOf(sampleOf(text_, input.bytes.size()),
                                                                                 input.isTabSeparated)}
    {
    }

    void read()
    {
        if (text_.encoding().isMixed)
            input_.remarks.add("des lignes qui n'étaient pas en UTF-8 ont été lues en Windows-1252"_fr);
        if (input_.wantsTypes)
            survey();
        Sheet sheet;
        for (const CsvColumn& column : columns_)
            sheet.columnWidths.push_back(column.width);
        events_.beginSheet(sheet);
        convert();
        events_.endSheet();
        if (ragged_ > 0)
            input_.remarks.add(ragged_ == 1 ? std::string{"1 ligne n'a pas le nombre de colonnes de la première"_fr}
                                            : filled("{} lignes n'ont pas le nombre de colonnes de la première"_fr,
                                                     {std::to_string(ragged_)}));
    }

private:
    static constexpr double surveyShare = 0.4; // of the time

    void survey()
    {
        CsvSurvey survey;
        Pass pass{input_, text_, dialect_, 0, surveyShare};
        while (const std::vector<CsvField>* record = pass.records.next())
            if (!isBlank(*record)) {
                requireColumns(record->size());
                survey.add(*record);
            }
        columns_ = survey.columns();
        hasHeader_ = survey.rows() > 0 && survey.hasHeader();
        quotesMeanText_ = survey.quotesMeanText();
    }

    static void requireColumns(std::size_t count)
    {
        if (count > maxColumns)
            throw tooManyColumns(maxColumns);
    }

    void convert()
    {
        Pass pass{input_, text_, dialect_, input_.wantsTypes ? surveyShare : 0, 1};
        std::optional<std::size_t> width; // of the first record
        std::vector<Scalar> cells;
        while (const std::vector<CsvField>* record = pass.records.next()) {
            // Programs end files with empty lines; in a table of one column they may be values.
            if (isBlank(*record) && width != 1)
                continue;
            requireColumns(record->size());
            const bool isFirst = !width;
            width = width.value_or(record->size());
            ragged_ += record->size() != *width;
            const bool isHeader = isFirst && hasHeader_;
            cells.resize(std::max(record->size(), *width));
            for (std::size_t i = 0; i < record->size(); ++i) {
                const CsvField& field = (*record)[i];
                // Member by member: what is written in parts and then copied as a whole makes the processor wait.
                cells[i].kind = isHeader             ? ScalarKind::text
                                : !input_.wantsTypes ? kindAsWritten(field)
                                                     : kindOf(field, columns_[i], pass.records);
                cells[i].text = cells[i].kind == ScalarKind::boolean ? ValueTypes::booleanText(field.text) : field.text;
            }
            std::fill(cells.begin() + static_cast<std::ptrdiff_t>(record->size()), cells.end(), Scalar{});
            if (isHeader)
                events_.header(cells);
            else
                events_.row(cells);
        }
    }

    static ScalarKind kindAsWritten(const CsvField& field)
    {
        if (field.isQuoted)
            return ScalarKind::text;
        return field.text.empty() ? ScalarKind::null : ScalarKind::asWritten;
    }

    ScalarKind kindOf(const CsvField& field, const CsvColumn& column, CsvRecords& records) const
    {
        if (field.isQuoted && (quotesMeanText_ || field.text.empty()))
            return ScalarKind::text;
        const bool mayBeDecimal = dialect_.hasDecimalComma && !column.types.keepsText;
        if (mayBeDecimal && lookOf(field.text) == Look::decimalComma)
            records.at(field.text.data() + field.text.find(',')) = '.';
        return column.types.kindOf(field.text);
    }

    const Input& input_;
    TableEvents& events_;
    TextSource text_;
    CsvDialect dialect_;
    std::vector<CsvColumn> columns_; // where they were surveyed
    bool hasHeader_ = false;
    bool quotesMeanText_ = false;
    std::size_t ragged_ = 0;
};

} // namespace

void readCsv(const Input& input, TableEvents& events) { Reader{input, events}.read(); }

} // namespace nivex::data
