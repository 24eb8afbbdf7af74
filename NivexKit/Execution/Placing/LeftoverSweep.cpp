#include "NivexKit/Execution/Placing/LeftoverSweep.hpp"

#include "NivexKit/Foundation/Files/TemporaryWorkspace.hpp"

namespace nivex {

void LeftoverSweep::visit(const std::filesystem::path& folder)
{
    bool isFirst = false;
    {
        const std::lock_guard lock{mutex_};
        isFirst = visited_.empty();
        if (!visited_.insert(folder.lexically_normal()).second)
            return;
    }
    if (isFirst)
        TemporaryWorkspace::removeLeftovers();
    TemporaryWorkspace::removeLeftovers(folder);
}

} // namespace nivex
