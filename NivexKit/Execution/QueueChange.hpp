#pragma once

#include "NivexKit/Foundation/Text/Uuid.hpp"

#include <vector>

namespace nivex {

/// What a queue shows differently than its observers were last told. The lists are in the order of events and meant to
/// be applied in the order in which they stand here; a job may be named in several.
struct QueueChange {
    std::vector<Uuid> added;           // jobs, behind all others
    std::vector<Uuid> updated;         // jobs with another state or progress
    std::vector<Uuid> removed;         // jobs that are gone
    std::vector<Uuid> finishedBatches; // batches whose last unfinished job has finished or been removed
    bool limit = false;                // another number of jobs may run at once

    bool isEmpty() const
    {
        return added.empty() && updated.empty() && removed.empty() && finishedBatches.empty() && !limit;
    }

    bool operator==(const QueueChange&) const = default;
};

} // namespace nivex
