#include "NIVEX/CommandLine/ProgressLine.hpp"
#include "NIVEX/CommandLine/Tally.hpp"
#include "NIVEX/Model/JobCount.hpp"

#include <gtest/gtest.h>

namespace nivex::commandline {
namespace {

using namespace std::chrono_literals;

TEST(Tally, SaysHowManyBecameWhatAndWhatItCost)
{
    const struct {
        const char* name;
        Tally tally;
        std::string line;
    } cases[] = {
        {"nothing", {}, "aucun fichier converti · 0,0 s"},
        {"one",
         {.converted = {{"WebP", 1}}, .bytesBefore = 2'000'000, .bytesAfter = 500'000, .time = 1250ms},
         "1 fichier converti en WebP · 2 Mo → 500 ko (−75 %) · 1,2 s"},
        {"all there is to say",
         {.converted = {{"PNG", 2}},
          .failed = 1,
          .cancelled = 3,
          .thereBefore = 4,
          .bytesBefore = 100,
          .bytesAfter = 150,
          .time = 185s},
         "2 fichiers convertis en PNG · 100 o → 150 o (+50 %) · 1 en échec · 3 annulés · 4 déjà là · 3 min 05 s"},
        {"lighter files of several formats",
         {.converted = {{"HEIC", 1}, {"JPEG", 2}}, .areLighter = true, .bytesBefore = 0, .bytesAfter = 0, .time = 10s},
         "3 fichiers traités · 0 o → 0 o · 10 s"},
        {"only stopped", {.cancelled = 1, .time = 2h + 7min}, "aucun fichier converti · 1 annulé · 2 h 07 min"},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.name);
        EXPECT_EQ(each.tally.line(), each.line);
    }
}

TEST(ProgressLine, ShowsTheShareOfTheBytesAndGuessesTheRestOnceItCan)
{
    const std::string none(20, ' ');
    const struct {
        const char* name;
        ProgressState state;
        std::string line;
    } cases[] = {
        {"nothing to read", {.totalFiles = 1}, "⠋ [" + none + "] 0/1 · 0 % · 0 o sur 0 o"},
        {"half of a long file",
         {.totalFiles = 1, .doneBytes = 50, .totalBytes = 100, .elapsed = 30s, .atWork = "a.jp2"},
         "⠋ [██████████          ] 0/1 · 50 % · 50 o sur 100 o · reste 30 s · a.jp2"},
        {"too early to tell",
         {.totalFiles = 9, .doneBytes = 50, .totalBytes = 100, .elapsed = 1999ms, .othersAtWork = 2},
         "⠋ [██████████          ] 0/9 · 50 % · 50 o sur 100 o (+2)"},
        {"a cell begun, and the end",
         {.finishedFiles = 1, .totalFiles = 2, .doneBytes = 9, .totalBytes = 160},
         "⠋ [█▏                  ] 1/2 · 5 % · 9 o sur 160 o"},
        {"never beyond the end",
         {.totalFiles = 1, .doneBytes = 300, .totalBytes = 200},
         "⠋ [████████████████████] 0/1 · 100 % · 300 o sur 200 o"},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.name);
        EXPECT_EQ(progressLine(each.state, 0), each.line);
    }
    EXPECT_NE(progressLine({}, 1), progressLine({}, 0)) << "it does not move";
    EXPECT_EQ(progressLine({}, 10), progressLine({}, 0));
}

TEST(ProgressLine, KeepsWhatMattersMostWhereTheTerminalIsNarrow)
{
    const ProgressState state{
        .totalFiles = 1, .doneBytes = 50, .totalBytes = 100, .elapsed = 30s, .atWork = "photographié.jp2"};
    const struct {
        std::size_t columns;
        std::string line;
    } cases[] = {
        {84, "⠋ [██████████          ] 0/1 · 50 % · 50 o sur 100 o · reste 30 s · photographié.jp2"},
        {83, "⠋ [██████████          ] 0/1 · 50 % · reste 30 s · photographié.jp2"},
        {67, "⠋ [██████████          ] 0/1 · 50 % · reste 30 s · photographié.jp2"},
        {66, "⠋ 0/1 · 50 % · reste 30 s · photographié.jp2"},
        {43, "⠋ 0/1 · 50 % · reste 30 s · photographié.j…"},
        {33, "⠋ 0/1 · 50 % · reste 30 s · phot…"},
        {32, "⠋ 0/1 · 50 % · reste 30 s"},
        {5, "⠋ 0/1 · 50 % · reste 30 s"},
    };
    for (const auto& each : cases)
        EXPECT_EQ(progressLine(state, 0, each.columns), each.line) << each.columns;
}

TEST(JobCount, IsOnePerProcessorAsFarAsMemoryHolds)
{
    constexpr std::uint64_t gibibyte = 1 << 30;
    EXPECT_EQ(jobsFor(8, 64 * gibibyte), 8);
    EXPECT_EQ(jobsFor(8, 3 * gibibyte), 3);
    EXPECT_EQ(jobsFor(8, 3 * gibibyte - 1), 2);
    EXPECT_EQ(jobsFor(0, 64 * gibibyte), 1);
    EXPECT_EQ(jobsFor(8, 0), 1);
}

} // namespace
} // namespace nivex::commandline
