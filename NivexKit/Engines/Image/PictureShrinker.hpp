#pragma once

#include "NivexKit/Contract/BudgetShrinker.hpp"
#include "NivexKit/Workers/WorkerPool.hpp"

#include <memory>
#include <utility>

namespace nivex {

/// Makes finished pictures smaller with the worker program "image".
class PictureShrinker final : public BudgetShrinker {
public:
    explicit PictureShrinker(std::shared_ptr<WorkerPool> pool) : pool_{std::move(pool)} {}

    std::vector<std::filesystem::path> shrinkToBudget(const std::vector<std::filesystem::path>& files,
                                                      const EngineRequest& request,
                                                      const CancellationFlag& cancellation) const override;

private:
    std::shared_ptr<WorkerPool> pool_;
};

} // namespace nivex
