#pragma once

#include "NivexKit/Contract/DeclaredEngine.hpp"
#include "NivexKit/Formats/FormatRegistry.hpp"

namespace nivex {

/// Transcodes audio and video, extracts sound and makes animated pictures of films.
class MediaEngine final : public DeclaredEngine {
public:
    explicit MediaEngine(const FormatRegistry& registry);

    /// The limit for audio and video work, which takes as long as the film.
    std::optional<std::chrono::seconds> timeout(const EngineRequest& request) const override;
};

} // namespace nivex
