#pragma once

#include "NivexKit/Execution/ConversionRunner.hpp"
#include "NivexKit/Foundation/ConversionError.hpp"
#include "tests/Support/FakeEngine.hpp"
#include "tests/Support/TemporaryFolder.hpp"

#include <algorithm>
#include <filesystem>
#include <memory>
#include <stop_token>
#include <string>
#include <utility>
#include <vector>

namespace nivex::testing {

/// The names in a folder, sorted.
inline std::vector<std::string> namesIn(const std::filesystem::path& folder)
{
    std::vector<std::string> names;
    for (const auto& each : std::filesystem::directory_iterator{folder})
        names.push_back(each.path().filename());
    std::sort(names.begin(), names.end());
    return names;
}

/// A folder, one fake engine that knows every edge, and a runner of it and what other engines a test adds.
struct ConversionScene {
    TemporaryFolder folder;
    std::shared_ptr<FakeEngine> engine = fakeEngine("fake", {});
    std::vector<std::shared_ptr<FakeEngine>> others = {}; // engines besides that one

    std::filesystem::path input() const { return folder.write("film.srt", "source"); }

    ConversionRunner runner() const
    {
        ResourceLimits limits;
        limits.stepTimeout = std::chrono::hours{1};
        EngineList engines{engine};
        engines.insert(engines.end(), others.begin(), others.end());
        return {std::move(engines), FormatRegistry::standard(), limits};
    }

    /// The route over these formats.
    ConversionPlan plan(const std::vector<FormatID>& route) const
    {
        ConversionPlan plan;
        plan.source = *FormatRegistry::standard().format(route.front());
        plan.target = *FormatRegistry::standard().format(route.back());
        for (std::size_t i = 1; i < route.size(); ++i)
            plan.steps.push_back({.engine = "fake", .source = route[i - 1], .target = route[i]});
        return plan;
    }

    ConversionOutcome run(const ConversionPlan& plan, const std::filesystem::path& input,
                          const ConversionOptions& options = {}, const RunProgressCallback& progress = {}) const
    {
        return runner().run({.plan = plan, .input = input, .options = options}, progress, {});
    }

    /// The error of a run; one that no test expects when there is none.
    ConversionError failure(const ConversionPlan& plan, const std::filesystem::path& input,
                            const ConversionOptions& options = {}, const OutputDestination& destination = {},
                            const RunProgressCallback& progress = {}, const std::stop_token& cancellation = {}) const
    {
        try {
            runner().run({.plan = plan, .input = input, .options = options, .placement = destination}, progress,
                         cancellation);
        } catch (const ConversionError& error) {
            return error;
        }
        return ConversionError::unsupported("no error at all");
    }
};

} // namespace nivex::testing
