#include "NIVEX/CommandLine/Batch.hpp"
#include "NIVEX/CommandLine/FormatNames.hpp"

#include "NivexKit/Foundation/ConversionError.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"
#include "NivexKit/Foundation/Text/Unicode.hpp"

#include <algorithm>

namespace nivex::commandline {

ExitStatus convert(Session& session, const ConvertArguments& arguments)
{
    if (arguments.recipe)
        return runRecipe(session, arguments);
    const FormatRegistry& registry = session.model.registry();
    const FileFormat* target = formatNamed(registry, arguments.target);
    if (!target) {
        session.console.error(unknownFormat(registry, arguments.target));
        return ExitStatus::wrongUsage;
    }
    return runBatch(session, {.run = arguments.run,
                              .target = target->id,
                              .options = arguments.run.overrides.appliedTo(session.model.preferences().options),
                              .choosePlan = [&](const DetectionResult& detection) {
                                  return planTo(*target, session.model.planner(), detection);
                              }});
}

ExitStatus optimize(Session& session, const OptimizeArguments& arguments)
{
    return runBatch(session,
                    {.run = arguments.run,
                     .target = {},
                     .options = arguments.run.overrides.appliedTo(session.model.preferences().options),
                     .choosePlan = [&](const DetectionResult& detection) -> PlanChoice {
                         if (auto plan = session.model.planner().optimizationPlan(detection))
                             return std::move(*plan);
                         return ConversionError::unsupported("ce format ne propose pas de poids cible"_fr).message();
                     }});
}

} // namespace nivex::commandline
