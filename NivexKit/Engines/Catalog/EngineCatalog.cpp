#include "NivexKit/Engines/Catalog/EngineCatalog.hpp"

#include "NivexKit/Engines/Catalog/PictureProbe.hpp"
#include "NivexKit/Engines/Data/DataEngine.hpp"
#include "NivexKit/Engines/Document/DocumentEngine.hpp"
#include "NivexKit/Engines/Illustrator/IllustratorEngine.hpp"
#include "NivexKit/Engines/Image/NativeImageEngine.hpp"
#include "NivexKit/Engines/Image/PictureFormats.hpp"
#include "NivexKit/Engines/InDesign/InDesignEngine.hpp"
#include "NivexKit/Engines/InDesignPreview/InDesignPreviewEngine.hpp"
#include "NivexKit/Engines/Media/MediaEngine.hpp"
#include "NivexKit/Engines/Optimization/OptimizationEngine.hpp"
#include "NivexKit/Engines/Optimization/PictureShrinker.hpp"
#include "NivexKit/Engines/Scene/SceneEngine.hpp"
#include "NivexKit/Engines/Subtitle/SubtitleEngine.hpp"
#include "NivexKit/Engines/TextRecognition/TextRecognitionEngine.hpp"
#include "NivexKit/Engines/Vector/VectorEngine.hpp"
#include "NivexKit/Planning/ConversionGraph.hpp"

namespace nivex {

EngineList EngineCatalog::standard(const FormatRegistry& registry)
{
    return {
        std::make_shared<NativeImageEngine>(registry),
        std::make_shared<OptimizationEngine>(registry),
        std::make_shared<MediaEngine>(registry),
        std::make_shared<DocumentEngine>(registry),
        std::make_shared<DataEngine>(registry),
        std::make_shared<SubtitleEngine>(registry),
        std::make_shared<VectorEngine>(registry),
        std::make_shared<IllustratorEngine>(registry),
        std::make_shared<InDesignEngine>(registry, InDesignEngine::installedApplication()),
        std::make_shared<InDesignPreviewEngine>(registry),
        std::make_shared<TextRecognitionEngine>(registry),
        std::make_shared<SceneEngine>(registry),
    };
}

std::shared_ptr<const BudgetShrinker> EngineCatalog::budgetShrinker() { return std::make_shared<PictureShrinker>(); }

SourceProbes EngineCatalog::deepProbes(const FormatRegistry& registry, const ResourceLimits& limits)
{
    std::vector<FormatID> readable;
    for (const PictureFormat& row : pictureFormats())
        if (row.read && registry.format(FormatID{row.id}))
            readable.emplace_back(row.id);
    SourceProbes probes;
    probes.add(std::make_shared<PictureProbe>(registry, limits, WorkerPool::standard()), readable);
    return probes;
}

std::set<FormatID> EngineCatalog::pendingValidationSources(const FormatRegistry& registry)
{
    const EngineList engines = standard(registry);
    const ConversionGraph graph{engines};
    std::set<FormatID> pending = NativeImageEngine::pendingValidationSources(registry);
    std::erase_if(pending, [&](const FormatID& format) { return graph.isReadable(format); });
    return pending;
}

} // namespace nivex
