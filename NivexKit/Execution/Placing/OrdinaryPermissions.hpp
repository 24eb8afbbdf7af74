#pragma once

#include "NivexKit/Execution/Placing/ExclusiveMove.hpp"

namespace nivex {

/// Gives a file, or a folder with all in it, the permissions that the user's other new files have: read and write for
/// all, less what the process's file mode mask takes away. Ignores failures; links are left alone.
void setOrdinaryPermissions(const Place& place);

} // namespace nivex
