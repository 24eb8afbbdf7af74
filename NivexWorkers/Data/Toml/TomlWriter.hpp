#pragma once

#include "NivexWorkers/Data/Model/Output.hpp"
#include "NivexWorkers/Data/Model/TreeToTable.hpp"

namespace nivex::data {

/// Writes TOML 1.0: tables under headers, lists of objects as [[tables]], what lies inside other lists in one line. The
/// scalars of a table come before its tables, as the format has it. What is no object becomes the only member of one;
/// of a list of objects, as the rows of a table are, one is held at a time.
///
/// remarks  on what the format has no place for: members without a value are left out, numbers beyond 64 bits are texts
/// errors   those of the reading; unreadableSource where nothing is left to write; resourceLimit for an object that is
/// too large to be put in order
void writeToml(const TreeReading& read, Output& output);

} // namespace nivex::data
