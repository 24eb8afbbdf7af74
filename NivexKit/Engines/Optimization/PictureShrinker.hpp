#pragma once

#include "NivexKit/Contract/BudgetShrinker.hpp"
#include "NivexKit/Workers/WorkerPool.hpp"

namespace nivex {

/// Makes finished pictures smaller with the worker program "image".
class PictureShrinker final : public BudgetShrinker {
public:
    /// The pool outlives the shrinker.
    explicit PictureShrinker(WorkerPool& pool = WorkerPool::standard()) : pool_{pool} {}

    std::vector<std::filesystem::path> shrinkToBudget(const std::vector<std::filesystem::path>& files,
                                                      const EngineRequest& request,
                                                      const CancellationFlag& cancellation) const override;

private:
    WorkerPool& pool_;
};

} // namespace nivex
