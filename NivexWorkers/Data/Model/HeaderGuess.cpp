#include "NivexWorkers/Data/Model/HeaderGuess.hpp"

#include <cstddef>
#include <set>
#include <string_view>

namespace nivex::data {

bool namesColumns(std::span<const Scalar> firstRow)
{
    std::set<std::string_view> distinct;
    std::size_t texts = 0;
    std::size_t named = 0;
    for (const Scalar& cell : firstRow) {
        const bool isYear =
            cell.kind == ScalarKind::number && cell.text.size() == 4 && cell.text >= "1900" && cell.text <= "2100";
        const bool isText = cell.kind == ScalarKind::text && !cell.text.empty();
        if (cell.hasValue() && !cell.text.empty() && !isYear && !isText)
            return false;
        texts += isText;
        if ((isYear || isText) && distinct.insert(cell.text).second)
            ++named;
        else if (isYear || isText)
            return false;
    }
    return texts > 0 && 2 * named > firstRow.size();
}

} // namespace nivex::data
