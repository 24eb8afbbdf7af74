#include "NivexWorkers/Data/Csv/CsvWriter.hpp"

#include "NivexWorkers/Data/Model/Errors.hpp"
#include "NivexWorkers/Data/Model/Numbers.hpp"

#include <optional>
#include <string_view>
#include <vector>

namespace nivex::data {
namespace {

class CsvWriter final : public TableEvents {
public:
    CsvWriter(Output& output, char separator) : output_{output}, separator_{separator} {}

    void beginSheet(const Sheet& sheet) override
    {
        file_.emplace(sheet.count > 1 ? output_.forSheet(sheet.name) : output_.single());
        text_.emplace(*file_);
        isEmpty_ = true;
    }

    void header(std::span<const Scalar> names) override
    {
        // No name is mistaken for a number.
        std::vector<Scalar> cells;
        for (const Scalar& name : names)
            cells.push_back({ScalarKind::asWritten, name.text});
        row(cells);
    }

    void row(std::span<const Scalar> cells) override
    {
        isEmpty_ = false;
        std::size_t count = cells.size();
        while (count > 0 && cells[count - 1].kind == ScalarKind::missing)
            --count;
        for (std::size_t i = 0; i < count; ++i) {
            if (i > 0)
                text_->put(separator_);
            cell(cells[i]);
        }
        if (count == 0)
            for (std::size_t i = 1; i < cells.size(); ++i)
                text_->put(separator_);
        // A line without characters is no row.
        if ((count == 0 && cells.size() < 2) ||
            (count == 1 && cells[0].text.empty() && cells[0].kind != ScalarKind::text))
            text_->put("\"\"");
        text_->put("\r\n");
    }

    void endSheet() override
    {
        if (isEmpty_)
            throw nothingToConvert();
        text_->flush();
        file_->finish();
    }

private:
    void cell(const Scalar& value)
    {
        if (needsQuotes(value))
            quoted(value.text);
        else if (value.kind == ScalarKind::date && value.text.size() > 10 && value.text[10] == 'T') {
            // Spreadsheets take a moment for one only with a space in it.
            text_->put(value.text.substr(0, 10));
            text_->put(' ');
            text_->put(value.text.substr(11));
        } else {
            text_->put(value.text);
        }
    }

    bool needsQuotes(const Scalar& value) const
    {
        if (value.kind == ScalarKind::text) {
            const Look look = lookOf(value.text);
            if (look != Look::text && look != Look::decimalComma && look != Look::digits)
                return true;
        } else if (value.kind != ScalarKind::asWritten && value.kind != ScalarKind::data) {
            return false;
        }
        for (const char each : value.text)
            if (each == separator_ || each == '"' || each == '\n' || each == '\r')
                return true;
        return false;
    }

    void quoted(std::string_view text)
    {
        text_->put('"');
        while (true) {
            const std::size_t quote = text.find('"');
            if (quote == text.npos)
                break;
            text_->put(text.substr(0, quote + 1));
            text_->put('"');
            text.remove_prefix(quote + 1);
        }
        text_->put(text);
        text_->put('"');
    }

    Output& output_;
    char separator_;
    std::optional<FileSink> file_;
    std::optional<TextOutput> text_;
    bool isEmpty_ = true;
};

} // namespace

std::unique_ptr<TableEvents> csvWriter(Output& output, char separator)
{
    return std::make_unique<CsvWriter>(output, separator);
}

} // namespace nivex::data
