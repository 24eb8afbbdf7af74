#include "NivexKit/Contract/DeclaredEngine.hpp"

#include "NivexKit/Contract/LossAnalysis.hpp"

namespace nivex {

ConversionLoss DeclaredEngine::expectedLosses(const FileFormat& source, const SourceProperties& properties,
                                              const FileFormat& target, const ConversionOptions&) const
{
    return LossAnalysis::inherent(source, properties, target);
}

std::optional<std::chrono::seconds> DeclaredEngine::timeout(const EngineRequest& request) const
{
    return declaration_.timeout ? std::optional{declaration_.timeout(request.limits)} : std::nullopt;
}

std::vector<std::filesystem::path> DeclaredEngine::convert(const EngineRequest&, const ProgressCallback&,
                                                           const CancellationFlag&) const
{
    throw ConversionError::engineUnavailable(declaration_.id.rawValue);
}

} // namespace nivex
