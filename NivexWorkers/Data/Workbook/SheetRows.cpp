#include "NivexWorkers/Data/Workbook/SheetRows.hpp"

#include "NivexWorkers/Data/Model/HeaderGuess.hpp"

#include <algorithm>

namespace nivex::data {

void SheetRows::begin(std::size_t number)
{
    number_ = number;
    values_.clear();
    texts_.clear();
}

void SheetRows::set(std::size_t column, ScalarKind kind, std::string_view text)
{
    if (column >= values_.size())
        values_.resize(column + 1);
    values_[column] = {kind, texts_.size(), text.size()};
    texts_ += text;
}

std::span<const Scalar> SheetRows::cells()
{
    cells_.assign(std::max(width_, values_.size()), {ScalarKind::null, {}});
    for (std::size_t i = 0; i < values_.size(); ++i)
        if (values_[i].kind != ScalarKind::missing)
            cells_[i] = {values_[i].kind, std::string_view{texts_}.substr(values_[i].begin, values_[i].size)};
    return cells_;
}

void SheetRows::end()
{
    if (values_.empty())
        return;
    if (lastWritten_ == 0) {
        width_ = values_.size();
        lastWritten_ = number_;
        if (namesColumns(cells()))
            table_.header(cells_);
        else
            table_.row(cells_);
        return;
    }
    const std::vector<Scalar> blank(width_);
    while (++lastWritten_ < number_)
        table_.row(blank);
    table_.row(cells());
}

} // namespace nivex::data
