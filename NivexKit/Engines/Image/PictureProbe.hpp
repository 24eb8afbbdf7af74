#pragma once

#include "NivexKit/Detection/SourceProbe.hpp"
#include "NivexKit/Formats/FormatRegistry.hpp"
#include "NivexKit/Foundation/ResourceLimits.hpp"
#include "NivexKit/Workers/WorkerPool.hpp"

#include <memory>
#include <utility>
#include <vector>

namespace nivex {

/// Measures pictures with the decoders of the worker program "image". A file that they do not open is damaged; where
/// the program itself is missing or ends, nothing is said.
class PictureProbe final : public SourceProbe {
public:
    /// The registry outlives the probe.
    PictureProbe(const FormatRegistry& registry, const ResourceLimits& limits, std::shared_ptr<WorkerPool> pool)
        : registry_{registry}, limits_{limits}, pool_{std::move(pool)}
    {
    }

    /// The formats that it measures.
    static std::vector<FormatID> formats(const FormatRegistry& registry);

    bool decodesImages() const override { return true; }
    ProbeReport probe(const ProbeSource& source, SourceProperties& properties) const override;

private:
    const FormatRegistry& registry_;
    ResourceLimits limits_;
    std::shared_ptr<WorkerPool> pool_;
};

} // namespace nivex
