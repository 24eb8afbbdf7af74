#pragma once

#include "NivexWorkers/Data/Model/Input.hpp"
#include "NivexWorkers/Data/Model/TreeEvents.hpp"

namespace nivex::data {

/// Reads XML as nested data: an object with the outermost element as its only member. An element is an object of its
/// attributes ("@name"), its elements and its text ("#text"); where elements of its path have neither attributes nor
/// elements, it is its text alone. Elements that occur twice in one place are lists wherever that path occurs. Values
/// have the types that all of their path allow, as in a column of a table. Memory is bounded by the number of different
/// paths, and by elements whose parts are out of order.
///
/// remarks  on text between elements, whose place is not kept, and on entities that are defined outside the document
/// errors   those of readXml; resourceLimit for a million paths
void readXmlTree(const Input& input, TreeEvents& events);

} // namespace nivex::data
