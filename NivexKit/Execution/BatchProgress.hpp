#pragma once

#include <cstddef>
#include <optional>

namespace nivex {

/// The jobs of one batch, summed up.
struct BatchProgress {
    std::size_t total = 0;
    std::size_t finished = 0; // the sum of the next three
    std::size_t succeeded = 0;
    std::size_t failed = 0;
    std::size_t cancelled = 0;
    std::optional<double> fraction; // 0…1; a job that cannot tell how far it is counts as not begun

    bool isFinished() const { return finished == total; }

    bool operator==(const BatchProgress&) const = default;
};

} // namespace nivex
