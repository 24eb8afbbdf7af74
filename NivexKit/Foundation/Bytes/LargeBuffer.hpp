#pragma once

#include <cstddef>
#include <string>

namespace nivex {

/// Makes room for `size` bytes and asks the kernel for large pages: filling a fresh buffer of many megabytes otherwise
/// costs a page fault for every 4 KiB. A kernel without them makes it no worse.
void reserveLarge(std::string& buffer, std::size_t size);

} // namespace nivex
