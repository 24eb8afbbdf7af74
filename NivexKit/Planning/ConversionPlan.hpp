#pragma once

#include "NivexKit/Contract/ConversionLoss.hpp"
#include "NivexKit/Contract/ConversionOptions.hpp"
#include "NivexKit/Contract/EngineID.hpp"
#include "NivexKit/Formats/FileFormat.hpp"

#include <string>
#include <vector>

namespace nivex {

/// One step of a route: which engine turns which format into which.
struct PlannedStep {
    EngineID engine;
    FormatID source;
    FormatID target;

    bool operator==(const PlannedStep&) const = default;
};

/// A route from a file's format to one target, with what it loses.
struct ConversionPlan {
    FileFormat source;
    FileFormat target;
    std::vector<PlannedStep> steps; // at least one
    ConversionLoss losses;          // union over the steps
    ConversionOptionKinds options;  // union over the steps
    bool reportsProgress = false;   // every step reports progress
    ConversionOptionKinds refused;  // with these the conversion fails; union over the steps
    bool joins = false;             // the last step makes one file of all that those before it made

    const FormatID& id() const { return target.id; }
    bool isDirect() const { return steps.size() == 1; }
    /// The targets of every step but the last.
    std::vector<FormatID> intermediateFormats() const;
    bool hasMajorLosses() const { return losses.intersects(ConversionLoss::major); }
    std::vector<std::string> warnings() const { return losses.warnings(); }

    bool operator==(const ConversionPlan&) const = default;
};

} // namespace nivex
