#include "NIVEX/CommandLine/Batch.hpp"

#include "NivexKit/Foundation/ConversionError.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"

#include <utility>

namespace nivex::commandline {
namespace {

PlanChoice planOfRemoval(const ConversionPlanner& planner, const DetectionResult& detection)
{
    auto plan = planner.removalPlan(detection);
    if (!plan)
        return NoPlan{
            ConversionError::unsupported("les métadonnées de ce format ne peuvent pas être retirées seules"_fr)
                .message()};
    if (const auto reason = planner.engine(plan->steps.front().engine)->availability().reason())
        return NoPlan{ConversionError::engineUnavailable(*reason).message()};
    return std::move(*plan);
}

} // namespace

/// The preferences hold for conversions; here everything is asked for in the call itself.
ExitStatus strip(Session& session, const StripArguments& arguments)
{
    OptionOverrides asked = arguments.run.overrides;
    if (!asked.has(&ConversionOptions::metadata))
        asked.set(&ConversionOptions::metadata, MetadataPolicy::removeAll);
    return runBatch(session, {.run = arguments.run,
                              .target = {},
                              .options = {.typed = asked},
                              .choosePlan =
                                  [&](const DetectionResult& detection) {
                                      return planOfRemoval(session.model.planner(), detection);
                                  },
                              .whyLeftOut = "les métadonnées de leur format ne peuvent pas être retirées seules"_fr});
}

} // namespace nivex::commandline
