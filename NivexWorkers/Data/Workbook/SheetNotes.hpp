#pragma once

#include "NivexWorkers/Data/Model/Input.hpp"

#include <cstddef>
#include <string_view>

namespace nivex::data {

/// What the sheets of a workbook have beside the values of their cells.
struct SheetNotes {
    std::size_t formulasWithoutValue = 0;
    bool hasMergedCells = false;
    bool hasHiddenRows = false;

    void remark(Remarks& remarks) const;
};

void remarkHiddenSheet(std::string_view name, Remarks& remarks);

} // namespace nivex::data
