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
#include <type_traits>
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

    template <class State, class Transition>
    class PathSearch;

    Node nodeOf(const FormatID& format) const;
    Node targetOf(const Edge& edge) const { return targets_[indexOf(edge)]; }
    std::span<const Edge> edgesOf(Node node) const;

    std::vector<FormatID> formats_;
    std::unordered_map<FormatID, Node> nodes_;
    std::vector<Edge> edges_;
    std::vector<Node> targets_;            // of each edge
    std::vector<std::uint32_t> firstEdge_; // of each node, and one past the last
};

/// One search: each pass extends the best paths of the pass before it by one edge.
template <class State, class Transition>
class ConversionGraph::PathSearch {
public:
    PathSearch(const ConversionGraph& graph, int maxSteps, Transition& transition, double leastCost)
        : graph_{graph}, maxSteps_{maxSteps}, transition_{transition}, leastCost_{leastCost},
          best_(graph.formats_.size(), unreached), lastPassOf_(graph.formats_.size(), -1)
    {
    }

    std::vector<Path> run(Node source, State initial)
    {
        paths_.reserve(best_.size() + 1);
        reach(source, {0, std::move(initial), unreached, nullptr, source, 0});
        frontier_ = {source};
        for (int pass = 0; pass < maxSteps_ && !frontier_.empty(); ++pass) {
            std::vector<Node> reached;
            for (const Node format : frontier_)
                extend(best_[format], pass, reached);
            frontier_ = std::move(reached);
        }
        return pathsFrom(source);
    }

private:
    static constexpr double tolerance = 1e-9;
    static constexpr std::size_t unreached = std::numeric_limits<std::size_t>::max();

    /// A path to a format: its last edge and the path before it. Never changed once made, as longer paths build on it.
    struct PathNode {
        double cost;
        State state;
        std::size_t previous;
        const Edge* last; // null for the empty path
        Node node;
        int length;
    };

    void extend(std::size_t current, int pass, std::vector<Node>& reached)
    {
        const int length = paths_[current].length + 1;
        if (length > maxSteps_ || (paths_[current].last && paths_[current].last->capability.isTerminal))
            return;
        for (const Edge& edge : graph_.edgesOf(paths_[current].node)) {
            const Node target = graph_.targetOf(edge);
            if (follow(current, edge, target, length) && std::exchange(lastPassOf_[target], pass) != pass)
                reached.push_back(target);
        }
    }

    /// Lengthens a path by an edge. False where that brings nothing, which is asked before the transition is.
    bool follow(std::size_t current, const Edge& edge, Node target, int length)
    {
        const double cost = paths_[current].cost;
        if (!improves(cost + leastCost_, length, target) || passes(current, target))
            return false;
        std::optional<Step<State>> step = transition_(std::as_const(paths_[current].state), edge);
        if (!step)
            return false;
        const double total = cost + std::max(step->cost, leastStepCost);
        if (!improves(total, length, target))
            return false;
        reach(target, {total, std::move(step->next), current, &edge, target, length});
        return true;
    }

    void reach(Node node, PathNode path)
    {
        best_[node] = paths_.size();
        paths_.push_back(std::move(path));
    }

    bool improves(double cost, int length, Node target) const
    {
        if (best_[target] == unreached)
            return true;
        const PathNode& known = paths_[best_[target]];
        return cost < known.cost - tolerance || (std::abs(cost - known.cost) < tolerance && length < known.length);
    }

    bool passes(std::size_t path, Node node) const
    {
        for (; path != unreached; path = paths_[path].previous)
            if (paths_[path].node == node)
                return true;
        return false;
    }

    std::vector<Path> pathsFrom(Node source) const
    {
        std::vector<Path> result;
        for (Node node = 0; node < best_.size(); ++node)
            if (node != source && best_[node] != unreached)
                result.push_back(edgesAlong(best_[node]));
        return result;
    }

    Path edgesAlong(std::size_t path) const
    {
        Path edges(static_cast<std::size_t>(paths_[path].length));
        for (std::size_t step = edges.size(); step > 0; path = paths_[path].previous)
            edges[--step] = paths_[path].last;
        return edges;
    }

    const ConversionGraph& graph_;
    const int maxSteps_;
    Transition& transition_;
    const double leastCost_;

    std::vector<PathNode> paths_;
    std::vector<std::size_t> best_; // of each format
    std::vector<Node> frontier_;    // formats whose best path is of the last pass
    std::vector<int> lastPassOf_;   // in which each format was reached, to extend it once
};

template <class State, class Transition>
requires std::invocable<Transition&, const State&, const ConversionGraph::Edge&> std::vector<ConversionGraph::Path>
ConversionGraph::cheapestPaths(const FormatID& from, int maxSteps, State initial, Transition&& transition,
                               double leastCost)
const
{
    assert(maxSteps >= 0);
    const Node source = nodeOf(from);
    if (source == none)
        return {};
    PathSearch<State, std::remove_reference_t<Transition>> search{*this, maxSteps, transition, leastCost};
    return search.run(source, std::move(initial));
}

} // namespace nivex
