#include "NIVEX/CommandLine/Batch.hpp"
#include "NIVEX/CommandLine/Suggestion.hpp"

#include "NivexKit/Foundation/ConversionError.hpp"
#include "NivexKit/Foundation/StringTable.hpp"
#include "NivexKit/Foundation/Unicode.hpp"

#include <algorithm>

namespace nivex::commandline {
namespace {

/// The format that a word names: its identifier, or one of its extensions with or without the dot.
const FileFormat* formatNamed(const FormatRegistry& registry, std::string_view word)
{
    std::string name = lowercased(word);
    if (name.starts_with('.'))
        name.erase(0, 1);
    if (const FileFormat* format = registry.format(name))
        return format;
    if (const FileFormat* declared = registry.declared(name))
        return declared;
    const auto sharing = registry.formats(name);
    return sharing.empty() ? nullptr : sharing.front();
}

std::string unknownFormat(const FormatRegistry& registry, const std::string& word)
{
    std::vector<std::string> names;
    for (const FileFormat& format : registry.formats()) {
        names.push_back(format.id.rawValue);
        names.insert(names.end(), format.extensions.begin(), format.extensions.end());
    }
    return filled("format inconnu : « {} »."_fr, {validUtf8(word)}) + suggestion(lowercased(word), names);
}

std::string sentence(const ConversionError& error) { return error.message(); }

PlanChoice planTo(const FileFormat& target, const ConversionPlanner& planner, const DetectionResult& detection)
{
    if (detection.format && detection.format->id == target.id)
        return sentence(ConversionError::unsupported(filled("le fichier est déjà au format {}"_fr, {target.name})));
    std::vector<ConversionPlan> plans = planner.plans(detection);
    const auto found =
        std::find_if(plans.begin(), plans.end(), [&](const ConversionPlan& plan) { return plan.id() == target.id; });
    if (found != plans.end())
        return std::move(*found);
    const std::string source = detection.format ? detection.format->name : std::string{"format inconnu"_fr};
    return sentence(ConversionError::unsupported(
        filled("aucun moteur de cette machine ne mène de {} à {}"_fr, {source, target.name})));
}

} // namespace

ExitStatus convert(Session& session, const ConvertArguments& arguments)
{
    const FormatRegistry& registry = session.model.registry();
    const FileFormat* target = formatNamed(registry, arguments.target);
    if (!target) {
        session.console.note("nivex : " + unknownFormat(registry, arguments.target));
        return ExitStatus::wrongUsage;
    }
    return runBatch(session, {.run = arguments.run,
                              .target = target->id,
                              .options = arguments.run.overrides.appliedTo({}),
                              .choosePlan = [&](const DetectionResult& detection) {
                                  return planTo(*target, session.model.planner(), detection);
                              }});
}

ExitStatus optimize(Session& session, const OptimizeArguments& arguments)
{
    return runBatch(session,
                    {.run = arguments.run,
                     .target = {},
                     .options = arguments.run.overrides.appliedTo({}),
                     .choosePlan = [&](const DetectionResult& detection) -> PlanChoice {
                         if (auto plan = session.model.planner().optimizationPlan(detection))
                             return std::move(*plan);
                         return sentence(ConversionError::unsupported("ce format ne propose pas de poids cible"_fr));
                     }});
}

} // namespace nivex::commandline
