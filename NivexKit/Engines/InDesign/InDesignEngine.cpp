#include "NivexKit/Engines/InDesign/InDesignEngine.hpp"

namespace nivex {

std::optional<std::filesystem::path> InDesignEngine::installedApplication()
{
    return std::nullopt; // its maker offers no edition for this system
}

InDesignEngine::InDesignEngine(const std::optional<std::filesystem::path>& application)
    : DeclaredEngine{{.id = "adobe-indesign",
                      .displayName = "Adobe InDesign, installé sur ce Mac"_fr,
                      .reason = application ? notBuilt : "InDesign n'est pas installé sur ce Mac"_fr,
                      .dependencies = {"Adobe InDesign"},
                      .timeout = [](const ResourceLimits&) { return std::chrono::seconds{900}; }}}
{
}

} // namespace nivex
