#pragma once

#include "NivexKit/Contract/DeclaredEngine.hpp"
#include "NivexKit/Formats/FormatRegistry.hpp"

#include <set>

namespace nivex {

/// Decodes and encodes pictures.
class NativeImageEngine final : public DeclaredEngine {
public:
    explicit NativeImageEngine(const FormatRegistry& registry);

    /// The picture formats that the registry knows and that this engine does not read yet.
    static std::set<FormatID> pendingValidationSources(const FormatRegistry& registry);
};

} // namespace nivex
