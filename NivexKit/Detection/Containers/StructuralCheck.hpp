#pragma once

#include "NivexKit/Formats/FormatID.hpp"
#include "NivexKit/Foundation/Bytes/ByteSource.hpp"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

namespace nivex {

/// What is wrong with a file.
struct Damage {
    std::string reason; // as a user reads it
    std::string cause;  // a technical note: the box, chunk or marker, and what of it is wrong

    bool operator==(const Damage&) const = default;
};

/// Tells whether a file of a known format is whole: end markers, boxes and chunks. It looks at a few kilobytes.
class StructuralCheck {
public:
    /// How the file is damaged; none when it is sound, cannot be opened, or its format has no check.
    static std::optional<Damage> problem(const std::filesystem::path& url, const FormatID& format, std::int64_t size);

    /// The same for bytes that are open already.
    static std::optional<Damage> problem(const ByteSource& source, const FormatID& format);
};

/// Walks the boxes of an ISO base media file. What decoders do without may be cut or anything: data behind the last
/// box, and boxes other than the index and the media.
std::optional<Damage> isoMediaProblem(const ByteSource& source);

/// Walks the chunks of a RIFF file. Sizes that a live recording leaves open (0 and 0xFFFFFFFF), missing padding, data
/// behind the end and chunks cut behind the sound are no problem.
std::optional<Damage> riffProblem(const ByteSource& source);

} // namespace nivex
