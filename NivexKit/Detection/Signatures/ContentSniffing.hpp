#pragma once

#include "NivexKit/Detection/Signatures/SniffResult.hpp"

#include <cstddef>
#include <span>

namespace nivex {

/// What the first bytes of a file say. Text in an encoding that states nothing (a Windows code page, UTF-16 without a
/// mark) is recognised by its ASCII part.
SniffResult sniffedContent(std::span<const std::byte> head);

} // namespace nivex
