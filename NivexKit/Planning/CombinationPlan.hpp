#pragma once

#include "NivexKit/Detection/DetectionResult.hpp"
#include "NivexKit/Planning/ConversionPlan.hpp"

#include <vector>

namespace nivex {

/// A source that is joined behind the first one of its job, and its way to what is joined.
struct JoinedSource {
    DetectionResult source;
    std::vector<PlannedStep> route; // none where it is that already

    bool operator==(const JoinedSource&) const = default;
};

/// How several sources become one file.
struct CombinationPlan {
    ConversionPlan plan;              // of the first source; its last step joins them all
    std::vector<JoinedSource> others; // the sources behind the first, in their order

    bool operator==(const CombinationPlan&) const = default;
};

} // namespace nivex
