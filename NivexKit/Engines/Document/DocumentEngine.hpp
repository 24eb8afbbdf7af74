#pragma once

#include "NivexKit/Contract/DeclaredEngine.hpp"
#include "NivexKit/Formats/FormatRegistry.hpp"

namespace nivex {

/// Converts text documents among each other and into PDF.
class DocumentEngine final : public DeclaredEngine {
public:
    explicit DocumentEngine(const FormatRegistry& registry);
};

} // namespace nivex
