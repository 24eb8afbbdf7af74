#pragma once

#include "NivexKit/Detection/DetectionResult.hpp"
#include "NivexKit/Detection/Signatures/SniffResult.hpp"
#include "NivexKit/Detection/SourceProbe.hpp"
#include "NivexKit/Formats/FormatRegistry.hpp"
#include "NivexKit/Foundation/Bytes/ByteSource.hpp"
#include "NivexKit/Foundation/ResourceLimits.hpp"

#include <cstddef>
#include <filesystem>
#include <optional>
#include <span>
#include <vector>

namespace nivex {

/// Tells what a file is by its content and its name, measures it, and says what stands in the way of converting it.
/// It never throws: every problem is an issue of the result. A value; any thread may use it. The registry and the
/// probes outlive it.
class FileDetector {
public:
    /// How many leading bytes the sniffer is given.
    static constexpr std::size_t headerLength = 4096;

    /// deepProbes  the decoders' measurements that `detectDeeply` adds
    explicit FileDetector(const FormatRegistry& registry = FormatRegistry::standard(),
                          const ResourceLimits& limits = ResourceLimits::standard(),
                          const SourceProbes& deepProbes = SourceProbes::none())
        : registry_{&registry}, limits_{limits}, deepProbes_{&deepProbes}
    {
    }

    /// What the file is, from bounded reads of it and without starting a program.
    DetectionResult detect(const std::filesystem::path& url) const;

    /// One result per file in the order given, from several threads where there are several files for each.
    std::vector<DetectionResult> detect(std::span<const std::filesystem::path> urls) const;

    /// As `detect`, and sound, films and scenes completed with the measurements of their decoder: what they lose
    /// depends on their streams, materials and skeletons, which no header tells.
    std::vector<DetectionResult> detectForPlanning(std::span<const std::filesystem::path> urls) const;

    /// The result completed with the measurements of the decoders. A result that is not usable stays as it is.
    DetectionResult detectDeeply(DetectionResult result) const;

    /// True when an image decoder of this machine reads the format.
    bool isReadableByImageIO(const FileFormat& format) const;

private:
    template <class Detect>
    std::vector<DetectionResult> detectAll(std::span<const std::filesystem::path> urls, Detect detectOne) const;
    std::optional<FileSource> openedSource(DetectionResult& result) const;
    void measure(const SourceProbes& probes, HeaderBytes& bytes, DetectionResult& result) const;

    const FormatRegistry* registry_;
    ResourceLimits limits_;
    const SourceProbes* deepProbes_;
};

} // namespace nivex
