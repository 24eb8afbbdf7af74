#include "NivexKit/Engines/Image/NativeImageEngine.hpp"

namespace nivex {

NativeImageEngine::NativeImageEngine(const FormatRegistry&)
    : DeclaredEngine{"native-image", "Images macOS (ImageIO)"_fr}
{
}

std::set<FormatID> NativeImageEngine::pendingValidationSources(const FormatRegistry& registry)
{
    std::set<FormatID> pending;
    for (const FileFormat* format : registry.formats(FormatFamily::image))
        pending.insert(format->id);
    const NativeImageEngine engine{registry};
    for (const EngineCapability& edge : engine.capabilities())
        pending.erase(edge.source);
    return pending;
}

} // namespace nivex
