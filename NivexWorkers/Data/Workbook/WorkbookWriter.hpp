#pragma once

#include "NivexWorkers/Data/Model/Output.hpp"
#include "NivexWorkers/Data/Model/TableEvents.hpp"

#include <memory>

namespace nivex::data {

/// Writes a workbook of Office Open XML: values with their types, a sheet for each of the source, the names of columns
/// in bold and kept in view, columns as wide as their values. No text becomes a formula. Numbers of more digits than
/// spreadsheets hold are written as texts, and rows that a sheet has no room for go on in another: both are remarked
/// on.
///
/// errors   resourceLimit for more columns, or longer texts, than a sheet has room for
std::unique_ptr<TableEvents> workbookWriter(Output& output);

} // namespace nivex::data
