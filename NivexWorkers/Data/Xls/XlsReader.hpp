#pragma once

#include "NivexWorkers/Data/Model/Input.hpp"
#include "NivexWorkers/Data/Model/TableEvents.hpp"

namespace nivex::data {

/// Reads a workbook of Excel 5, 95 or 97 to 2003: the values of its sheets, formulas by what they last gave. The stream
/// of its records and the cells of one sheet are held.
///
/// remarks  as readWorkbook
/// errors   unreadableSource for what has no workbook, or one that needs a password or is damaged
void readXls(const Input& input, TableEvents& events);

} // namespace nivex::data
