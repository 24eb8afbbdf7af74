#pragma once

#include "NivexWorkers/Data/Model/Input.hpp"
#include "NivexWorkers/Data/Model/TableEvents.hpp"

namespace nivex::data {

/// Reads a table of delimited text, its dialect, encoding and header found out from its contents. Memory stays bounded
/// whatever its size.
///
/// types    of a column as a whole: whole and decimal numbers, booleans and days; see CsvSurvey. An empty value is
///          null, an empty one in quotes an empty text. Records of other lengths are kept and remarked on.
/// errors   as TextSource and CsvRecords
void readCsv(const Input& input, TableEvents& events);

} // namespace nivex::data
