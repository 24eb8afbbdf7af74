#pragma once

#include "NivexKit/Foundation/Files/FileDescriptor.hpp"

#include <chrono>

namespace nivex {

/// Waits until a descriptor has something to read or its other end is closed; false when the time is up before.
/// Signals do not end the wait early by much: it may return true once too often, never miss.
bool waitReadable(int descriptor, std::chrono::milliseconds time);

/// A process held by a descriptor, so that its number can never come to mean another one.
class ProcessHandle {
public:
    explicit ProcessHandle(FileDescriptor descriptor) : descriptor_{std::move(descriptor)} {}

    int descriptor() const { return descriptor_.get(); }

    /// Ends the process as soon as the kernel can, whatever it is doing. True when it will end or has ended, false when
    /// the kernel refuses.
    bool kill() const;
    /// Waits for the end of the process; true only when it has ended, false when the time is up before.
    bool waitForEnd(std::chrono::milliseconds time) const;

private:
    FileDescriptor descriptor_;
};

} // namespace nivex
