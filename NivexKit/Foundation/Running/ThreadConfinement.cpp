#include "NivexKit/Foundation/Running/ThreadConfinement.hpp"

#include <cstdio>
#include <cstdlib>

namespace nivex {

void ThreadConfinement::check() const
{
    if (std::this_thread::get_id() == owner_)
        return;
    std::fputs("NIVEX: an object of the main thread was used on another thread\n", stderr);
    std::abort();
}

} // namespace nivex
