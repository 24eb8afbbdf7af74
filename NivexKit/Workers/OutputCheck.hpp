#pragma once

#include "NivexKit/Workers/WorkerProtocol.hpp"

#include <filesystem>
#include <vector>

namespace nivex {

enum class OutputKinds { files, filesAndFolders };

/// The files that a worker says it wrote, as full paths in its order. Each must be a file of its own in the working
/// directory: reached without a link, regular, known by no second name, not empty, named once. Where folders are
/// allowed what is in them is not looked at. Call it when the worker has ended, or it could still change them.
///
/// errors  ConversionError: `encodingFailed` when there is none, `outputVerificationFailed` for any that is not so
std::vector<std::filesystem::path> checkedOutputs(const std::filesystem::path& workingDirectory,
                                                  const WorkerOutputs& outputs,
                                                  OutputKinds allowed = OutputKinds::files);

} // namespace nivex
