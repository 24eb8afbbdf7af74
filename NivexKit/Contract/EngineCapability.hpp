#pragma once

#include "NivexKit/Contract/ConversionLoss.hpp"
#include "NivexKit/Contract/ConversionOptions.hpp"
#include "NivexKit/Formats/FormatID.hpp"

namespace nivex {

/// One direct conversion that an engine offers.
struct EngineCapability {
    FormatID source;
    FormatID target;
    ConversionLoss potentialLosses;    // what this edge may lose in general
    ConversionOptionKinds options;     // what the user may set for it
    bool reportsProgress = false;      // real fractions reach the progress callback
    bool supportsCancellation = false; // the engine polls the cancellation flag
    bool isTerminal = false;           // no further step may follow
    ConversionOptionKinds refused;     // with these the work fails rather than going without
    bool joins = false;                // from a format to itself: makes one file of several, in their order

    bool operator==(const EngineCapability&) const = default;
};

} // namespace nivex
