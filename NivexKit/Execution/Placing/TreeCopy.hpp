#pragma once

#include "NivexKit/Execution/Placing/ExclusiveMove.hpp"

namespace nivex {

/// The system's reason for a refusal; 0 is success.
using ErrorNumber = int;

/// Copies a file's contents, permissions and date into an open file and waits until the disk has them.
ErrorNumber copyContents(const Place& file, const FileDescriptor& to);

/// Copies a file, or a folder of files and folders, to a name that is free.
ErrorNumber copyEntry(const Place& entry, const Place& copy);

} // namespace nivex
