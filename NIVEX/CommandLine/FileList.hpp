#pragma once

#include "NIVEX/CommandLine/Arguments.hpp"
#include "NIVEX/CommandLine/Console.hpp"
#include "NIVEX/Model/FileList.hpp"

namespace nivex::commandline {

/// Says what could not be read or was passed over.
void tell(Console& console, const FileList& list);

/// Reads the list of names and walks the folders of a selection; without `recursive` a folder is listed as it is, for
/// detection to refuse.
FileList listFiles(const FileSelection& selection);

} // namespace nivex::commandline
