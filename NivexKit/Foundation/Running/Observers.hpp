#pragma once

#include <exception>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

namespace nivex {

/// Keeps an observer told for as long as it lives. May outlive what is observed.
using Observation = std::shared_ptr<const void>;

/// Those who want to be told of something, in the order in which they came. One thread.
template <class... Told>
class Observers {
public:
    using Observer = std::function<void(const Told&...)>;

    /// From now on, until what is returned is let go.
    [[nodiscard]] Observation add(Observer observer)
    {
        auto observation = std::make_shared<const Observer>(std::move(observer));
        std::erase_if(observers_, [](const auto& each) { return each.expired(); });
        observers_.push_back(observation);
        return observation;
    }

    /// Tells all that are there now; an observer may add others and let go of any. What one of them throws passes on
    /// when the others have been told.
    void tell(const Told&... told) const
    {
        std::exception_ptr thrown;
        const auto observers = observers_;
        for (const auto& each : observers) {
            const auto observer = each.lock();
            if (!observer)
                continue;
            try {
                (*observer)(told...);
            } catch (...) {
                if (!thrown)
                    thrown = std::current_exception();
            }
        }
        if (thrown)
            std::rethrow_exception(thrown);
    }

private:
    std::vector<std::weak_ptr<const Observer>> observers_;
};

} // namespace nivex
