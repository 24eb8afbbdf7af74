#pragma once

#include "NivexWorkers/Data/Model/Input.hpp"
#include "NivexWorkers/Data/Model/TableEvents.hpp"

namespace nivex::data {

/// Reads a spreadsheet of OpenDocument: the values of its sheets, formulas by what they last gave. Rows and cells that
/// are said to be repeated are told as often, within bounds.
///
/// remarks  as readWorkbook
/// errors   unreadableSource for a damaged archive or document; resourceLimit for more repetitions than any table has
void readOds(const Input& input, TableEvents& events);

} // namespace nivex::data
