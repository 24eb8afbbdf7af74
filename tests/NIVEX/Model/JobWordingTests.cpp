#include "NIVEX/Model/JobWording.hpp"

#include "NivexKit/Formats/FormatRegistry.hpp"

#include <gtest/gtest.h>

namespace nivex {
namespace {

using namespace std::chrono_literals;

ConversionJob job(ConversionJob::State state)
{
    ConversionJob job;
    job.source.url = "/home/a/photo.heic";
    job.source.fileSize = 1'000;
    job.plan.target = *FormatRegistry::standard().format("png");
    job.state = std::move(state);
    return job;
}

TEST(JobWording, SaysHowAJobStands)
{
    struct Case {
        ConversionJob::State state;
        const char* text;
        std::optional<double> fraction;
    };
    const Case cases[] = {
        {ConversionJob::Waiting{}, "En attente", 0.0},
        {ConversionJob::Running{}, "Conversion…", std::nullopt},
        {ConversionJob::Running{0.429}, "Conversion… 42 %", 0.429},
        {ConversionJob::Succeeded{{.outputs = {"a.png"}, .totalBytes = 500}}, "Terminé · 500 o · −50 %", 1.0},
        {ConversionJob::Succeeded{{.outputs = {"a.png", "b.png"}, .totalBytes = 1'000}},
         "Terminé · 1 ko · 2 fichiers · 0 %", 1.0},
        {ConversionJob::Failed{"Le fichier source ne peut pas être lu : vide"},
         "Le fichier source ne peut pas être lu : vide", 1.0},
        {ConversionJob::Cancelled{}, "Annulé", 1.0},
    };
    for (const Case& each : cases) {
        EXPECT_EQ(describeState(job(each.state)), each.text);
        EXPECT_EQ(fractionOf(job(each.state)), each.fraction);
    }
}

TEST(JobWording, SumsUpABatch)
{
    ConversionJob one = job(ConversionJob::Waiting{});
    EXPECT_EQ(batchTitle({&one}), "photo.heic → PNG");
    EXPECT_EQ(batchTitle({&one, &one}), "2 fichiers → PNG");
    one.others.emplace_back();
    EXPECT_EQ(batchTitle({&one}), "2 fichiers → PNG") << "joined into one";

    const ConversionJob::Time start{};
    const BatchProgress running{.total = 4, .finished = 2, .succeeded = 1, .failed = 1, .fraction = 0.5};
    EXPECT_EQ(describeBatch(running, start, start + 1s), "2 sur 4 · 1 en échec") << "too early to tell the time";
    EXPECT_EQ(describeBatch(running, start, start + 30s), "2 sur 4 · reste 30 s · 1 en échec");
    const BatchProgress done{.total = 4, .finished = 4, .succeeded = 2, .failed = 1, .cancelled = 1, .fraction = 1};
    EXPECT_EQ(describeBatch(done, start, start + 30s), "2 convertis · 1 en échec · 1 annulé");
    EXPECT_EQ(batchSummary(done), "2 fichiers convertis, 1 en échec, 1 annulé");
    EXPECT_EQ(batchSummary({.total = 1, .finished = 1, .succeeded = 1}), "1 fichier converti");
}

TEST(JobWording, FindsEntriesByAllTheirWords)
{
    const HistoryEntry entry{.sourceName = "Été.heic",
                             .sourcePath = "/home/a/Été.heic",
                             .sourceFormat = "heic",
                             .targetFormat = "png",
                             .outputPaths = {"/home/a/out/Été 2.png"}};
    for (const char* text : {"", "  ", "été", "ÉTÉ png", "out heic"})
        EXPECT_TRUE(matches(entry, text)) << text;
    for (const char* text : {"hiver", "été jpeg"})
        EXPECT_FALSE(matches(entry, text)) << text;
}

} // namespace
} // namespace nivex
