#include "NivexKit/Engines/Optimization/OptimizationEngine.hpp"

namespace nivex {

OptimizationEngine::OptimizationEngine(const FormatRegistry&)
    : DeclaredEngine{"native-optimization", "Optimisation locale"_fr}
{
}

} // namespace nivex
