#pragma once

#include "NivexKit/Contract/ConversionEngine.hpp"
#include "NivexKit/Contract/Optimizers.hpp"
#include "NivexKit/Execution/Placing/MadeFile.hpp"
#include "NivexKit/Execution/ProgressGate.hpp"
#include "NivexKit/Formats/FormatRegistry.hpp"
#include "NivexKit/Foundation/Files/TemporaryWorkspace.hpp"
#include "NivexKit/Planning/CombinationPlan.hpp"
#include "NivexKit/Planning/ConversionPlan.hpp"

#include <cstddef>
#include <memory>
#include <optional>
#include <span>
#include <stop_token>
#include <string>
#include <unordered_map>
#include <vector>

namespace nivex {

/// The part of a whole plan that one call of an engine is.
struct ProgressShare {
    double begin = 0;
    double width = 1;
    std::string phase = {}; // what is done in it, as the user reads it

    /// Where a fraction of the part lies in the whole; none for none and for what is no number.
    std::optional<double> of(std::optional<double> fraction) const;
    ProgressShare part(std::size_t index, std::size_t count) const;
};

/// The steps of one plan in one workspace. What it is given must outlive it, except what an engine that is left behind
/// may still use.
class StepRun {
public:
    using Engines = std::unordered_map<EngineID, std::shared_ptr<const ConversionEngine>>;

    /// common  what all steps are given; its input is that of the first
    StepRun(const Engines& engines, const FormatRegistry& registry, EngineRequest common,
            std::shared_ptr<TemporaryWorkspace> workspace, std::shared_ptr<ProgressGate> progress,
            std::stop_token cancellation)
        : engines_{engines}, registry_{registry}, common_{std::move(common)},
          workspace_{std::move(workspace)}, progress_{std::move(progress)}, cancellation_{std::move(cancellation)}
    {
    }

    /// What the last step made, checked. Throws ConversionError.
    ///
    /// others  what a plan that joins takes behind the input
    std::vector<MadeFile> run(const ConversionPlan& plan, const std::vector<JoinedSource>& others) const;

    /// The same files, those that exceed the target size that is asked for made smaller by an optimizer of their
    /// format, each under its time limit. Throws ConversionError.
    std::vector<MadeFile> shrink(const Optimizer& optimizer, std::vector<MadeFile> files,
                                 const FileFormat& format) const;

private:
    using Engine = std::shared_ptr<const ConversionEngine>;
    using Files = std::vector<MadeFile>;

    /// What a route has made so far, and what is known of it.
    struct Stage {
        Files files;
        SourceProperties properties;
    };

    Stage runRoute(const EngineRequest& common, std::span<const PlannedStep> steps, ProgressShare share,
                   const std::string& folderPrefix = {}) const;
    Files runJoin(std::span<const PlannedStep> steps, const std::vector<JoinedSource>& others) const;
    const Engine& knownEngine(const EngineID& id) const;
    Files runStep(const PlannedStep& step, EngineRequest request, ProgressShare share, const Files& inputs) const;
    Files convertEach(const Engine& engine, const EngineRequest& common, ProgressShare share,
                      const Files& inputs) const;
    Files convert(const Engine& engine, EngineRequest request, ProgressShare share) const;
    FileFormat knownFormat(const FormatID& id) const;

    const Engines& engines_;
    const FormatRegistry& registry_;
    EngineRequest common_;
    std::shared_ptr<TemporaryWorkspace> workspace_;
    std::shared_ptr<ProgressGate> progress_;
    std::stop_token cancellation_;
};

} // namespace nivex
