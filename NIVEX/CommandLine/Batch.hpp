#pragma once

#include "NIVEX/CommandLine/Commands/Commands.hpp"

#include "NivexKit/Detection/DetectionResult.hpp"
#include "NivexKit/Planning/ConversionVerdict.hpp"

#include <functional>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace nivex::commandline {

/// Why a file gets no plan.
struct NoPlan {
    std::string message;
};

/// The plan that a command has for a file, or the sentence that says why there is none.
using PlanChoice = std::variant<ConversionPlan, NoPlan>;

/// The plan that leads a file to a target.
PlanChoice planTo(const FileFormat& target, const ConversionPlanner& planner, const DetectionResult& detection);

/// What `convert`, `optimize`, `strip` and `recipe run` have in common.
struct BatchRequest {
    const RunArguments& run;
    std::optional<FileFormat> target; // absent: each file's own format
    AskedOptions options;
    std::vector<std::string> recipeWarnings = {}; // shown already; JSON has them with every file
    std::function<PlanChoice(const DetectionResult&)> choosePlan;
    std::string whyLeftOut = {}; // of files of a walked folder that have no plan; without a target
    std::function<bool(const DetectionResult&)> accepts = {}; // absent: every file
};

/// Detects the files, says what would be lost, converts them through the queue with progress and Ctrl-C, reports each
/// as it is finished, and sums up. With --dry-run it stops before converting, with the verdict that the run would have.
ExitStatus runBatch(Session& session, const BatchRequest& request);

} // namespace nivex::commandline
