#pragma once

#include "NivexWorkers/Data/Model/Output.hpp"
#include "NivexWorkers/Data/Model/TableEvents.hpp"

#include <memory>

namespace nivex::data {

/// Writes a spreadsheet of OpenDocument 1.3, in all as workbookWriter writes a workbook. What XML cannot hold is
/// replaced and remarked on.
std::unique_ptr<TableEvents> odsWriter(Output& output);

} // namespace nivex::data
