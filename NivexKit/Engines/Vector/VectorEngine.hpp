#pragma once

#include "NivexKit/Contract/DeclaredEngine.hpp"
#include "NivexKit/Formats/FormatRegistry.hpp"

namespace nivex {

/// Renders drawings to pictures and PDF.
class VectorEngine final : public DeclaredEngine {
public:
    explicit VectorEngine(const FormatRegistry& registry);
};

} // namespace nivex
