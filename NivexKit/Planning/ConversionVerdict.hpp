#pragma once

#include "NivexKit/Contract/ConversionSettings.hpp"
#include "NivexKit/Detection/DetectionResult.hpp"
#include "NivexKit/Foundation/ConversionError.hpp"
#include "NivexKit/Planning/ConversionPlanner.hpp"

#include <optional>
#include <string>
#include <vector>

namespace nivex {

/// The settings of a conversion by who asked for them. What was asked for this very conversion counts most, and a
/// person relies on it; a recipe and the preferences hold for many conversions, of which some do not take them.
struct AskedOptions {
    ConversionOptions preferences = {};
    OptionOverrides recipe = {};
    OptionOverrides typed = {};
};

/// What a conversion will do of what was asked, known before any work.
struct ConversionVerdict {
    ConversionPlan plan;                    // its losses are those of this file with these options
    ConversionOptions options;              // without what the route does not take
    std::vector<std::string> warnings = {}; // losses first, then settings without effect
    std::optional<ConversionError> refusal = {};
};

/// Judges a plan that the planner has made for a file. A setting that the route does not take is left out: one that was
/// typed is warned of, or refuses the conversion where going without would betray the person (ConversionPlan::refused);
/// one of a recipe goes silently, since its compatibility warnings tell of it; one of the preferences is warned of
/// where it might be missed. Where both a stronger and a weaker voice speak, what the route does not take of the
/// stronger leaves the weaker's.
ConversionVerdict verdictOn(const ConversionPlan& plan, const ConversionPlanner& planner, const DetectionResult& file,
                            const AskedOptions& asked);

} // namespace nivex
