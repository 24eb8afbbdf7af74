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

std::vector<ConversionPlan> ConversionPlanner::plans(const DetectionResult& detection,
                                                     const ConversionOptions& options) const
{
    if (!detection.isUsable())
        return {};
    std::vector<ConversionPlan> result;
    for (const ConversionGraph::Path& path : routes(detection, options))
        if (std::optional<ConversionPlan> plan = makePlan(detection, path, options))
            result.push_back(std::move(*plan));
    return SmartFormats::rank(std::move(result), *detection.format, detection.properties);
}

std::optional<ConversionPlan> ConversionPlanner::plan(const DetectionResult& detection, const FormatID& target,
                                                      const ConversionOptions& options) const
{
    if (!detection.isUsable())
        return std::nullopt;
    for (const ConversionGraph::Path& path : routes(detection, options))
        if (path.back()->capability.target == target)
            return makePlan(detection, path, options);
    return std::nullopt;
}

ConversionLoss ConversionPlanner::losses(const ConversionPlan& plan, const SourceProperties& properties,
                                         const ConversionOptions& options) const
{
    ConversionLoss losses;
    SourceProperties state = properties;
    for (const PlannedStep& step : plan.steps) {
        const FileFormat& source = *registry_->format(step.source);
        const FileFormat& target = *registry_->format(step.target);
        losses |= engine(step.engine)->expectedLosses(source, state, target, options);
        state = LossAnalysis::propagate(std::move(state), source, target);
    }
    return losses;
}

std::vector<ConversionGraph::Path> ConversionPlanner::routes(const DetectionResult& file,
                                                             const ConversionOptions& options) const
{
    using Step = ConversionGraph::Step<SourceProperties>;
    const auto follow = [&](const SourceProperties& state, const ConversionGraph::Edge& edge) -> std::optional<Step> {
        const ResolvedEdge& step = resolved(edge);
        if (!step.source || !step.target)
            return std::nullopt;
        const ConversionLoss losses = step.engine->expectedLosses(*step.source, state, *step.target, options);
        return Step{LossAnalysis::cost(losses) + costPerStep,
                    LossAnalysis::propagate(state, *step.source, *step.target)};
    };
    return graph_.cheapestPaths(file.format->id, maxSteps_, file.properties, follow, costPerStep);
}

std::optional<ConversionPlan> ConversionPlanner::makePlan(const DetectionResult& file,
                                                          const ConversionGraph::Path& path,
                                                          const ConversionOptions& options) const
{
    if (path.empty())
        return std::nullopt;
    const FileFormat& source = *file.format;
    ConversionPlan plan{.source = source, .target = *resolved(*path.back()).target, .reportsProgress = true};
    for (const ConversionGraph::Edge* edge : path) {
        const auto& [engine, capability] = *edge;
        plan.options |= capability.options;
        plan.refused |= capability.refused;
        plan.reportsProgress = plan.reportsProgress && capability.reportsProgress;
        plan.steps.push_back({engine, capability.source, capability.target});
    }
    plan.losses = losses(plan, file.properties, options);
    // A detour may not cost the user something that going there directly would have kept.
    if (!plan.isDirect()) {
        const ConversionLoss unavoidable = LossAnalysis::inherent(source, file.properties, plan.target);
        if (!plan.losses.majorPart().without(unavoidable).isEmpty())
            return std::nullopt;
    }
    (OutputBudget::isOffered(plan.target.id) ? plan.options : plan.refused).insert(ConversionOptionKind::targetSize);
    return plan;
}

std::vector<CommonPlan> ConversionPlanner::commonPlans(std::span<const DetectionResult> detections,
                                                       const ConversionOptions& options) const
{
    std::vector<CommonPlan> common;
    for (const DetectionResult& detection : detections) {
        std::vector<ConversionPlan> own = plans(detection, options);
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
