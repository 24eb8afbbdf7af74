#pragma once

#include "NivexKit/Contract/ConversionOptions.hpp"
#include "NivexKit/Execution/OutputPlacement.hpp"
#include "NivexKit/Formats/SourceProperties.hpp"
#include "NivexKit/Planning/CombinationPlan.hpp"
#include "NivexKit/Planning/ConversionPlan.hpp"

#include <filesystem>
#include <vector>

namespace nivex {

/// One piece of work for the runner: a file or several that are joined, the route, and what is wanted of the results.
struct ConversionTask {
    ConversionPlan plan;
    std::filesystem::path input;
    SourceProperties properties; // of the input, as detection measured them
    ConversionOptions options;
    OutputPlacement placement;
    std::vector<JoinedSource> others = {}; // joined with the input, behind it and in this order
};

} // namespace nivex
