#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace nivex {

/// What a successful run has put in place.
struct ConversionOutcome {
    std::vector<std::filesystem::path> outputs; // where they stand now, in the order produced
    std::int64_t totalBytes = 0;                // measured in place; a folder counts as the files in it
    std::vector<std::string> warnings = {};     // what the engines said of it, as the user reads it

    bool operator==(const ConversionOutcome&) const = default;
};

} // namespace nivex
