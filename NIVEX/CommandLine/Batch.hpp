#pragma once

#include "NIVEX/CommandLine/Commands/Commands.hpp"

#include "NivexKit/Detection/DetectionResult.hpp"
#include "NivexKit/Planning/ConversionPlan.hpp"

#include <functional>
#include <string>
#include <variant>

namespace nivex::commandline {

/// The plan that a command has for a file, or the sentence that says why there is none.
using PlanChoice = std::variant<ConversionPlan, std::string>;

/// The plan that leads a file to a target.
PlanChoice planTo(const FileFormat& target, const ConversionPlanner& planner, const DetectionResult& detection);

/// What `convert`, `optimize` and `recipe run` have in common.
struct BatchRequest {
    const RunArguments& run;
    FormatID target; // as the results name it; empty: each file's own format
    ConversionOptions options;
    std::function<PlanChoice(const DetectionResult&)> choosePlan;
    std::function<bool(const DetectionResult&)> accepts = {}; // absent: every file
};

/// Detects the files, says what would be lost, converts them through the queue with progress and Ctrl-C, and reports
/// each as it is finished. With --dry-run it stops before converting.
ExitStatus runBatch(Session& session, const BatchRequest& request);

} // namespace nivex::commandline
