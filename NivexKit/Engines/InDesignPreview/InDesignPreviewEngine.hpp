#pragma once

#include "NivexKit/Contract/DeclaredEngine.hpp"
#include "NivexKit/Formats/FormatRegistry.hpp"

namespace nivex {

/// Extracts the previews that a layout carries within.
class InDesignPreviewEngine final : public DeclaredEngine {
public:
    explicit InDesignPreviewEngine(const FormatRegistry& registry);
};

} // namespace nivex
