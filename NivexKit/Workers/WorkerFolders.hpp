#pragma once

#include <filesystem>
#include <vector>

namespace nivex {

/// The running program as an absolute path: as the kernel shows it, or, where it shows nothing (/proc is not there), as
/// it was started; empty when it was started by a relative path.
std::filesystem::path runningProgram();

/// Where a program's worker programs lie: beside it in the build tree, or in the installed libexec folder. All paths
/// are absolute; for an unknown program only the folder of the system's installation is named.
std::vector<std::filesystem::path> workerFolders(const std::filesystem::path& program);

} // namespace nivex
