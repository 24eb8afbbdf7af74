#pragma once

#include "NivexKit/Contract/ConversionEngine.hpp"
#include "NivexKit/Detection/DetectionResult.hpp"
#include "NivexKit/Formats/FormatRegistry.hpp"
#include "NivexKit/Planning/CombinationPlan.hpp"
#include "NivexKit/Planning/ConversionGraph.hpp"
#include "NivexKit/Planning/ConversionPlan.hpp"

#include <filesystem>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

namespace nivex {

/// A target that several files share, with the plan of each by its location.
struct CommonPlan {
    FormatID target;
    std::map<std::filesystem::path, ConversionPlan> plans;

    bool operator==(const CommonPlan&) const = default;
};

/// Finds what a detected file can become on this machine, by which route and at what loss. Immutable once built; any
/// thread may ask. The registry must outlive it.
class ConversionPlanner {
public:
    /// The longest route that NIVEX proposes.
    static constexpr int standardMaxSteps = 3;

    /// Engine identifiers are unique among `engines`.
    ConversionPlanner(EngineList engines, const FormatRegistry& registry, int maxSteps = standardMaxSteps);

    const FormatRegistry& registry() const { return *registry_; }
    const ConversionGraph& graph() const { return graph_; }
    int maxSteps() const { return maxSteps_; }
    /// Null when there is no such engine.
    const ConversionEngine* engine(const EngineID& id) const;

    /// One plan per target, in proposal order. None for a file that was not recognised or must not be converted. Routes
    /// and losses are those of a conversion with these options.
    std::vector<ConversionPlan> plans(const DetectionResult& detection, const ConversionOptions& options = {}) const;

    /// The one of `plans` that leads to `target`, without making and ranking the others.
    std::optional<ConversionPlan> plan(const DetectionResult& detection, const FormatID& target,
                                       const ConversionOptions& options = {}) const;

    /// What the route of a plan of this planner loses of the file with other options.
    ConversionLoss losses(const ConversionPlan& plan, const SourceProperties& properties,
                          const ConversionOptions& options) const;

    /// Why an engine that could lead from one format to the other does not work on this machine; none when there is no
    /// such engine.
    std::optional<std::string> obstacle(const FormatID& source, const FormatID& target) const;

    /// The targets that all the files share, in the proposal order of the first one.
    std::vector<CommonPlan> commonPlans(std::span<const DetectionResult> detections,
                                        const ConversionOptions& options = {}) const;

    /// Re-encoding into the file's own format to make it smaller, where that format offers a target size.
    std::optional<ConversionPlan> optimizationPlan(const DetectionResult& detection,
                                                   const ConversionOptions& options = {}) const;

    /// Taking the position or all metadata out of a file that stays the same otherwise, where an engine does that. The
    /// engine need not be available.
    std::optional<ConversionPlan> removalPlan(const DetectionResult& detection) const;

    /// Whether several files can become one of that format.
    bool joins(const FormatID& format) const;

    /// How the files become one file of a format, in their order: each by its own route to that format, and all of
    /// these joined. None where nothing joins files of the format, or where one of the files cannot become one.
    std::optional<CombinationPlan> combinationPlan(std::span<const DetectionResult> sources, const FormatID& target,
                                                   const ConversionOptions& options = {}) const;

private:
    /// An edge of the graph with what its strings stand for; null formats are unknown to the registry.
    struct ResolvedEdge {
        const ConversionEngine* engine;
        const FileFormat* source;
        const FileFormat* target;
    };

    const ResolvedEdge& resolved(const ConversionGraph::Edge& edge) const { return edges_[graph_.indexOf(edge)]; }
    std::vector<ConversionGraph::Path> routes(const DetectionResult& file, const ConversionOptions& options) const;
    std::optional<ConversionPlan> wayTo(const DetectionResult& source, const FormatID& joined,
                                        const ConversionOptions& options) const;
    std::optional<ConversionPlan> makePlan(const DetectionResult& file, const ConversionGraph::Path& path,
                                           const ConversionOptions& options) const;

    const FormatRegistry* registry_;
    EngineList engines_;
    std::unordered_map<EngineID, const ConversionEngine*> enginesByID_;
    ConversionGraph graph_;
    std::vector<ResolvedEdge> edges_; // in the order of the graph's edges
    int maxSteps_;
};

} // namespace nivex
