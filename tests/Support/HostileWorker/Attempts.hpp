#pragma once

#include "NivexKit/Contract/EngineRequest.hpp"

#include <functional>
#include <map>
#include <string>

namespace nivex::testing {

/// One try at something; returns what became of it: "done", the name of the error, or what it found out. The base name
/// of the outputs is its object where it needs one.
using Attempt = std::function<std::string(const EngineRequest&)>;

using Attempts = std::map<std::string, Attempt>;

Attempts attemptsOnFiles();
Attempts attemptsOnProcesses();
Attempts attemptsOnMemory();

/// What became of a system call.
std::string outcome(long result);

/// What became of opening a file; closes it again.
std::string opened(const std::filesystem::path& path, int flags);

} // namespace nivex::testing
