#pragma once

#include "NivexWorkers/Data/Model/Input.hpp"
#include "NivexWorkers/Data/Model/TreeEvents.hpp"

namespace nivex::data {

/// Reads YAML. Bare values have the types of the core schema (YAML 1.2): "no" is a text, and so are digits behind a
/// leading zero. Aliases are expanded, and so are merged mappings ("<<"), whose members stand behind those of the
/// mapping itself. Several documents become an array of them. Memory is bounded by the nesting, and by what has an
/// anchor.
///
/// errors   unreadableSource with the line of the first mistake, and for keys that are no scalars; resourceLimit for
/// deep
///          nesting, and for aliases that would make too much of too little
void readYaml(const Input& input, TreeEvents& events);

} // namespace nivex::data
