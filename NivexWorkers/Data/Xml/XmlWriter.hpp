#pragma once

#include "NivexWorkers/Data/Model/Output.hpp"
#include "NivexWorkers/Data/Model/TreeToTable.hpp"

namespace nivex::data {

/// Writes XML that reads back as the same nested data: members are elements of their name, elements of lists have the
/// name of the list, "@name" is an attribute and "#text" the text of an element. An object with one member that is
/// itself an object is the outermost element. Names that XML does not allow are changed, which is remarked on.
void writeXml(const TreeReading& read, Output& output);

} // namespace nivex::data
