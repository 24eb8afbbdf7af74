#include "NivexKit/Execution/Placing/NameNumbers.hpp"

#include <algorithm>

namespace nivex {

std::size_t NameNumbers::takenUpTo(const Key& name)
{
    const std::lock_guard lock{mutex_};
    const auto found = taken_.find(name);
    return found != taken_.end() && isValid(found->second) ? found->second.upTo : 0;
}

void NameNumbers::remember(const Key& name, std::size_t number)
{
    if (number <= alwaysAsked)
        return;
    const std::lock_guard lock{mutex_};
    if (const auto found = taken_.find(name); found != taken_.end() && isValid(found->second)) {
        found->second.upTo = std::max(found->second.upTo, number);
        return;
    }
    std::erase_if(taken_, [this](const auto& each) { return !isValid(each.second); });
    taken_[name] = {.upTo = number, .since = now_()};
}

void NameNumbers::forget()
{
    const std::lock_guard lock{mutex_};
    taken_.clear();
}

} // namespace nivex
