#pragma once

#include "NivexKit/Contract/DeclaredEngine.hpp"
#include "NivexKit/Formats/FormatRegistry.hpp"

namespace nivex {

/// Converts 3D scenes among each other.
class SceneEngine final : public DeclaredEngine {
public:
    explicit SceneEngine(const FormatRegistry& registry);
};

} // namespace nivex
