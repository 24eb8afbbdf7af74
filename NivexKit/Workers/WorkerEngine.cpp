#include "NivexKit/Workers/WorkerEngine.hpp"

#include <utility>

namespace nivex {

WorkerEngine::WorkerEngine(Identity identity, std::shared_ptr<WorkerPool> pool, std::vector<EngineCapability> edges)
    : identity_{std::move(identity)}, pool_{std::move(pool)},
      availability_{pool_->availability(identity_.program)}, edges_{std::move(edges)}
{
    for (EngineCapability& edge : edges_)
        edge.supportsCancellation = true;
}

std::vector<std::filesystem::path> WorkerEngine::convert(const EngineRequest& request, const ProgressCallback& progress,
                                                         const CancellationFlag& cancellation) const
{
    return pool_->convert({.program = programFor(request), .engine = identity_.id, .request = request}, progress,
                          cancellation);
}

} // namespace nivex
