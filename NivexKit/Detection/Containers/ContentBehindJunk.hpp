#pragma once

#include "NivexKit/Detection/Signatures/SniffResult.hpp"
#include "NivexKit/Foundation/Bytes/ByteSource.hpp"

#include <optional>

namespace nivex {

/// What stands behind bytes that programs of the format pass over: anything in front of the frames of
/// an MP3 stream or of a ZIP archive. It reads some 130 KiB, so it is asked only about files whose beginning says
/// nothing that fits. None where there is nothing of that kind. It never fails.
std::optional<SniffResult> contentBehindJunk(const ByteSource& source);

} // namespace nivex
