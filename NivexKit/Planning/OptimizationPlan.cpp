#include "NivexKit/Contract/Optimizers.hpp"
#include "NivexKit/Contract/OutputBudget.hpp"
#include "NivexKit/Planning/ConversionPlanner.hpp"

namespace nivex {

std::optional<ConversionPlan> ConversionPlanner::optimizationPlan(const DetectionResult& detection,
                                                                  const ConversionOptions& options) const
{
    if (!detection.isUsable())
        return std::nullopt;
    const FileFormat& format = *detection.format;
    if (!OutputBudget::isOffered(format.id) || !graph_.isWritable(format.id))
        return std::nullopt;
    const Optimizer optimizer = optimizerOf(format.id, engines_);
    if (!optimizer.engine)
        return std::nullopt;
    return ConversionPlan{.source = format,
                          .target = format,
                          .steps = {{optimizer.engine->id(), format.id, format.id}},
                          .losses = optimizer.engine->expectedLosses(format, detection.properties, format, options),
                          .options = optimizer.edge->options,
                          .reportsProgress = optimizer.edge->reportsProgress,
                          .refused = optimizer.edge->refused};
}

} // namespace nivex
