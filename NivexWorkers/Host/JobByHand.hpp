#pragma once

#include "NivexWorkers/Host/ForkServer.hpp"

#include <string>
#include <vector>

namespace nivex::worker {

/// The word on the command line that asks for a job by hand.
inline constexpr const char* byHandWord = "--by-hand";

/// Does one conversion in this very process, without fork, sandbox or limits, so that a debugger, a profiler or a
/// sanitizer sees the libraries at work. For who develops NIVEX, on files that are trusted as any program's input is.
///
/// arguments  behind the word: engine, input, source format, target format, folder to write in; then, where they are
///            wanted, options as JSON, as a recipe stores them, and the input's companions
/// prints     the outputs; on standard error warnings, or the message and the cause of a failure
/// returns    the exit code: 0 when it worked, 1 when the work threw, 2 for wrong arguments
int jobByHand(const std::vector<std::string>& arguments, const Handlers& handlers);

} // namespace nivex::worker
