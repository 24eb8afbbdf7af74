#pragma once

#include "NivexKit/Contract/ConversionEngine.hpp"

#include <fstream>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace nivex::testing {

/// An edge that reports progress and can be cancelled.
inline EngineCapability edge(FormatID source, FormatID target, ConversionLoss losses = {},
                             ConversionOptionKinds options = {})
{
    return {.source = std::move(source),
            .target = std::move(target),
            .potentialLosses = losses,
            .options = options,
            .reportsProgress = true,
            .supportsCancellation = true};
}

/// The same, ending a route.
inline EngineCapability terminalEdge(FormatID source, FormatID target, ConversionLoss losses = {})
{
    EngineCapability capability = edge(std::move(source), std::move(target), losses);
    capability.isTerminal = true;
    return capability;
}

/// An engine that does what the test says. Left alone it expects the losses that its edge declares and writes one small
/// file where a single output goes.
class FakeEngine : public ConversionEngine {
public:
    using Losses = std::function<ConversionLoss(const FileFormat&, const SourceProperties&, const FileFormat&,
                                                const ConversionOptions&)>;
    using References =
        std::function<std::vector<std::filesystem::path>(const EngineRequest&, const std::filesystem::path& file)>;
    using Work = std::function<std::vector<std::filesystem::path>(const EngineRequest&, const ProgressCallback&,
                                                                  const CancellationFlag&)>;

    FakeEngine(EngineID id, std::vector<EngineCapability> edges) : id_{std::move(id)}, edges_{std::move(edges)} {}

    // Set before the engine is handed on; engines are immutable from then.
    EngineAvailability state = EngineAvailability::available();
    std::optional<std::chrono::seconds> timeLimit;
    ExpectedOutputs outputs;
    Losses losses;
    References referred;
    Work work;

    EngineID id() const override { return id_; }
    std::string displayName() const override { return "Moteur " + id_.rawValue; }
    EngineAvailability availability() const override { return state; }
    std::span<const EngineCapability> capabilities() const override { return edges_; }
    ExpectedOutputs expectedOutputs(const EngineRequest&) const override { return outputs; }
    std::optional<std::chrono::seconds> timeout(const EngineRequest&) const override { return timeLimit; }

    ConversionLoss expectedLosses(const FileFormat& source, const SourceProperties& properties,
                                  const FileFormat& target, const ConversionOptions& options) const override
    {
        if (losses)
            return losses(source, properties, target, options);
        for (const EngineCapability& each : edges_)
            if (each.source == source.id && each.target == target.id)
                return each.potentialLosses;
        return {};
    }

    std::vector<std::filesystem::path> references(const EngineRequest& request,
                                                  const std::filesystem::path& file) const override
    {
        return referred ? referred(request, file) : std::vector<std::filesystem::path>{};
    }

    std::vector<std::filesystem::path> convert(const EngineRequest& request, const ProgressCallback& progress,
                                               const CancellationFlag& cancellation) const override
    {
        if (work)
            return work(request, progress, cancellation);
        const std::filesystem::path output = request.outputLocation();
        std::ofstream{output, std::ios::binary} << request.targetFormat.id.rawValue;
        progress(1.0);
        return {output};
    }

private:
    EngineID id_;
    std::vector<EngineCapability> edges_;
};

inline std::shared_ptr<FakeEngine> fakeEngine(EngineID id, std::vector<EngineCapability> edges)
{
    return std::make_shared<FakeEngine>(std::move(id), std::move(edges));
}

} // namespace nivex::testing
