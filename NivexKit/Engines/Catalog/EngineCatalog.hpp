#pragma once

#include "NivexKit/Contract/ConversionEngine.hpp"
#include "NivexKit/Formats/FormatRegistry.hpp"

#include <set>

namespace nivex {

/// The engines of NIVEX: the only place that names them all.
struct EngineCatalog {
    /// All twelve in their fixed order, those that do not work on this machine among them. The order settles which of
    /// two equal routes is taken.
    static EngineList standard(const FormatRegistry& registry);

    /// The formats that are recognised and wait to be read: no edge of any engine leaves them.
    static std::set<FormatID> pendingValidationSources(const FormatRegistry& registry);
};

} // namespace nivex
