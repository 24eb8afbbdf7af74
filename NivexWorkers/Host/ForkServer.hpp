#pragma once

#include "NivexKit/Workers/WorkerProtocol.hpp"

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace nivex::worker {

/// The work of one worker program. Each function runs in a child of its own, inside the sandbox, on the child's only
/// thread, and may start others. What it throws as ConversionError is reported as it is; any other exception becomes an
/// error in plain words. A function that is left out refuses its task.
struct Handlers {
    /// Loads the libraries before the first child is forked. It must start no thread: a child has only the thread that
    /// forked it, and would wait for the others for ever.
    std::function<void()> warmUp;

    /// The libraries that do the work, with their versions.
    std::function<std::vector<LibraryVersion>()> libraries;

    /// Converts; returns what it wrote below the working directory.
    std::function<std::vector<std::filesystem::path>(const EngineID&, const EngineRequest&, const ProgressCallback&)>
        convert;

    /// Measures the input, writing nothing.
    std::function<SourceProperties(const EngineID&, const EngineRequest&)> probe;

    /// Draws one page of the input, counted from 0; returns the picture it wrote below the working directory.
    std::function<std::filesystem::path(const EngineID&, const EngineRequest&, std::int64_t page)> render;

    /// Speaks at most this version of Landlock, to see that nothing rests on what is newer.
    std::optional<int> maxLandlockVersion = std::nullopt;
};

/// The whole main program of a worker: forks a child for each request that arrives on the control socket, and ends when
/// the application does or when there was no work for a while. Returns the exit code.
int serve(int argumentCount, char** arguments, const Handlers& handlers);

} // namespace nivex::worker
