#pragma once

#include "NivexWorkers/Data/Model/Input.hpp"
#include "NivexWorkers/Data/Model/TreeEvents.hpp"

namespace nivex::data {

/// Reads a property list, XML or binary. Whole numbers keep all digits, dates are moments of UTC
/// ("2024-01-31T09:30:00Z"), and references of archived objects become objects with the one member "CF$UID".
///
/// errors   unreadableSource for what is no property list; resourceLimit for deep nesting, and for a binary list whose
///          objects contain each other so often that its values would be millions of times the file
void readPlist(const Input& input, TreeEvents& events);

} // namespace nivex::data
