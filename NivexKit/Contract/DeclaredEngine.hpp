#pragma once

#include "NivexKit/Contract/ConversionEngine.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"

namespace nivex {

/// An engine that has its place in the catalogue while its work is still to be built: it is unavailable, says why, and
/// offers no edge. An engine leaves this base when its work arrives.
class DeclaredEngine : public ConversionEngine {
public:
    EngineID id() const override { return id_; }
    std::string displayName() const override { return displayName_; }
    EngineAvailability availability() const override { return EngineAvailability::unavailable(reason_); }
    std::span<const EngineCapability> capabilities() const override { return {}; }
    ConversionLoss expectedLosses(const FileFormat& source, const SourceProperties& properties,
                                  const FileFormat& target) const override;
    /// Throws `engineUnavailable`.
    std::vector<std::filesystem::path> convert(const EngineRequest& request, const ProgressCallback& progress,
                                               const CancellationFlag& cancellation) const override;

protected:
    static constexpr Text notBuilt = "Ce moteur n'est pas encore intégré à NIVEX"_fr;

    DeclaredEngine(EngineID id, Text displayName, Text reason = notBuilt)
        : id_{std::move(id)}, displayName_{displayName}, reason_{reason}
    {
    }

private:
    EngineID id_;
    Text displayName_;
    Text reason_;
};

} // namespace nivex
