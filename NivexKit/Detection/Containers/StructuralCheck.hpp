#pragma once

#include "NivexKit/Formats/FormatID.hpp"
#include "NivexKit/Foundation/Bytes/ByteSource.hpp"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

namespace nivex {

/// Tells whether a file of a known format is whole: end markers, boxes and chunks. It looks at a few kilobytes.
class StructuralCheck {
public:
    /// Why the file is damaged, as a user reads it; none when it is sound, cannot be opened, or its format has no
    /// check.
    static std::optional<std::string> problem(const std::filesystem::path& url, const FormatID& format,
                                              std::int64_t size);

    /// The same for bytes that are open already.
    static std::optional<std::string> problem(const ByteSource& source, const FormatID& format);
};

/// Walks the boxes of an ISO base media file. What decoders do without may be cut or anything: data behind the last
/// box, and boxes other than the index and the media.
std::optional<std::string> isoMediaProblem(const ByteSource& source);

/// Walks the chunks of a RIFF file. Sizes that a live recording leaves open (0 and 0xFFFFFFFF), missing padding, data
/// behind the end and chunks cut behind the sound are no problem.
std::optional<std::string> riffProblem(const ByteSource& source);

} // namespace nivex
