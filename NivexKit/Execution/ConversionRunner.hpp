#pragma once

#include "NivexKit/Contract/ConversionEngine.hpp"
#include "NivexKit/Execution/ConversionOutcome.hpp"
#include "NivexKit/Execution/ConversionTask.hpp"
#include "NivexKit/Execution/Placing/LeftoverSweep.hpp"
#include "NivexKit/Execution/Placing/NameNumbers.hpp"
#include "NivexKit/Execution/RunProgress.hpp"
#include "NivexKit/Execution/StepRun.hpp"
#include "NivexKit/Formats/FormatRegistry.hpp"
#include "NivexKit/Foundation/ResourceLimits.hpp"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <stop_token>
#include <vector>

namespace nivex {

/// Carries out a plan for one file, or for several that are joined: every step by its engine in a private workspace,
/// checks, and only at the end the move into the destination. A plain value; several runs may go on at once. The
/// registry must outlive it.
class ConversionRunner {
public:
    using Engines = StepRun::Engines;

    /// What misses its target size is made smaller by the optimizer of its format among the engines; where there is
    /// none it is only measured.
    ConversionRunner(EngineList engines, const FormatRegistry& registry, const ResourceLimits& limits);

    const ResourceLimits& limits() const { return limits_; }

    /// Converts the task's input, blocking, and returns what stands in the destination now. The input is only read.
    /// After any other end than success the destination is as it was before.
    ///
    /// progress      called on any thread, one call at a time and none after the return
    /// cancellation  ends the run with ConversionError::cancelled, at once even when an engine does not notice
    /// errors        ConversionError; what else an engine throws is passed on
    ConversionOutcome run(const ConversionTask& task, const RunProgressCallback& progress,
                          const std::stop_token& cancellation) const;

    /// The bytes of a file, or of the files in a folder; what cannot be measured counts as nothing.
    static std::int64_t size(const std::filesystem::path& of);

private:
    using Files = std::vector<MadeFile>;

    Files made(const StepRun& steps, const ConversionTask& task) const;

    Files shrunk(const StepRun& steps, const ConversionTask& task, Files files) const;

    EngineList engineList_;
    Engines engines_; // the same by their identifiers
    const FormatRegistry* registry_;
    ResourceLimits limits_;
    std::shared_ptr<LeftoverSweep> leftovers_ = std::make_shared<LeftoverSweep>();
    std::shared_ptr<NameNumbers> numbers_ = std::make_shared<NameNumbers>();
};

} // namespace nivex
