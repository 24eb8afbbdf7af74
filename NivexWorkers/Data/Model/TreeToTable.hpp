#pragma once

#include "NivexWorkers/Data/Model/Input.hpp"
#include "NivexWorkers/Data/Model/TableEvents.hpp"
#include "NivexWorkers/Data/Model/TreeEvents.hpp"

#include <functional>

namespace nivex::data {

using TreeReading = std::function<void(TreeEvents&)>;

/// Nested data as one table:
/// - The rows are the values of the outermost list; or of the only list of objects in an object that otherwise holds
///   scalars, which are repeated in every row; or the whole is one row.
/// - Objects inside a row are flattened, their keys joined by dots; lists inside a row are JSON in one cell.
/// - The columns are all the keys that occur, in the order in which they first do.
///
/// read   tells the same events each time it is called, which is two or three times
/// errors those of the reading; resourceLimit for more columns than any table has
void writeAsTable(const TreeReading& read, TableEvents& table, Remarks& remarks);

} // namespace nivex::data
