#include "NivexKit/Planning/ConversionPlan.hpp"

namespace nivex {

std::vector<FormatID> ConversionPlan::intermediateFormats() const
{
    std::vector<FormatID> result;
    for (std::size_t step = 0; step + 1 < steps.size(); ++step)
        result.push_back(steps[step].target);
    return result;
}

} // namespace nivex
