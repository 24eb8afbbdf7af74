#pragma once

#include "NivexKit/Foundation/ConversionError.hpp"

#include <atomic>

namespace nivex {

/// Tells blocking code that its work is no longer wanted. Set once, read from any thread; blocking code polls it
/// between units of work (pages, rows, meshes).
class CancellationFlag {
public:
    void set() noexcept { isSet_.store(true, std::memory_order_relaxed); }
    bool isSet() const noexcept { return isSet_.load(std::memory_order_relaxed); }

    /// Throws ConversionError::cancelled once the flag is set.
    void check() const
    {
        if (isSet())
            throw ConversionError::cancelled();
    }

private:
    std::atomic<bool> isSet_{false};
};

} // namespace nivex
