#pragma once

namespace nivex {

/// Opens what is closed of the three standard descriptors, on nothing. The first thing that a main program does: the
/// next file it opened would take the number, and messages would be written into it. Ends the program where that fails.
void openStandardDescriptors();

} // namespace nivex
