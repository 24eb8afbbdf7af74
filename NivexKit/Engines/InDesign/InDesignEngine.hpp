#pragma once

#include "NivexKit/Contract/DeclaredEngine.hpp"
#include "NivexKit/Formats/FormatRegistry.hpp"

#include <filesystem>

namespace nivex {

/// Has the desktop-publishing application of this machine export its layouts.
class InDesignEngine final : public DeclaredEngine {
public:
    /// Where the application is installed; none when it is not, and on systems that it does not exist for.
    static std::optional<std::filesystem::path> installedApplication();

    InDesignEngine(const FormatRegistry& registry, const std::optional<std::filesystem::path>& application);

    std::vector<std::string> dependencies() const override;
    /// The application opens, lays out and exports at its own pace, so it has a limit of its own: 900 s.
    std::optional<std::chrono::seconds> timeout(const EngineRequest& request) const override;
};

} // namespace nivex
