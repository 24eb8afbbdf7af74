#include "NivexKit/Engines/Media/MediaEngine.hpp"

namespace nivex {

MediaEngine::MediaEngine(const FormatRegistry&)
    : DeclaredEngine{"native-media", "Audio et vidéo macOS (AVFoundation)"_fr}
{
}

std::optional<std::chrono::seconds> MediaEngine::timeout(const EngineRequest& request) const
{
    return request.limits.mediaStepTimeout;
}

} // namespace nivex
