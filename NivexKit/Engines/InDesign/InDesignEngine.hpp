#pragma once

#include "NivexKit/Contract/DeclaredEngine.hpp"

#include <filesystem>
#include <optional>

namespace nivex {

/// Has the desktop-publishing application of this machine export its layouts. The application opens, lays out and
/// exports at its own pace, so it has a limit of its own: 900 s.
class InDesignEngine final : public DeclaredEngine {
public:
    /// Where the application is installed; none when it is not, and on systems that it does not exist for.
    static std::optional<std::filesystem::path> installedApplication();

    explicit InDesignEngine(const std::optional<std::filesystem::path>& application);
};

} // namespace nivex
