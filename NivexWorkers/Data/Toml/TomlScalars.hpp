#pragma once

#include "NivexWorkers/Data/Model/Scalar.hpp"

#include <optional>
#include <string>
#include <string_view>

namespace nivex::data {

struct TomlScalar {
    ScalarKind type = ScalarKind::null;
    std::string text;
};

/// What a value without quotes means: a number as JSON writes it, a boolean, a date, or one of the numbers that only
/// texts can tell ("inf", "nan"). None for what TOML does not know.
std::optional<TomlScalar> bareTomlScalar(std::string_view text);

/// Whether every reader takes a number, as JSON writes it, for what it is: whole numbers of 64 bits, others within the
/// range of a double.
bool fitsTomlNumber(std::string_view jsonNumber);

} // namespace nivex::data
