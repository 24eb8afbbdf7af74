#include "NivexKit/Engines/Catalog/EngineCatalog.hpp"

#include "NivexKit/Contract/DeclaredEngine.hpp"
#include "NivexKit/Engines/Catalog/WorkerProbe.hpp"
#include "NivexKit/Engines/Data/DataEngine.hpp"
#include "NivexKit/Engines/Document/DocumentEngine.hpp"
#include "NivexKit/Engines/Image/NativeImageEngine.hpp"
#include "NivexKit/Engines/Image/PictureMeasurements.hpp"
#include "NivexKit/Engines/InDesign/InDesignEngine.hpp"
#include "NivexKit/Engines/Media/MediaEngine.hpp"
#include "NivexKit/Engines/Optimization/OptimizationEngine.hpp"
#include "NivexKit/Engines/Pages/TextRecognitionEngine.hpp"
#include "NivexKit/Engines/Pages/VectorEngine.hpp"
#include "NivexKit/Engines/Scene/SceneEngine.hpp"
#include "NivexKit/Engines/Subtitle/SubtitleEngine.hpp"
#include "NivexKit/Planning/ConversionGraph.hpp"

namespace nivex {
namespace {

/// An engine that waits for its work.
std::shared_ptr<const ConversionEngine> declared(DeclaredEngine::Declaration declaration)
{
    return std::make_shared<DeclaredEngine>(std::move(declaration));
}

} // namespace

EngineList EngineCatalog::standard(const FormatRegistry& registry, const std::shared_ptr<WorkerPool>& pool)
{
    // clang-format off
    return {
        std::make_shared<NativeImageEngine>(registry, pool),
        std::make_shared<OptimizationEngine>(registry, pool),
        std::make_shared<MediaEngine>(registry, pool),
        std::make_shared<DocumentEngine>(registry, pool),
        std::make_shared<DataEngine>(registry, pool),
        std::make_shared<SubtitleEngine>(registry),
        std::make_shared<VectorEngine>(registry, pool),
        declared({.id = "native-illustrator", .displayName = "Illustrator (contenu PDF intégré)"_fr}),
        std::make_shared<InDesignEngine>(InDesignEngine::installedApplication()),
        declared({.id = "native-indesign-preview", .displayName = "Aperçus enregistrés par InDesign"_fr}),
        std::make_shared<TextRecognitionEngine>(registry, pool),
        std::make_shared<SceneEngine>(registry, pool),
    };
    // clang-format on
}

SourceProbes EngineCatalog::deepProbes(const FormatRegistry& registry, const ResourceLimits& limits,
                                       const std::shared_ptr<WorkerPool>& pool)
{
    const WorkerProbe::Row rows[] = {
        {.program = "image",
         .engine = "native-image",
         .formats = measuredPictures(registry),
         .enter = enterPicture,
         .decodesImages = true},
        {.program = "pages", .engine = "native-image", .formats = {"pdf"}},
        {.program = "media", .engine = "native-media", .formats = MediaEngine::measuredFormats(registry)},
        {.program = "scene", .engine = "native-3d", .formats = SceneEngine::measuredFormats(registry)},
    };
    SourceProbes probes;
    for (const WorkerProbe::Row& row : rows)
        probes.add(std::make_shared<WorkerProbe>(row, registry, limits, pool), row.formats);
    return probes;
}

std::set<FormatID> EngineCatalog::pendingValidationSources(const FormatRegistry& registry,
                                                           const std::shared_ptr<WorkerPool>& pool)
{
    const EngineList engines = standard(registry, pool);
    const ConversionGraph graph{engines};
    std::set<FormatID> pending = NativeImageEngine::pendingValidationSources(registry);
    std::erase_if(pending, [&](const FormatID& format) { return graph.isReadable(format); });
    return pending;
}

} // namespace nivex
