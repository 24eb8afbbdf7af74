#pragma once

#include "NivexKit/Contract/EngineAvailability.hpp"
#include "NivexKit/Contract/EngineCapability.hpp"
#include "NivexKit/Contract/EngineID.hpp"
#include "NivexKit/Contract/EngineRequest.hpp"
#include "NivexKit/Contract/ExpectedOutputs.hpp"
#include "NivexKit/Formats/SourceProperties.hpp"
#include "NivexKit/Foundation/Running/CancellationFlag.hpp"

#include <chrono>
#include <filesystem>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace nivex {

/// Turns files of some formats into files of others. Immutable once built: what it offers is decided by its constructor
/// from the formats of the registry; every member may be called from any thread.
class ConversionEngine {
public:
    virtual ~ConversionEngine() = default;

    virtual EngineID id() const = 0;
    /// As settings and diagnostics show it.
    virtual std::string displayName() const = 0;
    /// What the engine needs besides NIVEX itself.
    virtual std::vector<std::string> dependencies() const { return {}; }
    virtual EngineAvailability availability() const = 0;
    virtual std::span<const EngineCapability> capabilities() const = 0;

    /// What this engine expects to lose of this particular file on one of its edges, converted with these options.
    virtual ConversionLoss expectedLosses(const FileFormat& source, const SourceProperties& properties,
                                          const FileFormat& target, const ConversionOptions& options) const = 0;

    /// True for a format of which it writes files anew without their position or all their metadata, as the metadata
    /// policy of a request into the same format asks, and without touching what they show.
    virtual bool removesMetadata(const FileFormat&) const { return false; }

    /// A time limit of the engine's own; none leaves it to the runner.
    virtual std::optional<std::chrono::seconds> timeout(const EngineRequest&) const { return std::nullopt; }

    /// What `convert` may hand back for a request; more is refused.
    virtual ExpectedOutputs expectedOutputs(const EngineRequest&) const { return {}; }

    /// The other files that a file refers to by name, as paths from the folder of that file ("textures/wood.png"): what
    /// is found of them below the source's folder is open to `convert` as its companions. Asked of the input and then
    /// of each companion, which may refer to more.
    ///
    /// This reads foreign bytes in the program itself, so it goes no further than a bounded walk over the structure,
    /// and never throws: what cannot be read refers to nothing.
    virtual std::vector<std::filesystem::path> references(const EngineRequest&, const std::filesystem::path&) const
    {
        return {};
    }

    /// Converts one file, or joins several, blocking. Returns what it wrote, at least one file, all below the working
    /// directory. Throws ConversionError; `cancelled` soon after the flag is set where the edge supports cancellation.
    virtual std::vector<std::filesystem::path> convert(const EngineRequest& request, const ProgressCallback& progress,
                                                       const CancellationFlag& cancellation) const = 0;
};

/// Engines in the order of the catalogue, shared by planner and runner.
using EngineList = std::vector<std::shared_ptr<const ConversionEngine>>;

} // namespace nivex
