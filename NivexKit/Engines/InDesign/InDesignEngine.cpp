#include "NivexKit/Engines/InDesign/InDesignEngine.hpp"

namespace nivex {

std::optional<std::filesystem::path> InDesignEngine::installedApplication()
{
    return std::nullopt; // its maker offers no edition for this system
}

InDesignEngine::InDesignEngine(const FormatRegistry&, const std::optional<std::filesystem::path>& application)
    : DeclaredEngine{"adobe-indesign", "Adobe InDesign, installé sur ce Mac"_fr,
                     application ? notBuilt : "InDesign n'est pas installé sur ce Mac"_fr}
{
}

std::vector<std::string> InDesignEngine::dependencies() const { return {"Adobe InDesign"}; }

std::optional<std::chrono::seconds> InDesignEngine::timeout(const EngineRequest&) const
{
    return std::chrono::seconds{900};
}

} // namespace nivex
