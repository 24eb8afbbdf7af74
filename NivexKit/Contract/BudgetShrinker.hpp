#pragma once

#include "NivexKit/Contract/EngineRequest.hpp"
#include "NivexKit/Foundation/Running/CancellationFlag.hpp"

#include <filesystem>
#include <vector>

namespace nivex {

/// Makes finished images smaller until they keep to a target size. Any thread.
class BudgetShrinker {
public:
    virtual ~BudgetShrinker() = default;

    /// Returns, in the same order, a file for each of `files` that is no larger than `request.options.maxFileBytes`:
    /// the file itself where it is small enough, else a new one below `request.workingDirectory`. The request's source
    /// and target format are both the format of the files. Throws ConversionError, `encodingFailed` when no setting
    /// makes a file small enough.
    virtual std::vector<std::filesystem::path> shrinkToBudget(const std::vector<std::filesystem::path>& files,
                                                              const EngineRequest& request,
                                                              const CancellationFlag& cancellation) const = 0;
};

} // namespace nivex
