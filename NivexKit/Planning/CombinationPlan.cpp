#include "NivexKit/Planning/CombinationPlan.hpp"

#include "NivexKit/Contract/OutputBudget.hpp"
#include "NivexKit/Planning/ConversionPlanner.hpp"

#include <utility>

namespace nivex {
namespace {

struct Joiner {
    EngineID engine;
    EngineCapability edge;
};

std::optional<Joiner> joinerOf(const FormatID& format, const EngineList& engines)
{
    for (const auto& engine : engines)
        if (engine->availability().isAvailable())
            for (const EngineCapability& edge : engine->capabilities())
                if (edge.joins && edge.source == format && edge.target == format)
                    return Joiner{engine->id(), edge};
    return std::nullopt;
}

} // namespace

bool ConversionPlanner::joins(const FormatID& format) const { return joinerOf(format, engines_).has_value(); }

std::optional<ConversionPlan> ConversionPlanner::wayTo(const DetectionResult& source, const FormatID& joined,
                                                       const ConversionOptions& options) const
{
    if (!source.isUsable())
        return std::nullopt;
    if (source.format->id == joined)
        return ConversionPlan{.source = *source.format, .target = *source.format, .reportsProgress = true};
    return plan(source, joined, options);
}

std::optional<CombinationPlan> ConversionPlanner::combinationPlan(std::span<const DetectionResult> sources,
                                                                  const FormatID& target,
                                                                  const ConversionOptions& options) const
{
    const std::optional<Joiner> joiner = joinerOf(target, engines_);
    if (!joiner || sources.empty())
        return std::nullopt;
    std::optional<CombinationPlan> combination;
    for (const DetectionResult& source : sources) {
        std::optional<ConversionPlan> way = wayTo(source, target, options);
        if (!way)
            return std::nullopt;
        if (!combination) {
            combination.emplace(CombinationPlan{.plan = *std::move(way), .others = {}});
            continue;
        }
        ConversionPlan& whole = combination->plan;
        whole.losses |= way->losses;
        whole.options |= way->options;
        whole.refused |= way->refused;
        whole.reportsProgress = whole.reportsProgress && way->reportsProgress;
        combination->others.push_back({source, std::move(way->steps)});
    }
    ConversionPlan& whole = combination->plan;
    whole.steps.push_back({joiner->engine, target, target});
    whole.losses |= joiner->edge.potentialLosses;
    whole.options |= joiner->edge.options;
    whole.refused |= joiner->edge.refused;
    whole.reportsProgress = whole.reportsProgress && joiner->edge.reportsProgress;
    whole.joins = true;
    if (OutputBudget::isOffered(target))
        whole.options.insert(ConversionOptionKind::targetSize);
    return combination;
}

} // namespace nivex
