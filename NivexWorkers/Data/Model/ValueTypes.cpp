#include "NivexWorkers/Data/Model/ValueTypes.hpp"

#include <numeric>

namespace nivex::data {

std::size_t LookCounts::filled() const
{
    return std::accumulate(counts_.begin(), counts_.end(), std::size_t{0}) - count(Look::empty);
}

ValueTypes LookCounts::types() const
{
    const std::size_t all = filled();
    return {.keepsText = count(Look::digits) > 0,
            .isBoolean = all > 0 && count(Look::boolean) == all,
            .isDate = all > 0 && (count(Look::day) == all || count(Look::moment) == all)};
}

} // namespace nivex::data
