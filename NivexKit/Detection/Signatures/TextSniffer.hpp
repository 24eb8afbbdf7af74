#pragma once

#include "NivexKit/Detection/Signatures/SniffResult.hpp"

#include <cstddef>
#include <span>

namespace nivex {

/// What a head says that no binary signature fits: the format of a text, plain text, or nothing.
SniffResult sniffText(std::span<const std::byte> head);

} // namespace nivex
