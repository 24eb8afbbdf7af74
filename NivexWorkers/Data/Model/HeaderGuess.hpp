#pragma once

#include "NivexWorkers/Data/Model/Scalar.hpp"

#include <span>

namespace nivex::data {

/// Whether the first row of a table with types names its columns: texts that all differ, years among them, in more than
/// half of the cells.
bool namesColumns(std::span<const Scalar> firstRow);

} // namespace nivex::data
