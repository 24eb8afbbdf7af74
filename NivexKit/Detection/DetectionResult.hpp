#pragma once

#include "NivexKit/Formats/FileFormat.hpp"
#include "NivexKit/Formats/SourceProperties.hpp"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace nivex {

/// How sure the detection is; a higher case is surer. The values are persisted.
enum class DetectionConfidence {
    unknown,
    extensionOnly,     // only the file name speaks for the format
    contentCompatible, // the content agrees
    verified,          // a reader of the format has confirmed the file
};

std::string_view storedName(DetectionConfidence confidence);
/// The French label ("Vérifié").
std::string label(DetectionConfidence confidence);

/// A problem that detection found. Every kind but `extensionMismatch` blocks conversion.
class DetectionIssue {
public:
    enum class Kind {
        unreadable,
        extensionMismatch,
        contentDoesNotMatch,
        corrupted,
        tooLarge,
        tooManyPixels,
        empty,
        directory,
        encrypted,
        executable,
    };

    static DetectionIssue unreadable(std::string reason) { return {Kind::unreadable, std::move(reason)}; }
    static DetectionIssue extensionMismatch(std::string declared)
    {
        return {Kind::extensionMismatch, std::move(declared)};
    }
    static DetectionIssue contentDoesNotMatch(std::string formatName)
    {
        return {Kind::contentDoesNotMatch, std::move(formatName)};
    }
    static DetectionIssue corrupted(std::string reason) { return {Kind::corrupted, std::move(reason)}; }
    /// `limit` is the largest accepted size as a person reads it.
    static DetectionIssue tooLarge(std::string limit) { return {Kind::tooLarge, std::move(limit)}; }
    static DetectionIssue tooManyPixels(std::int64_t limitMegapixels)
    {
        return {Kind::tooManyPixels, std::to_string(limitMegapixels)};
    }
    static DetectionIssue empty() { return {Kind::empty, {}}; }
    static DetectionIssue directory() { return {Kind::directory, {}}; }
    static DetectionIssue encrypted() { return {Kind::encrypted, {}}; }
    static DetectionIssue executable() { return {Kind::executable, {}}; }

    /// The same issue with a note of what exactly was found, in English and for developers ("IHDR: no such chunk"). It
    /// is kept as technicalNote makes it.
    DetectionIssue because(std::string_view cause) const;

    Kind kind() const { return kind_; }
    std::string_view caseName() const;
    std::string message() const;
    bool isBlocking() const { return kind_ != Kind::extensionMismatch; }
    /// Empty where nobody said more than the message does.
    const std::string& cause() const { return cause_; }

    /// What a person is told is the same; the causes do not count.
    bool operator==(const DetectionIssue& other) const { return kind_ == other.kind_ && payload_ == other.payload_; }

private:
    DetectionIssue(Kind kind, std::string payload) : kind_{kind}, payload_{std::move(payload)} {}

    Kind kind_;
    std::string payload_; // what the message says besides its fixed text
    std::string cause_;
};

/// What a file is, how sure that is, what was measured and what stands in the way of converting it.
struct DetectionResult {
    std::filesystem::path url;
    std::optional<FileFormat> format;         // what the system treats the file as
    std::optional<FileFormat> declaredFormat; // what the extension declares
    DetectionConfidence confidence = DetectionConfidence::unknown;
    std::int64_t fileSize = 0; // bytes
    SourceProperties properties;
    std::vector<DetectionIssue> issues; // in the order found

    const std::filesystem::path& id() const { return url; }
    std::filesystem::path fileName() const { return url.filename(); }
    bool hasExtensionMismatch() const;
    /// The first issue that blocks; null when none does.
    const DetectionIssue* blockingIssue() const;
    bool isUsable() const { return format && !blockingIssue(); }

    bool operator==(const DetectionResult&) const = default;
};

} // namespace nivex
