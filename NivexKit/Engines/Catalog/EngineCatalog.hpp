#pragma once

#include "NivexKit/Contract/ConversionEngine.hpp"
#include "NivexKit/Detection/SourceProbe.hpp"
#include "NivexKit/Formats/FormatRegistry.hpp"
#include "NivexKit/Foundation/ResourceLimits.hpp"
#include "NivexKit/Workers/WorkerPool.hpp"

#include <memory>
#include <set>

namespace nivex {

/// The engines of NIVEX: the only place that names them all. What it makes shares the pool that it is given.
struct EngineCatalog {
    /// All twelve in their fixed order, those that do not work on this machine among them. The order settles which of
    /// two equal routes is taken.
    static EngineList standard(const FormatRegistry& registry, const std::shared_ptr<WorkerPool>& pool);

    /// The decoders that complete what detection reads from headers. Starts nothing; the registry outlives the probes.
    static SourceProbes deepProbes(const FormatRegistry& registry, const ResourceLimits& limits,
                                   const std::shared_ptr<WorkerPool>& pool);

    /// The formats that are recognised and wait to be read: no edge of any engine leaves them.
    static std::set<FormatID> pendingValidationSources(const FormatRegistry& registry,
                                                       const std::shared_ptr<WorkerPool>& pool);
};

} // namespace nivex
