#pragma once

#include "NivexKit/Detection/DetectionResult.hpp"
#include "NivexKit/Planning/ConversionPlan.hpp"

#include <string>

namespace nivex::commandline {

// What a person reads in place of the JSON objects.

/// "PNG, Portable Network Graphics, Vérifié, 5,9 Mo, 4032 × 3024 px".
std::string describe(const DetectionResult& detection);

/// "WebVTT, directement" or "… en passant par PNG".
std::string describeRoute(const ConversionPlan& plan);

} // namespace nivex::commandline
