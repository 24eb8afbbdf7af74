#pragma once

#include "NivexKit/Contract/ConversionOptions.hpp"
#include "NivexKit/Execution/OutputPlacement.hpp"
#include "NivexKit/Formats/SourceProperties.hpp"
#include "NivexKit/Planning/ConversionPlan.hpp"

#include <filesystem>

namespace nivex {

/// One piece of work for the runner: a file, the route for it, and what is wanted of the results.
struct ConversionTask {
    ConversionPlan plan;
    std::filesystem::path input;
    SourceProperties properties; // of the input, as detection measured them
    ConversionOptions options;
    OutputPlacement placement;
};

} // namespace nivex
