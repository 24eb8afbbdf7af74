#pragma once

#include <filesystem>
#include <mutex>
#include <set>

namespace nivex {

/// Removes the leftovers of killed runs from the folders that this run of the program uses, each folder once. Any
/// thread.
class LeftoverSweep {
public:
    /// Sweeps `folder`, and with the first one the system's temporary folder, unless that has been done. A caller that
    /// comes second does not wait for the first.
    void visit(const std::filesystem::path& folder);

private:
    std::mutex mutex_;
    std::set<std::filesystem::path> visited_;
};

} // namespace nivex
