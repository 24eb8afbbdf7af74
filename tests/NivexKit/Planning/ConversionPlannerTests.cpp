#include "NivexKit/Contract/LossAnalysis.hpp"
#include "NivexKit/Planning/ConversionPlanner.hpp"
#include "tests/Support/FakeEngine.hpp"

namespace nivex {
namespace {

using testing::edge;
using ::testing::ElementsAre;
using testing::fakeEngine;
using ::testing::IsEmpty;
using Kind = ConversionOptionKind;
using Loss = ConversionLoss;

const FormatRegistry& registry() { return FormatRegistry::standard(); }

DetectionResult detected(const char* format, SourceProperties properties = {}, std::filesystem::path url = "/in/file")
{
    return {.url = std::move(url), .format = *registry().format(format), .properties = properties};
}

/// The targets in proposal order, each with its route: "png by jpeg".
std::vector<std::string> shown(const std::vector<ConversionPlan>& plans)
{
    std::vector<std::string> result;
    for (const ConversionPlan& plan : plans) {
        std::string& text = result.emplace_back(plan.id().rawValue);
        for (const FormatID& format : plan.intermediateFormats())
            text += " by " + format.rawValue;
    }
    return result;
}

/// An engine that loses on each edge what no conversion can avoid, besides what the edge declares.
std::shared_ptr<testing::FakeEngine> honestEngine(EngineID id, std::vector<EngineCapability> edges)
{
    auto engine = fakeEngine(std::move(id), edges);
    engine->losses = [edges](const FileFormat& source, const SourceProperties& properties, const FileFormat& target,
                             const ConversionOptions&) {
        Loss losses = LossAnalysis::inherent(source, properties, target);
        for (const EngineCapability& each : edges)
            if (each.source == source.id && each.target == target.id)
                losses |= each.potentialLosses;
        return losses;
    };
    return engine;
}

TEST(ConversionPlanner, offersWhatRoutesOfThreeStepsReach)
{
    struct Case {
        const char* name;
        std::vector<EngineCapability> edges;
        DetectionResult detection;
        std::vector<std::string> expected;
    };
    DetectionResult unknown = detected("bmp");
    unknown.format.reset();
    DetectionResult encrypted = detected("bmp");
    encrypted.issues = {DetectionIssue::extensionMismatch("PNG"), DetectionIssue::encrypted()};
    DetectionResult misnamed = detected("bmp");
    misnamed.issues = {DetectionIssue::extensionMismatch("PNG")};
    const SourceProperties alpha{.hasAlpha = true};
    const SourceProperties pages{.pageCount = 3};
    // clang-format off
    const Case cases[] = {
        {"not recognised",                  {edge("bmp", "png")}, unknown, {}},
        {"blocked",                         {edge("bmp", "png")}, encrypted, {}},
        {"only misnamed",                   {edge("bmp", "png")}, misnamed, {"png"}},
        {"four steps are too many",         {edge("bmp", "png"), edge("png", "tga"), edge("tga", "hdr"), edge("hdr", "exr")}, detected("bmp"),
                                            {"png", "tga by png", "hdr by png by tga"}},
        {"unknown to the registry",         {edge("bmp", "nonesuch"), edge("nonesuch", "png")}, detected("bmp"), {}},
        {"losses make a detour cheaper",    {edge("bmp", "png", Loss::layers), edge("bmp", "tga"), edge("tga", "png")}, detected("bmp"),
                                            {"png by tga", "tga"}},
        {"small losses do not",             {edge("bmp", "png", Loss::metadata), edge("bmp", "tga"), edge("tga", "png")}, detected("bmp"),
                                            {"png", "tga"}},
        {"a detour through pixels",         {edge("svg", "bmp"), edge("bmp", "pdf")}, detected("svg"), {"bmp"}},
        {"a detour through one page",       {edge("pdf", "bmp"), edge("bmp", "tiff")}, detected("pdf", pages), {"bmp"}},
        {"the target cannot hold pages",    {edge("pdf", "bmp"), edge("bmp", "jpeg")}, detected("pdf", pages), {"jpeg by bmp", "bmp"}},
        {"direct, losing what it need not", {edge("bmp", "png", Loss::layers)}, detected("bmp"), {"png"}},
        {"lost on the way, not missed",     {edge("png", "jpeg"), edge("jpeg", "hdr")}, detected("png", alpha), {"jpeg", "hdr by jpeg"}},
        {"lost on the way, missed",         {edge("png", "jpeg"), edge("jpeg", "webp")}, detected("png", alpha), {"jpeg"}},
        {"nothing there to lose",           {edge("png", "jpeg"), edge("jpeg", "webp")}, detected("png"), {"jpeg", "webp by jpeg"}},
    };
    // clang-format on
    for (const Case& each : cases) {
        SCOPED_TRACE(each.name);
        const ConversionPlanner planner{{honestEngine("fake", each.edges)}, registry()};
        const std::vector<ConversionPlan> plans = planner.plans(each.detection);
        EXPECT_THAT(shown(plans), ::testing::ElementsAreArray(each.expected));
        for (const ConversionPlan& plan : plans)
            EXPECT_EQ(planner.plan(each.detection, plan.target.id), plan) << "asked for alone";
        for (const char* refused : {"exr", "pdf", "nonesuch"})
            EXPECT_EQ(planner.plan(each.detection, refused), std::nullopt);
    }
}

TEST(ConversionPlanner, aPlanTellsItsRouteWholly)
{
    EngineCapability silent = edge("jpeg", "pdf", Loss::metadata, {Kind::background});
    silent.reportsProgress = false;
    const EngineList engines{honestEngine("first", {edge("png", "jpeg", Loss::compression, {Kind::quality})}),
                             honestEngine("second", {silent})};
    const ConversionPlanner planner{engines, registry()};
    const FileFormat& png = *registry().format("png");
    const ConversionPlan direct{.source = png,
                                .target = *registry().format("jpeg"),
                                .steps = {{"first", "png", "jpeg"}},
                                .losses = Loss::compression | Loss::colorDepth,
                                .options = {Kind::quality, Kind::targetSize},
                                .reportsProgress = true};
    const ConversionPlan indirect{.source = png,
                                  .target = *registry().format("pdf"),
                                  .steps = {{"first", "png", "jpeg"}, {"second", "jpeg", "pdf"}},
                                  .losses = Loss::compression | Loss::colorDepth | Loss::metadata,
                                  .options = {Kind::quality, Kind::background, Kind::targetSize},
                                  .reportsProgress = false};
    EXPECT_THAT(planner.plans(detected("png", {.bitsPerComponent = 16})), ElementsAre(direct, indirect));
    EXPECT_EQ(planner.engine("second"), engines[1].get());
    EXPECT_EQ(planner.engine("third"), nullptr);
}

TEST(ConversionPlanner, severalFilesShareTheTargetsThatAllOfThemHave)
{
    const ConversionPlanner planner{
        {fakeEngine("fake", {edge("bmp", "png"), edge("bmp", "jpeg"), edge("bmp", "tiff"), edge("tga", "tiff"),
                             edge("tga", "jpeg"), edge("wav", "flac")})},
        registry()};
    const DetectionResult bmp = detected("bmp", {}, "/in/a.bmp");
    const DetectionResult tga = detected("tga", {}, "/in/b.tga");
    const DetectionResult wav = detected("wav", {}, "/in/c.wav");

    const std::vector<CommonPlan> common = planner.commonPlans(std::vector{bmp, tga});
    ASSERT_EQ(common.size(), 2u);
    EXPECT_EQ(common[0].target, "jpeg");
    EXPECT_EQ(common[1].target, "tiff");
    EXPECT_EQ(common[1].plans.at("/in/a.bmp").source.id, "bmp");
    EXPECT_EQ(common[1].plans.at("/in/b.tga").source.id, "tga");
    EXPECT_THAT(planner.commonPlans(std::vector{bmp, wav}), IsEmpty());
    EXPECT_THAT(planner.commonPlans({}), IsEmpty());
}

TEST(ConversionPlanner, saysWhatKeepsAnEngineFromWorking)
{
    using testing::edge;
    using testing::FakeEngine;
    const auto stopped = [](EngineID id, std::vector<EngineCapability> edges, const char* reason) {
        auto engine = std::make_shared<FakeEngine>(id, std::move(edges));
        engine->state = EngineAvailability::unavailable(reason);
        return engine;
    };
    const ConversionPlanner planner{{stopped("far", {edge("png", "pdf")}, "no Landlock"),
                                     stopped("direct", {edge("png", "jpeg")}, "no program"),
                                     std::make_shared<FakeEngine>("works", std::vector{edge("gif", "png")})},
                                    FormatRegistry::standard()};
    EXPECT_EQ(planner.obstacle("png", "jpeg"), "no program") << "the engine that does it in one step comes first";
    EXPECT_EQ(planner.obstacle("png", "tiff"), "no Landlock");
    EXPECT_EQ(planner.obstacle("gif", "webp"), std::nullopt) << "an engine that works is no obstacle";
}

TEST(ConversionPlanner, joinsSourcesThatCanAllBecomeTheTarget)
{
    const auto joining = [](const char* format) {
        EngineCapability edge = testing::edge(format, format, ConversionLoss::pages);
        edge.joins = true;
        return edge;
    };
    const auto pictures = fakeEngine("pictures", {testing::edge("png", "pdf", ConversionLoss::transparency)});
    const auto pages = fakeEngine("pages", {joining("pdf")});
    const auto source = [](const char* format) {
        DetectionResult result;
        result.url = std::string{"/"} + format;
        result.format = *FormatRegistry::standard().format(format);
        return result;
    };
    const std::vector<DetectionResult> sources = {source("pdf"), source("png"), source("pdf")};
    const ConversionPlanner planner{{pictures, pages}, FormatRegistry::standard()};

    EXPECT_TRUE(planner.joins("pdf"));
    EXPECT_FALSE(planner.joins("png"));
    const auto combination = planner.combinationPlan(sources, "pdf");
    ASSERT_TRUE(combination);
    EXPECT_TRUE(combination->plan.joins);
    EXPECT_EQ(combination->plan.steps, (std::vector<PlannedStep>{{"pages", "pdf", "pdf"}}));
    EXPECT_EQ(combination->plan.losses, ConversionLoss::pages | ConversionLoss::transparency);
    EXPECT_EQ(combination->others,
              (std::vector<JoinedSource>{{sources[1], {{"pictures", "png", "pdf"}}}, {sources[2], {}}}));
    EXPECT_EQ(planner.plan(sources[0], "pdf"), std::nullopt) << "joining is no conversion of one file";

    EXPECT_EQ(planner.combinationPlan(std::vector{source("pdf"), source("mp3")}, "pdf"), std::nullopt);
    EXPECT_EQ(planner.combinationPlan(std::vector{source("png")}, "png"), std::nullopt);
    EXPECT_EQ(planner.combinationPlan({}, "pdf"), std::nullopt);
    pages->state = EngineAvailability::unavailable("Non.");
    EXPECT_EQ(planner.combinationPlan(sources, "pdf"), std::nullopt);
}

TEST(ConversionPlanner, shrinkingIsPlannedByTheEngineOfTheFormat)
{
    const auto shrinking = [](const char* format) {
        return edge(format, format, {}, {Kind::targetSize, Kind::quality});
    };
    EngineCapability silent = edge("mp4", "mp4", {}, {Kind::targetSize, Kind::videoQuality});
    silent.reportsProgress = false;
    silent.refused = {Kind::removeBackground};
    const auto pictures =
        fakeEngine("pictures", {edge("png", "jpeg"), edge("png", "bmp"), edge("png", "jp2"), edge("jp2", "jp2"),
                                shrinking("jpeg"), shrinking("bmp"), shrinking("heic")});
    pictures->losses = [](const FileFormat&, const SourceProperties&, const FileFormat&,
                          const ConversionOptions& options) {
        return options.maxFileBytes ? Loss::compression | Loss::resolution : Loss::compression;
    };
    const auto films = fakeEngine("films", {edge("mov", "mp4"), silent});
    const ConversionPlanner planner{{pictures, films}, registry()};

    const FileFormat& jpeg = *registry().format("jpeg");
    ConversionPlan expected{.source = jpeg,
                            .target = jpeg,
                            .steps = {{"pictures", "jpeg", "jpeg"}},
                            .losses = Loss::compression,
                            .options = {Kind::targetSize, Kind::quality},
                            .reportsProgress = true};
    EXPECT_EQ(planner.optimizationPlan(detected("jpeg")), expected);
    expected.losses |= Loss::resolution;
    EXPECT_EQ(planner.optimizationPlan(detected("jpeg"), {.maxFileBytes = 1'000}), expected);
    const FileFormat& mp4 = *registry().format("mp4");
    EXPECT_EQ(planner.optimizationPlan(detected("mp4")),
              (ConversionPlan{.source = mp4,
                              .target = mp4,
                              .steps = {{"films", "mp4", "mp4"}},
                              .losses = {},
                              .options = {Kind::targetSize, Kind::videoQuality},
                              .reportsProgress = false,
                              .refused = {Kind::removeBackground}}));
    EXPECT_EQ(planner.optimizationPlan(detected("bmp")), std::nullopt) << "offers no target size";
    EXPECT_EQ(planner.optimizationPlan(detected("heic")), std::nullopt) << "nothing here writes it";
    EXPECT_EQ(planner.optimizationPlan(detected("jp2")), std::nullopt) << "its edge takes no target size";
    DetectionResult corrupted = detected("jpeg");
    corrupted.issues = {DetectionIssue::corrupted("fin manquante")};
    EXPECT_EQ(planner.optimizationPlan(corrupted), std::nullopt);

    pictures->state = EngineAvailability::unavailable("absent");
    const auto other = fakeEngine("other", {edge("png", "jpeg")});
    const ConversionPlanner without{{other, pictures}, registry()};
    EXPECT_EQ(without.optimizationPlan(detected("jpeg")), std::nullopt) << "nothing here could run it";
}

TEST(ConversionPlanner, losesAndGoesAsTheOptionsHaveIt)
{
    // The way by PNG keeps everything, the direct one does so only at full quality.
    const auto direct = fakeEngine("direct", {edge("bmp", "webp")});
    direct->losses = [](const FileFormat&, const SourceProperties&, const FileFormat&,
                        const ConversionOptions& options) { return options.quality < 1 ? Loss::transparency : Loss{}; };
    const auto detour = fakeEngine("detour", {edge("bmp", "png"), edge("png", "webp")});
    const ConversionPlanner planner{{direct, detour}, registry()};

    const auto usual = planner.plan(detected("bmp"), "webp");
    ASSERT_TRUE(usual);
    EXPECT_EQ(usual->steps.size(), 2U);
    const auto best = planner.plan(detected("bmp"), "webp", {.quality = 1});
    ASSERT_TRUE(best);
    EXPECT_TRUE(best->isDirect());
    EXPECT_EQ(planner.losses(*best, {}, {}), Loss::transparency) << "the same route with other options";
    EXPECT_EQ(shown(planner.plans(detected("bmp"), {.quality = 1})), (std::vector<std::string>{"png", "webp"}));
}

} // namespace
} // namespace nivex
