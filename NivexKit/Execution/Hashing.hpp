#pragma once

// What makes plans, jobs and what became of them keys of sets and maps.

#include "NivexKit/Contract/Hashing.hpp"
#include "NivexKit/Execution/BatchProgress.hpp"
#include "NivexKit/Execution/ConversionJob.hpp"
#include "NivexKit/Execution/ConversionOutcome.hpp"
#include "NivexKit/Planning/ConversionPlan.hpp"

template <>
struct std::hash<nivex::PlannedStep> {
    std::size_t operator()(const nivex::PlannedStep& step) const
    {
        return nivex::combinedHash(step.engine, step.source, step.target);
    }
};

template <>
struct std::hash<nivex::ConversionPlan> {
    std::size_t operator()(const nivex::ConversionPlan& plan) const
    {
        return nivex::combinedHash(plan.source.id, plan.steps, plan.losses, plan.options, plan.reportsProgress,
                                   plan.refused, plan.joins);
    }
};

template <>
struct std::hash<nivex::ConversionOutcome> {
    std::size_t operator()(const nivex::ConversionOutcome& outcome) const
    {
        return nivex::combinedHash(outcome.outputs, outcome.totalBytes);
    }
};

template <>
struct std::hash<nivex::BatchProgress> {
    std::size_t operator()(const nivex::BatchProgress& progress) const
    {
        return nivex::combinedHash(progress.total, progress.finished, progress.succeeded, progress.failed,
                                   progress.cancelled, progress.fraction);
    }
};

template <>
struct std::hash<nivex::ConversionJob> {
    std::size_t operator()(const nivex::ConversionJob& job) const { return nivex::combinedHash(job.id); }
};
