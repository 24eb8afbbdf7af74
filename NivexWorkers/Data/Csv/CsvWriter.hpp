#pragma once

#include "NivexWorkers/Data/Model/Output.hpp"
#include "NivexWorkers/Data/Model/TableEvents.hpp"

#include <memory>

namespace nivex::data {

/// Writes delimited text: RFC 4180, UTF-8 without a mark, a file for each sheet. Texts that would be read as something
/// else, such as "12" beside numbers, stand in quotes, so that types come back.
std::unique_ptr<TableEvents> csvWriter(Output& output, char separator);

} // namespace nivex::data
