#pragma once

#include "NivexKit/Detection/DetectionResult.hpp"
#include "NivexKit/Detection/HeaderBytes.hpp"
#include "NivexKit/Formats/SourceProperties.hpp"

#include <filesystem>
#include <initializer_list>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace nivex {

/// A file that is to be measured.
struct ProbeSource {
    const std::filesystem::path& url;
    const FormatID& format; // what the file was found to be
    HeaderBytes& bytes;
};

struct ProbeReport {
    bool isConfirmed = false;            // a reader of the format has understood the file
    std::optional<DetectionIssue> issue; // what stands in the way: encrypted, corrupted or unreadable
};

/// Measures files of the formats that it is registered for.
class SourceProbe {
public:
    virtual ~SourceProbe() = default;

    /// True when it answers for an image decoder, so that a format it is registered for can be decoded.
    virtual bool decodesImages() const { return false; }

    /// Enters into `properties` what it finds and leaves alone what it cannot tell. Reports, never throws; any thread.
    virtual ProbeReport probe(const ProbeSource& source, SourceProperties& properties) const = 0;
};

/// Which probes measure which format. Filled once, then read by any thread.
class SourceProbes {
public:
    void add(std::shared_ptr<const SourceProbe> probe, std::span<const FormatID> formats);

    /// The probes of a format in the order in which they were added.
    std::span<const std::shared_ptr<const SourceProbe>> of(const FormatID& format) const;

    /// The probes of the core itself, which read headers only and are quick enough for every detection.
    static const SourceProbes& builtIn();

    /// No probes: for a program that starts no decoder.
    static const SourceProbes& none();

private:
    std::unordered_map<FormatID, std::vector<std::shared_ptr<const SourceProbe>>> byFormat_;
};

} // namespace nivex
