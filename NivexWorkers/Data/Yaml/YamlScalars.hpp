#pragma once

#include "NivexWorkers/Data/Model/Scalar.hpp"

#include <string>
#include <string_view>

namespace nivex::data {

/// What a bare value of YAML stands for, by the core schema; days and moments are dates.
///
/// storage  keeps the text of a number that JSON would write otherwise
Scalar plainYamlScalar(std::string_view text, std::string& storage);

} // namespace nivex::data
