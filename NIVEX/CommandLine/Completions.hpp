#pragma once

#include "NIVEX/CommandLine/CommandDescription.hpp"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace nivex::commandline {

enum class Shell { bash, zsh, fish };

std::optional<Shell> shellNamed(std::string_view name);
/// "bash|zsh|fish".
std::string shellNames();

/// The script with which a shell completes what is typed behind `nivex`: commands, options, their choices, formats,
/// files and folders.
///
/// formats  the words that name a format
std::string completionScript(Shell shell, const CommandDescription& program, const std::vector<std::string>& formats);

} // namespace nivex::commandline
