#pragma once

#include "NivexKit/Formats/SourceProperties.hpp"

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

namespace nivex {

/// What one step may hand back. Anything beyond it is taken for the work of a file that has misled the engine, and
/// refused.
struct ExpectedOutputs {
    std::int64_t maxFiles = 1; // of the target format
    /// Of further files to which those refer by name ("mtl", "png"), in lower case and without a dot.
    std::vector<std::string> companionExtensions;
    std::int64_t maxCompanions = 0; // in all
    bool mayBeFolder = false;       // a file may be a folder of files; bundles may always be

    /// One file of the target format for each page or picture of the source, as many as were measured.
    ///
    /// mostUnmeasured  the bound where nothing was measured
    static ExpectedOutputs onePerPage(const SourceProperties& source, std::int64_t mostUnmeasured)
    {
        if (!source.pageCount && !source.imageCount)
            return {.maxFiles = mostUnmeasured};
        return {.maxFiles = std::max({std::int64_t{1}, source.pageCount.value_or(1), source.imageCount.value_or(1)})};
    }

    bool operator==(const ExpectedOutputs&) const = default;
};

} // namespace nivex
