#include "NivexKit/Planning/ConversionGraph.hpp"
#include "tests/Support/FakeEngine.hpp"

#include <map>

namespace nivex {
namespace {

using testing::edge;
using ::testing::ElementsAre;
using testing::fakeEngine;

std::vector<std::string> shown(std::span<const ConversionGraph::Edge> edges)
{
    std::vector<std::string> result;
    for (const auto& [engine, capability] : edges)
        result.push_back(engine.rawValue + ":" + capability.source.rawValue + capability.target.rawValue);
    return result;
}

TEST(ConversionGraph, takesTheEdgesOfAvailableEnginesInTheirOrder)
{
    const auto absent = fakeEngine("absent", {edge("a", "z")});
    absent->state = EngineAvailability::unavailable("absent");
    const EngineList engines{fakeEngine("one", {edge("b", "c"), edge("a", "c"), edge("a", "a")}), absent,
                             fakeEngine("two", {edge("a", "b"), edge("a", "c"), edge("d", "d")})};
    const ConversionGraph graph{engines};

    EXPECT_THAT(shown(graph.edges("a")), ElementsAre("one:ac", "two:ab", "two:ac"));
    EXPECT_TRUE(graph.edges("c").empty());
    EXPECT_TRUE(graph.edges("unheard of").empty());
    EXPECT_EQ(graph.allEdges().size(), 4u);
    EXPECT_THAT(graph.readableFormats(), ElementsAre("b", "a"));
    EXPECT_THAT(graph.writableFormats(), ElementsAre("b", "c"));
    EXPECT_FALSE(graph.isWritable("z"));
    EXPECT_FALSE(graph.isWritable("d")) << "an edge to itself makes nothing";
}

/// "x:ab 2" is an edge of engine x from a to b that costs 2; "impossible" and "terminal" may follow.
struct PricedEdge {
    std::string text;

    EngineID engine() const { return text.substr(0, 1); }
    EngineCapability capability() const
    {
        return has("terminal") ? testing::terminalEdge(text.substr(2, 1), text.substr(3, 1))
                               : edge(text.substr(2, 1), text.substr(3, 1));
    }
    double cost() const { return std::stod(text.substr(5)); }
    bool has(std::string_view word) const { return text.find(word) != std::string::npos; }
};

/// Where one gets to from "a": the target, and the engines and formats on the way.
std::map<std::string, std::string> routes(const std::vector<PricedEdge>& edges, int maxSteps, double leastCost)
{
    std::map<EngineID, std::vector<EngineCapability>> offered;
    std::map<std::string, const PricedEdge*> priced;
    for (const PricedEdge& each : edges) {
        offered[each.engine()].push_back(each.capability());
        priced[each.text.substr(0, 4)] = &each;
    }
    EngineList engines;
    for (const auto& [id, capabilities] : offered)
        engines.push_back(fakeEngine(id, capabilities));
    const ConversionGraph graph{engines};

    using Step = ConversionGraph::Step<std::string>;
    const auto follow = [&](const std::string& state, const ConversionGraph::Edge& each) -> std::optional<Step> {
        const std::string text = shown(std::span{&each, 1}).front();
        const PricedEdge& price = *priced.at(text);
        if (price.has("impossible") || (price.has("once") && !state.empty()))
            return std::nullopt;
        return Step{price.cost(), state + text.front() + text.back()};
    };
    std::map<std::string, std::string> result;
    for (const ConversionGraph::Path& path : graph.cheapestPaths("a", maxSteps, std::string{}, follow, leastCost)) {
        std::string& way = result[path.back()->capability.target.rawValue];
        for (const ConversionGraph::Edge* step : path)
            way += step->engine.rawValue + step->capability.target.rawValue;
    }
    return result;
}

TEST(ConversionGraph, findsTheCheapestPathOfFewSteps)
{
    struct Case {
        const char* name;
        std::vector<PricedEdge> edges;
        int maxSteps;
        std::map<std::string, std::string> expected;
    };
    // clang-format off
    const Case cases[] = {
        {"no steps",                       {{"x:ab 1"}}, 0, {}},
        {"no edges from here",             {{"x:bc 1"}}, 3, {}},
        {"never back to the source",       {{"x:ab 1"}, {"x:ba 1"}}, 3, {{"b", "xb"}}},
        {"a detour that costs less",       {{"x:ab 5"}, {"x:ac 1"}, {"x:cb 1"}}, 3, {{"b", "xcxb"}, {"c", "xc"}}},
        {"too many steps",                 {{"x:ab 1"}, {"x:bc 1"}, {"x:cd 1"}, {"x:de 1"}}, 3, {{"b", "xb"}, {"c", "xbxc"}, {"d", "xbxcxd"}}},
        {"equal cost: fewer steps",        {{"x:ac 1"}, {"x:cb 1"}, {"y:ab 2"}}, 3, {{"b", "yb"}, {"c", "xc"}}},
        {"equal cost: shorter, seen later", {{"x:ab 1"}, {"x:ac 5"}, {"x:ae 2"}, {"x:bc 1"}, {"x:cd 1"}, {"x:ed 1"}}, 3,
                                            {{"b", "xb"}, {"c", "xbxc"}, {"d", "xexd"}, {"e", "xe"}}},
        {"equal in all: engine order",     {{"y:ab 1"}, {"x:ab 1"}}, 3, {{"b", "xb"}}},
        {"equal in all: capability order", {{"x:ac 1"}, {"x:ab 1"}, {"x:bd 1"}, {"x:cd 1"}}, 3, {{"b", "xb"}, {"c", "xc"}, {"d", "xcxd"}}},
        {"a later engine that costs less", {{"x:ab 2"}, {"y:ab 1"}}, 3, {{"b", "yb"}}},
        {"free steps still cost",          {{"x:ab 0"}, {"x:bc 0"}, {"y:ac 0"}}, 3, {{"b", "xb"}, {"c", "yc"}}},
        {"no further after the end",       {{"x:ab 1 terminal"}, {"x:bc 1"}}, 3, {{"b", "xb"}}},
        {"dearer than a dead end",         {{"x:ab 1 terminal"}, {"x:ac 2"}, {"x:cd 1"}, {"x:bd 1"}}, 3, {{"b", "xb"}, {"c", "xc"}, {"d", "xcxd"}}},
        {"refused edge",                   {{"x:ab 1 impossible"}, {"y:ab 3"}, {"y:bc 1 impossible"}}, 3, {{"b", "yb"}}},
        {"refused in that state",          {{"x:ab 1"}, {"x:bc 1 once"}}, 3, {{"b", "xb"}}},
        {"improved in the last pass",      {{"x:ab 9"}, {"x:ac 1"}, {"x:cb 1"}, {"x:bd 1"}}, 3, {{"b", "xcxb"}, {"c", "xc"}, {"d", "xcxbxd"}}},
        {"improved when out of steps",     {{"x:ab 9"}, {"x:ac 1"}, {"x:cb 1"}, {"x:bd 1"}}, 2, {{"b", "xcxb"}, {"c", "xc"}, {"d", "xbxd"}}},
    };
    // clang-format on
    for (const Case& each : cases) {
        SCOPED_TRACE(each.name);
        EXPECT_EQ(routes(each.edges, each.maxSteps, ConversionGraph::leastStepCost), each.expected);
        const bool isFree = std::ranges::any_of(each.edges, [](const PricedEdge& edge) { return edge.cost() < 1; });
        EXPECT_EQ(routes(each.edges, each.maxSteps, isFree ? 0 : 1), each.expected) << "knowing the least cost";
    }
}

} // namespace
} // namespace nivex
