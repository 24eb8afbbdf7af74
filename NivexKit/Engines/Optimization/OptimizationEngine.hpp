#pragma once

#include "NivexKit/Contract/DeclaredEngine.hpp"
#include "NivexKit/Formats/FormatRegistry.hpp"

namespace nivex {

/// Makes a file smaller in its own format: images, PDF and video under a target size.
class OptimizationEngine final : public DeclaredEngine {
public:
    explicit OptimizationEngine(const FormatRegistry& registry);
};

} // namespace nivex
