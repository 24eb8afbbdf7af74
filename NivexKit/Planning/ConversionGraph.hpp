#pragma once

#include "NivexKit/Contract/ConversionEngine.hpp"

#include <algorithm>
#include <cassert>
#include <cmath>
#include <concepts>
#include <cstdint>
#include <limits>
#include <optional>
#include <span>
#include <unordered_map>
#include <utility>
#include <vector>

namespace nivex {

/// Every direct conversion that the engines of this machine offer, as edges between formats. Immutable once built; any
/// thread may read. Edges are referred to by address: they live as long as the graph, which is neither copied nor
/// moved.
class ConversionGraph {
public:
    struct Edge {
        EngineID engine;
        EngineCapability capability;

        bool operator==(const Edge&) const = default;
    };

    /// Edges in the order in which they are followed; the last one's target is where the path leads.
    using Path = std::vector<const Edge*>;

    /// What following an edge costs, and the state behind it.
    template <class State>
    struct Step {
        double cost;
        State next;
    };

    /// Takes the edges in the order of the engines and of their capabilities. An unavailable engine has none, and an
    /// edge from a format to itself is left out.
    explicit ConversionGraph(std::span<const std::shared_ptr<const ConversionEngine>> engines);
    ConversionGraph(const ConversionGraph&) = delete;
    ConversionGraph& operator=(const ConversionGraph&) = delete;

    /// The edges that leave a format, in order; none for a format that nothing reads.
    std::span<const Edge> edges(const FormatID& from) const;
    /// Every edge, those of one source side by side.
    std::span<const Edge> allEdges() const { return edges_; }
    /// Where an edge of this graph stands in `allEdges`.
    std::size_t indexOf(const Edge& edge) const { return static_cast<std::size_t>(&edge - edges_.data()); }

    bool isReadable(const FormatID& format) const { return !edges(format).empty(); }
    bool isWritable(const FormatID& format) const;
    /// The formats that some edge leaves, and those that some edge leads to, in the order of first sight.
    std::vector<FormatID> readableFormats() const;
    std::vector<FormatID> writableFormats() const;

    /// The cheapest path of at most `maxSteps` edges to every format that can be reached, in no order of meaning.
    ///
    /// transition   (const State&, const Edge&) -> std::optional<Step<State>>: what the edge costs in that state and
    ///              what becomes of it; nothing forbids the edge. It is asked only for edges that could still matter.
    /// leastCost    no transition costs less; the higher it is, the fewer edges need to be asked about
    /// returns      paths that never pass a format twice nor lead on from a terminal edge. A lower total wins by more
    ///              than 1e-9, then the shorter path, then the one found first (engine order, then capability order).
    template <class State, class Transition>
    requires std::invocable<Transition&, const State&, const Edge&> std::vector<Path>
    cheapestPaths(const FormatID& from, int maxSteps, State initial, Transition&& transition,
                  double leastCost = leastStepCost)
    const;

    /// Every step costs something, so that a detour never comes free.
    static constexpr double leastStepCost = 0.001;

private:
    using Node = std::uint32_t; // a format, numbered in the order of first sight
    static constexpr Node none = std::numeric_limits<Node>::max();

    /// A path to a format: its last edge and the path before it. Never changed once made, as longer paths build on it.
    template <class State>
    struct PathNode {
        double cost;
        State state;
        std::size_t previous;
        const Edge* last; // null for the empty path
        Node node;
        int length;
    };

    Node nodeOf(const FormatID& format) const;
    Node targetOf(const Edge& edge) const { return targets_[indexOf(edge)]; }
    std::span<const Edge> edgesOf(Node node) const;

    std::vector<FormatID> formats_;
    std::unordered_map<FormatID, Node> nodes_;
    std::vector<Edge> edges_;
    std::vector<Node> targets_;            // of each edge
    std::vector<std::uint32_t> firstEdge_; // of each node, and one past the last
};

template <class State, class Transition>
requires std::invocable<Transition&, const State&, const ConversionGraph::Edge&> std::vector<ConversionGraph::Path>
ConversionGraph::cheapestPaths(const FormatID& from, int maxSteps, State initial, Transition&& transition,
                               double leastCost)
const
{
    assert(maxSteps >= 0);
    constexpr double tolerance = 1e-9;
    constexpr std::size_t unreached = std::numeric_limits<std::size_t>::max();
    const Node source = nodeOf(from);
    if (source == none)
        return {};

    std::vector<PathNode<State>> paths;
    paths.reserve(formats_.size() + 1);
    paths.push_back({0, std::move(initial), unreached, nullptr, source, 0});
    std::vector<std::size_t> best(formats_.size(), unreached);
    best[source] = 0;

    const auto passes = [&](std::size_t path, Node node) {
        for (; path != unreached; path = paths[path].previous)
            if (paths[path].node == node)
                return true;
        return false;
    };
    const auto improves = [&](double cost, int length, Node target) {
        if (best[target] == unreached)
            return true;
        const PathNode<State>& known = paths[best[target]];
        return cost < known.cost - tolerance || (std::abs(cost - known.cost) < tolerance && length < known.length);
    };

    std::vector<Node> frontier{source};
    std::vector<Node> next;
    std::vector<int> lastPassOf(formats_.size(), -1);
    for (int pass = 0; pass < maxSteps && !frontier.empty(); ++pass) {
        for (const Node format : frontier) {
            const std::size_t current = best[format];
            const double cost = paths[current].cost;
            const int length = paths[current].length + 1;
            if (length > maxSteps || (paths[current].last && paths[current].last->capability.isTerminal))
                continue;
            for (const Edge& edge : edgesOf(format)) {
                const Node target = targetOf(edge);
                if (!improves(cost + leastCost, length, target) || passes(current, target))
                    continue;
                std::optional<Step<State>> step = transition(std::as_const(paths[current].state), edge);
                if (!step)
                    continue;
                const double total = cost + std::max(step->cost, leastStepCost);
                if (!improves(total, length, target))
                    continue;
                best[target] = paths.size();
                paths.push_back({total, std::move(step->next), current, &edge, target, length});
                if (std::exchange(lastPassOf[target], pass) != pass)
                    next.push_back(target);
            }
        }
        frontier.swap(next);
        next.clear();
    }

    std::vector<Path> result;
    for (Node node = 0; node < formats_.size(); ++node) {
        if (node == source || best[node] == unreached)
            continue;
        Path& path = result.emplace_back(static_cast<std::size_t>(paths[best[node]].length));
        for (std::size_t at = best[node], step = path.size(); step > 0; at = paths[at].previous)
            path[--step] = paths[at].last;
    }
    return result;
}

} // namespace nivex
