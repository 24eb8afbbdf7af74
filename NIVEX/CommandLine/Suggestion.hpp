#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace nivex::commandline {

/// The name that a mistyped word most likely means: the first that begins with it, or one at most a third of its
/// letters away; none when nothing is near.
std::optional<std::string> nearestName(std::string_view word, const std::vector<std::string>& names);

/// " Vouliez-vous dire « … » ?" for the nearest name, or nothing.
std::string suggestion(std::string_view word, const std::vector<std::string>& names);

} // namespace nivex::commandline
