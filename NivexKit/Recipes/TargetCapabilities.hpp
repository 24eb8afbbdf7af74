#pragma once

#include "NivexKit/Contract/ConversionEngine.hpp"

namespace nivex {

/// What the engines of this machine can do for one target format.
struct TargetCapabilities {
    bool isReachable = false;      // some available engine writes the format
    ConversionOptionKinds options; // what may be set on some edge that ends there

    static TargetCapabilities of(const FormatID& target, const EngineList& engines);

    bool operator==(const TargetCapabilities&) const = default;
};

} // namespace nivex
