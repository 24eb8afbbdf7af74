#pragma once

#include "NivexWorkers/Data/Model/Input.hpp"
#include "NivexWorkers/Data/Model/TreeEvents.hpp"

namespace nivex::data {

/// Reads JSON, or a file with one JSON value on each line, which becomes an array of them. Memory stays bounded by the
/// nesting and the longest string. NaN and Infinity, which some programs write, become texts.
///
/// errors   unreadableSource with the line of the first mistake; resourceLimit for deep nesting
void readJson(const Input& input, TreeEvents& events);

} // namespace nivex::data
