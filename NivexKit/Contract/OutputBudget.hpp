#pragma once

#include "NivexKit/Formats/FormatID.hpp"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <span>

namespace nivex {

/// The rules of a target size, the same for every engine: who offers one, which values make sense, and whether the
/// result keeps to it. Making files smaller is the engines' work.
struct OutputBudget {
    /// The target formats that offer a target size.
    static std::span<const FormatID> targets();
    static bool isOffered(const FormatID& target);

    /// Throws `unsupported` unless the target size is absent or between 1 byte and 1 GB. What a person may choose is
    /// narrower (the range of the setting); here only nonsense is refused.
    static void validate(std::optional<std::int64_t> maximumBytes);

    /// Throws `encodingFailed` for the first file that is larger than the maximum, and `outputVerificationFailed` for
    /// one that cannot be measured.
    static void verify(std::span<const std::filesystem::path> files, std::int64_t maximumBytes);
};

} // namespace nivex
