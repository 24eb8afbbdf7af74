#pragma once

#include "NivexKit/Contract/ConversionEngine.hpp"

#include <vector>

namespace nivex {

class FormatRegistry;

/// Converts text subtitles among SubRip, WebVTT, SubStation (read only) and plain text (written only), in memory.
class SubtitleEngine : public ConversionEngine {
public:
    explicit SubtitleEngine(const FormatRegistry& registry);

    EngineID id() const override { return "native-subtitle"; }
    std::string displayName() const override;
    EngineAvailability availability() const override { return EngineAvailability::available(); }
    std::span<const EngineCapability> capabilities() const override { return capabilities_; }
    ConversionLoss expectedLosses(const FileFormat& source, const SourceProperties& properties,
                                  const FileFormat& target, const ConversionOptions& options) const override;
    std::vector<std::filesystem::path> convert(const EngineRequest& request, const ProgressCallback& progress,
                                               const CancellationFlag& cancellation) const override;

private:
    std::vector<EngineCapability> capabilities_;
};

} // namespace nivex
