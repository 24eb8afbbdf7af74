#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace nivex::data {

/// A date of TOML as it is written best ("2024-01-31T09:30:00Z", without a zone, a day or a time of day alone); none
/// for a text that is none.
std::optional<std::string> tomlDate(std::string_view text);

} // namespace nivex::data
