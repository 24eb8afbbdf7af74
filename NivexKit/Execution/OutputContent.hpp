#pragma once

#include "NivexKit/Execution/Placing/ExclusiveMove.hpp"
#include "NivexKit/Formats/FormatRegistry.hpp"

namespace nivex {

/// Looks at the content of a file that an engine has made.
/// errors  ConversionError::outputVerificationFailed: it cannot be read, is a program or a script, or shows another
///         format than `expected`; where the content of a format cannot tell, only programs and scripts are refused
void requireContent(const Place& file, const FileFormat& expected, const FormatRegistry& registry);

/// The same for a file of a folder, which may be of any format.
void requireNoProgram(const Place& file, const FormatRegistry& registry);

} // namespace nivex
