#include "NivexKit/Contract/DeclaredEngine.hpp"

#include "NivexKit/Contract/LossAnalysis.hpp"

namespace nivex {

ConversionLoss DeclaredEngine::expectedLosses(const FileFormat& source, const SourceProperties& properties,
                                              const FileFormat& target) const
{
    return LossAnalysis::inherent(source, properties, target);
}

std::vector<std::filesystem::path> DeclaredEngine::convert(const EngineRequest&, const ProgressCallback&,
                                                           const CancellationFlag&) const
{
    throw ConversionError::engineUnavailable(id_.rawValue);
}

} // namespace nivex
