#pragma once

#include "NivexKit/Detection/DetectionResult.hpp"
#include "NivexKit/Detection/Signatures/SniffResult.hpp"
#include "NivexKit/Formats/FormatRegistry.hpp"

#include <span>
#include <vector>

namespace nivex {

/// What a file is taken for, from its name and its content together.
struct FormatResolution {
    const FileFormat* format = nullptr; // null when neither tells; owned by the registry
    DetectionConfidence confidence = DetectionConfidence::unknown;
    std::vector<DetectionIssue> issues; // at most one: extensionMismatch or contentDoesNotMatch

    bool operator==(const FormatResolution&) const = default;
};

/// Settles the format of a file by the cases of docs/decisions/detection.md.
///
/// declared          what the extension declares; null when it declares nothing
/// extensionFormats  every format that carries the extension, in catalogue order
/// content           what the first bytes and the inspection of containers say
FormatResolution resolve(const FileFormat* declared, std::span<const FileFormat* const> extensionFormats,
                         const SniffResult& content, const FormatRegistry& registry);

/// True when content like this may be that of a file of the format: it shows the format, or the format shows nothing
/// of its own and the content nothing else. False for formats that the registry does not know.
bool mayBe(const FormatID& format, const SniffResult& content, const FormatRegistry& registry);

} // namespace nivex
