#pragma once

#include "NivexKit/Contract/EngineID.hpp"
#include "NivexKit/Detection/SourceProbe.hpp"
#include "NivexKit/Formats/FormatRegistry.hpp"
#include "NivexKit/Foundation/ResourceLimits.hpp"
#include "NivexKit/Workers/WorkerPool.hpp"

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace nivex {

/// Measures files with a worker program. A file that the program does not understand is damaged; where the program
/// itself is missing or ends, nothing is said.
class WorkerProbe final : public SourceProbe {
public:
    /// What one program measures.
    struct Row {
        std::string program; // "image" is the program nivex-worker-image
        EngineID engine;     // which its handler is told
        std::vector<FormatID> formats;
        /// Enters what was found into what is known already; what was found counts where it is left to itself.
        void (*enter)(const SourceProperties& found, SourceProperties& known) = overwriteKnown;
        bool decodesImages = false;
    };

    /// Takes over each measurement that was found.
    static void overwriteKnown(const SourceProperties& found, SourceProperties& known);

    /// The registry outlives the probe.
    WorkerProbe(Row row, const FormatRegistry& registry, const ResourceLimits& limits, std::shared_ptr<WorkerPool> pool)
        : row_{std::move(row)}, registry_{registry}, limits_{limits}, pool_{std::move(pool)}
    {
    }

    bool decodesImages() const override { return row_.decodesImages; }
    ProbeReport probe(const ProbeSource& source, SourceProperties& properties) const override;

private:
    Row row_;
    const FormatRegistry& registry_;
    ResourceLimits limits_;
    std::shared_ptr<WorkerPool> pool_;
};

} // namespace nivex
