#include "NIVEX/CommandLine/Batch.hpp"
#include "NIVEX/CommandLine/FormatNames.hpp"
#include "NIVEX/CommandLine/StandardStreams.hpp"

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
    const std::string word =
        arguments.target.empty() ? arguments.run.outputFile->extension().native() : arguments.target;
    const FileFormat* target = formatNamed(registry, word);
    if (!target) {
        session.console.error(unknownFormat(registry, word), "nivex convert");
        return ExitStatus::wrongUsage;
    }
    if (arguments.run.outputFile == standardStream && session.console.resultsAreShown()) {
        session.console.error("la sortie standard est un terminal : dirigez-la vers un fichier ou un programme"_fr,
                              "nivex convert");
        return ExitStatus::wrongUsage;
    }
    return runBatch(session,
                    {.run = arguments.run,
                     .target = *target,
                     .options = {.preferences = session.model.preferences().options, .typed = arguments.run.overrides},
                     .choosePlan = [&](const DetectionResult& detection) {
                         return planTo(*target, session.model.planner(), detection);
                     }});
}

ExitStatus optimize(Session& session, const OptimizeArguments& arguments)
{
    return runBatch(session,
                    {.run = arguments.run,
                     .target = {},
                     .options = {.preferences = session.model.preferences().options, .typed = arguments.run.overrides},
                     .choosePlan = [&](const DetectionResult& detection) -> PlanChoice {
                         if (auto plan = session.model.planner().optimizationPlan(detection))
                             return std::move(*plan);
                         return NoPlan{
                             ConversionError::unsupported("ce format ne propose pas de poids cible"_fr).message()};
                     },
                     .whyLeftOut = "leur format ne propose pas de poids cible"_fr});
}

} // namespace nivex::commandline
