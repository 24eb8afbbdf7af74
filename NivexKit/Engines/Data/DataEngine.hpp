#pragma once

#include "NivexKit/Contract/DeclaredEngine.hpp"
#include "NivexKit/Formats/FormatRegistry.hpp"

namespace nivex {

/// Converts tables and nested data among each other.
class DataEngine final : public DeclaredEngine {
public:
    explicit DataEngine(const FormatRegistry& registry);
};

} // namespace nivex
