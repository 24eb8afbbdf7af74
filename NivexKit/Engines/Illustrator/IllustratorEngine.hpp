#pragma once

#include "NivexKit/Contract/DeclaredEngine.hpp"
#include "NivexKit/Formats/FormatRegistry.hpp"

namespace nivex {

/// Reads drawings that carry their pages as an embedded PDF.
class IllustratorEngine final : public DeclaredEngine {
public:
    explicit IllustratorEngine(const FormatRegistry& registry);
};

} // namespace nivex
