#pragma once

#include "NivexWorkers/Data/Model/Input.hpp"
#include "NivexWorkers/Data/Model/TableEvents.hpp"

namespace nivex::data {

/// Reads a workbook of Office Open XML (xlsx, xlsm): the values of its sheets in their order, formulas as the value
/// that was last computed. Memory stays bounded by the texts that cells share. Sheets without a value are left out.
///
/// types    numbers to be shown as dates are dates; what a sheet says of its size is not believed
/// remarks  on hidden sheets and rows, merged cells, and formulas without a value
/// errors   unreadableSource for a damaged archive or part
void readWorkbook(const Input& input, TableEvents& events);

} // namespace nivex::data
