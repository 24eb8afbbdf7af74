#pragma once

#include <thread>

namespace nivex {

/// Remembers the thread that built it. An object that belongs to one thread holds one and checks it in every member.
class ThreadConfinement {
public:
    /// Stops the program, in every build, when called on another thread.
    void check() const;

private:
    std::thread::id owner_ = std::this_thread::get_id();
};

} // namespace nivex
