#include "NivexKit/Contract/Optimizers.hpp"

namespace nivex {

Optimizer optimizerOf(const FormatID& format, const EngineList& engines)
{
    for (const auto& engine : engines)
        if (engine->availability().isAvailable())
            for (const EngineCapability& edge : engine->capabilities())
                if (edge.source == format && edge.target == format && !edge.joins &&
                    edge.options.contains(ConversionOptionKind::targetSize))
                    return {engine, &edge};
    return {};
}

} // namespace nivex
