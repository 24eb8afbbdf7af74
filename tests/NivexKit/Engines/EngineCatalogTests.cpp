#include "NivexKit/Engines/Catalog/EngineCatalog.hpp"
#include "NivexKit/Engines/Image/NativeImageEngine.hpp"
#include "NivexKit/Engines/InDesign/InDesignEngine.hpp"
#include "NivexKit/Planning/ConversionGraph.hpp"

namespace nivex {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::Not;

const FormatRegistry& registry() { return FormatRegistry::standard(); }

std::shared_ptr<WorkerPool> pool() { return std::make_shared<WorkerPool>(WorkerPool::Settings::ofThisMachine()); }

TEST(EngineCatalog, namesItsEnginesInOrder)
{
    const std::pair<const char*, const char*> expected[] = {
        {"native-image", "Images macOS (ImageIO)"},
        {"native-optimization", "Optimisation locale"},
        {"native-media", "Audio et vidéo macOS (AVFoundation)"},
        {"native-document", "Documents macOS (système de texte Cocoa)"},
        {"native-data", "Données (CSV, Excel, JSON, YAML, plist)"},
        {"native-subtitle", "Sous-titres (SRT, WebVTT, ASS)"},
        {"native-vector", "Dessins vectoriels macOS (SVG)"},
        {"native-illustrator", "Illustrator (contenu PDF intégré)"},
        {"adobe-indesign", "Adobe InDesign, installé sur ce Mac"},
        {"native-indesign-preview", "Aperçus enregistrés par InDesign"},
        {"native-text", "Reconnaissance de texte macOS (Vision)"},
        {"native-3d", "3D (FBX, glTF, USD, OBJ, STL, PLY)"},
    };
    const EngineList engines = EngineCatalog::standard(registry(), pool());
    ASSERT_EQ(engines.size(), std::size(expected));
    for (std::size_t i = 0; i < engines.size(); ++i) {
        EXPECT_EQ(engines[i]->id(), EngineID{expected[i].first});
        EXPECT_EQ(engines[i]->displayName(), expected[i].second);
    }
}

TEST(EngineCatalog, engineThatDoesNotWorkHereSaysWhyAndOffersNothing)
{
    const EngineList engines = EngineCatalog::standard(registry(), pool());
    for (const auto& engine : engines) {
        SCOPED_TRACE(engine->id().rawValue);
        const bool works = engine->availability().isAvailable();
        EXPECT_NE(works, engine->availability().reason().has_value());
        if (works) {
            EXPECT_FALSE(engine->capabilities().empty());
        }
    }
    const ConversionEngine& inDesign = *engines[8];
    EXPECT_EQ(inDesign.availability(), EngineAvailability::unavailable("InDesign n'est pas installé sur ce Mac"));
    EXPECT_THAT(inDesign.dependencies(), ElementsAre("Adobe InDesign"));
    EXPECT_NE(InDesignEngine("/Applications/InDesign").availability(), inDesign.availability())
        << "an installed application is not called missing";
    EXPECT_THROW(inDesign.convert({}, [](auto) {}, {}), ConversionError);
}

TEST(EngineCatalog, onlyTwoEnginesHaveTimeLimitsOfTheirOwn)
{
    EngineRequest request;
    request.limits.mediaStepTimeout = std::chrono::seconds{77};
    for (const auto& engine : EngineCatalog::standard(registry(), pool())) {
        std::optional<std::chrono::seconds> expected;
        if (engine->id() == EngineID{"native-media"})
            expected = std::chrono::seconds{77};
        if (engine->id() == EngineID{"adobe-indesign"})
            expected = std::chrono::seconds{900};
        EXPECT_EQ(engine->timeout(request), expected) << engine->id().rawValue;
    }
}

TEST(EngineCatalog, aFormatThatSomeEdgeReadsIsNotPending)
{
    const std::set<FormatID> pending = EngineCatalog::pendingValidationSources(registry(), pool());
    const EngineList engines = EngineCatalog::standard(registry(), pool());
    const ConversionGraph graph{engines};
    for (const FormatID& format : graph.readableFormats())
        EXPECT_THAT(pending, Not(Contains(format)));
    for (const FormatID& format : NativeImageEngine::pendingValidationSources(registry()))
        EXPECT_TRUE(pending.contains(format) || graph.isReadable(format)) << format.rawValue;
    EXPECT_TRUE(pending.contains("ktx2"));
    EXPECT_FALSE(pending.contains("mp3")) << "no picture";
    EXPECT_TRUE(EngineCatalog::pendingValidationSources(FormatRegistry{{}}, pool()).empty());
}

} // namespace
} // namespace nivex
