#pragma once

#include "NivexKit/Detection/Signatures/SniffResult.hpp"

#include <cstddef>
#include <span>

namespace nivex {

class ByteSource;

/// What the first bytes of a file say. UTF-32, and UTF-16 without a mark, is recognised like any text; text in an
/// older encoding, which states nothing, by its ASCII part.
SniffResult sniffedContent(std::span<const std::byte> head);

/// Whether a text whose head is JSON stays so to its end, looked at as far as `longest` bytes; records of JSON one a
/// line do not. A text of another encoding than UTF-8 and marked UTF-16 is believed.
bool staysJson(const ByteSource& source, std::size_t longest = 1024 * 1024);

} // namespace nivex
