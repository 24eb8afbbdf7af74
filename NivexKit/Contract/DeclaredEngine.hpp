#pragma once

#include "NivexKit/Contract/ConversionEngine.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"

namespace nivex {

/// An engine that has its place in the catalogue while its work is still to be built: it is unavailable, says why, and
/// offers no edge.
class DeclaredEngine : public ConversionEngine {
public:
    static constexpr Text notBuilt = "Ce moteur n'est pas encore intégré à NIVEX"_fr;

    struct Declaration {
        EngineID id;
        Text displayName;
        Text reason = notBuilt;
        std::vector<std::string> dependencies = {};
        /// The time limit of its own, if it has one.
        std::chrono::seconds (*timeout)(const ResourceLimits&) = nullptr;
    };

    explicit DeclaredEngine(Declaration declaration) : declaration_{std::move(declaration)} {}

    EngineID id() const override { return declaration_.id; }
    std::string displayName() const override { return declaration_.displayName; }
    std::vector<std::string> dependencies() const override { return declaration_.dependencies; }
    EngineAvailability availability() const override { return EngineAvailability::unavailable(declaration_.reason); }
    std::span<const EngineCapability> capabilities() const override { return {}; }
    ConversionLoss expectedLosses(const FileFormat& source, const SourceProperties& properties,
                                  const FileFormat& target, const ConversionOptions& options) const override;
    std::optional<std::chrono::seconds> timeout(const EngineRequest& request) const override;
    /// Throws `engineUnavailable`.
    std::vector<std::filesystem::path> convert(const EngineRequest& request, const ProgressCallback& progress,
                                               const CancellationFlag& cancellation) const override;

private:
    Declaration declaration_;
};

} // namespace nivex
