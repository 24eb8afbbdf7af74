#pragma once

#include <string>
#include <vector>

namespace nivex::commandline {

/// One call of the program `nivex`, without its name. Returns the exit status.
int runCommandLine(const std::vector<std::string>& arguments);

} // namespace nivex::commandline
