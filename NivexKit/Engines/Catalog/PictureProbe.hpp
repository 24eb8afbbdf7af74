#pragma once

#include "NivexKit/Detection/SourceProbe.hpp"
#include "NivexKit/Formats/FormatRegistry.hpp"
#include "NivexKit/Foundation/ResourceLimits.hpp"
#include "NivexKit/Workers/WorkerPool.hpp"

namespace nivex {

/// Measures pictures with the decoders of the worker program "image". A file that they do not open is damaged; where
/// the program itself is missing or ends, nothing is said.
class PictureProbe final : public SourceProbe {
public:
    /// Registry and pool outlive the probe.
    PictureProbe(const FormatRegistry& registry, const ResourceLimits& limits, WorkerPool& pool)
        : registry_{registry}, limits_{limits}, pool_{pool}
    {
    }

    bool decodesImages() const override { return true; }
    ProbeReport probe(const ProbeSource& source, SourceProperties& properties) const override;

private:
    const FormatRegistry& registry_;
    ResourceLimits limits_;
    WorkerPool& pool_;
};

} // namespace nivex
