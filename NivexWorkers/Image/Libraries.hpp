#pragma once

namespace nivex::image {

/// Loads and sets up the libraries, starting no thread. Once, before anything else.
void startLibraries();

} // namespace nivex::image
