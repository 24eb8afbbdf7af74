#pragma once

#include "NivexKit/Contract/ConversionOptions.hpp"
#include "NivexKit/Detection/DetectionResult.hpp"
#include "NivexKit/Execution/ConversionOutcome.hpp"
#include "NivexKit/Execution/OutputPlacement.hpp"
#include "NivexKit/Execution/RunProgress.hpp"
#include "NivexKit/Foundation/Text/Uuid.hpp"
#include "NivexKit/Planning/CombinationPlan.hpp"
#include "NivexKit/Planning/ConversionPlan.hpp"

#include <chrono>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace nivex {

/// One file, or several that are joined, on the way to one target. The jobs of one call of the queue are a batch.
struct ConversionJob {
    struct Waiting {
        bool operator==(const Waiting&) const = default;
    };
    using Running = RunProgress;
    struct Succeeded {
        ConversionOutcome outcome;

        bool operator==(const Succeeded&) const = default;
    };
    struct Failed {
        std::string message;    // as the user reads it
        std::string cause = {}; // a technical note of what exactly was wrong; may be empty

        bool operator==(const Failed&) const = default;
    };
    struct Cancelled {
        bool operator==(const Cancelled&) const = default;
    };
    using State = std::variant<Waiting, Running, Succeeded, Failed, Cancelled>;
    using Time = std::chrono::system_clock::time_point;

    Uuid id;
    Uuid batchID;
    DetectionResult source; // its location is the file to convert
    ConversionPlan plan;
    ConversionOptions options;
    OutputPlacement placement;
    State state;
    Time createdAt;
    std::optional<Time> startedAt;         // set when a run begins
    std::optional<Time> finishedAt;        // set with a finished state
    std::vector<JoinedSource> others = {}; // joined with the source, behind it and in this order

    /// True for Succeeded, Failed and Cancelled, which never change again.
    bool isFinished() const
    {
        return !std::holds_alternative<Waiting>(state) && !std::holds_alternative<Running>(state);
    }

    bool operator==(const ConversionJob&) const = default;
};

} // namespace nivex
