#pragma once

#include "NivexWorkers/Data/Model/Input.hpp"
#include "NivexWorkers/Data/Model/TreeEvents.hpp"

namespace nivex::data {

/// Reads TOML 1.0. Tables come in the order in which they first occur, numbers digit by digit (underscores and other
/// bases aside), infinities and NaN as texts. The document is held: its tables may go on anywhere in it.
///
/// errors   unreadableSource with the line of the first mistake, double keys among them; resourceLimit for deep nesting
///          and for a document of more than 64 MB
void readToml(const Input& input, TreeEvents& events);

} // namespace nivex::data
