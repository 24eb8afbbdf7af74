#pragma once

#include "NIVEX/CommandLine/CommandDescription.hpp"

#include <string>
#include <string_view>

namespace nivex::commandline {

/// The manual page of the program in the language in use, in the macros of man(7).
std::string manualPage(const CommandDescription& program, std::string_view version);

} // namespace nivex::commandline
