#pragma once

#include "NIVEX/CommandLine/Line.hpp"
#include "NIVEX/Model/Wording.hpp"

#include "NivexKit/Detection/DetectionResult.hpp"

#include <string>

namespace nivex::commandline {

// What a person reads in place of the JSON objects.

/// "PNG, Portable Network Graphics, Vérifié, 5,9 Mo, 4032 × 3024 px".
std::string describe(const DetectionResult& detection);

/// "Le fichier semble endommagé (…).", and behind it the cause where `verbose` asks for it.
Line describe(const DetectionIssue& issue, bool verbose);
/// What follows a message that has a cause: " [IDAT: checksum]"; nothing for an empty one.
Line describeCause(const std::string& cause);

} // namespace nivex::commandline
