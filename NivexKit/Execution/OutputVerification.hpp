#pragma once

#include "NivexKit/Contract/EngineRequest.hpp"
#include "NivexKit/Contract/ExpectedOutputs.hpp"
#include "NivexKit/Execution/Placing/MadeFile.hpp"
#include "NivexKit/Formats/FormatRegistry.hpp"
#include "NivexKit/Foundation/Files/OpenFolder.hpp"

#include <filesystem>
#include <vector>

namespace nivex {

/// Checks what a step hands back before anything else sees it, and settles what each file is called: the base name
/// asked for, with whatever the engine put behind it, and an extension of the format itself.
///
/// Each output must lie in `workspace` below a folder of a step, be reached without a link, be named once, be a file
/// (or a folder of files, where one is expected) and not the input by another name, have the content of its format, and
/// be one of no more than are expected. It gets the permissions of the user's other new files.
///
/// errors  ConversionError: `encodingFailed` when there is none, `outputVerificationFailed` for all else
std::vector<MadeFile> verifiedOutputs(const std::vector<std::filesystem::path>& outputs, const EngineRequest& request,
                                      const ExpectedOutputs& expected, const OpenFolder& workspace,
                                      const FormatRegistry& registry);

} // namespace nivex
