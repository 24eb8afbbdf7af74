#include "NivexKit/Planning/ConversionPlanner.hpp"

#include "NivexKit/Contract/LossAnalysis.hpp"
#include "NivexKit/Contract/OutputBudget.hpp"
#include "NivexKit/Planning/SmartFormats.hpp"

#include <algorithm>

namespace nivex {
namespace {

// What a step costs besides its losses, so that of two routes that lose the same the shorter one is taken.
constexpr double costPerStep = 1.0;

} // namespace

ConversionPlanner::ConversionPlanner(EngineList engines, const FormatRegistry& registry, int maxSteps)
    : registry_{&registry}, engines_{std::move(engines)}, graph_{engines_}, maxSteps_{maxSteps}
{
    for (const auto& engine : engines_) {
        [[maybe_unused]] const bool isNew = enginesByID_.emplace(engine->id(), engine.get()).second;
        assert(isNew);
    }
    edges_.reserve(graph_.allEdges().size());
    for (const ConversionGraph::Edge& edge : graph_.allEdges())
        edges_.push_back({engine(edge.engine), registry_->format(edge.capability.source),
                          registry_->format(edge.capability.target)});
}

const ConversionEngine* ConversionPlanner::engine(const EngineID& id) const
{
    const auto known = enginesByID_.find(id);
    return known == enginesByID_.end() ? nullptr : known->second;
}

std::optional<std::string> ConversionPlanner::obstacle(const FormatID& source, const FormatID& target) const
{
    std::optional<std::string> onTheWay; // of an engine that reads the source, where none does the whole
    for (const auto& engine : engines_) {
        const std::optional<std::string> reason = engine->availability().reason();
        if (!reason)
            continue;
        for (const EngineCapability& each : engine->capabilities()) {
            if (each.source == source && each.target == target)
                return reason;
            if (each.source == source && !onTheWay)
                onTheWay = reason;
        }
    }
    return onTheWay;
}

std::vector<ConversionPlan> ConversionPlanner::plans(const DetectionResult& detection) const
{
    if (!detection.isUsable())
        return {};
    const FileFormat& source = *detection.format;
    std::vector<ConversionPlan> result;
    for (const ConversionGraph::Path& path : routes(source, detection.properties))
        if (std::optional<ConversionPlan> plan = makePlan(source, detection.properties, path))
            result.push_back(std::move(*plan));
    return SmartFormats::rank(std::move(result), source, detection.properties);
}

std::optional<ConversionPlan> ConversionPlanner::plan(const DetectionResult& detection, const FormatID& target) const
{
    if (!detection.isUsable())
        return std::nullopt;
    const FileFormat& source = *detection.format;
    for (const ConversionGraph::Path& path : routes(source, detection.properties))
        if (path.back()->capability.target == target)
            return makePlan(source, detection.properties, path);
    return std::nullopt;
}

std::vector<ConversionGraph::Path> ConversionPlanner::routes(const FileFormat& source,
                                                             const SourceProperties& properties) const
{
    using Step = ConversionGraph::Step<SourceProperties>;
    const auto follow = [&](const SourceProperties& state, const ConversionGraph::Edge& edge) -> std::optional<Step> {
        const ResolvedEdge& step = resolved(edge);
        if (!step.source || !step.target)
            return std::nullopt;
        const ConversionLoss losses = step.engine->expectedLosses(*step.source, state, *step.target);
        return Step{LossAnalysis::cost(losses) + costPerStep,
                    LossAnalysis::propagate(state, *step.source, *step.target)};
    };
    return graph_.cheapestPaths(source.id, maxSteps_, properties, follow, costPerStep);
}

std::optional<ConversionPlan> ConversionPlanner::makePlan(const FileFormat& source, const SourceProperties& properties,
                                                          const ConversionGraph::Path& path) const
{
    if (path.empty())
        return std::nullopt;
    ConversionPlan plan{.source = source, .target = *resolved(*path.back()).target, .reportsProgress = true};
    SourceProperties state = properties;
    const FileFormat* current = &source;
    for (const ConversionGraph::Edge* edge : path) {
        const auto& [engine, capability] = *edge;
        const ResolvedEdge& step = resolved(*edge);
        plan.losses |= step.engine->expectedLosses(*current, state, *step.target);
        plan.options |= capability.options;
        plan.refused |= capability.refused;
        plan.reportsProgress = plan.reportsProgress && capability.reportsProgress;
        plan.steps.push_back({engine, capability.source, capability.target});
        state = LossAnalysis::propagate(std::move(state), *current, *step.target);
        current = step.target;
    }
    // A detour may not cost the user something that going there directly would have kept.
    if (!plan.isDirect()) {
        const ConversionLoss unavoidable = LossAnalysis::inherent(source, properties, plan.target);
        if (!plan.losses.majorPart().without(unavoidable).isEmpty())
            return std::nullopt;
    }
    (OutputBudget::isOffered(plan.target.id) ? plan.options : plan.refused).insert(ConversionOptionKind::targetSize);
    return plan;
}

std::vector<CommonPlan> ConversionPlanner::commonPlans(std::span<const DetectionResult> detections) const
{
    std::vector<CommonPlan> common;
    for (const DetectionResult& detection : detections) {
        std::vector<ConversionPlan> own = plans(detection);
        if (&detection == &detections.front()) {
            for (ConversionPlan& plan : own)
                common.push_back({plan.target.id, {{detection.url, std::move(plan)}}});
            continue;
        }
        std::erase_if(common, [&](CommonPlan& each) {
            const auto plan = std::ranges::find(own, each.target, &ConversionPlan::id);
            if (plan == own.end())
                return true;
            each.plans.insert_or_assign(detection.url, std::move(*plan));
            return false;
        });
    }
    return common;
}

} // namespace nivex
