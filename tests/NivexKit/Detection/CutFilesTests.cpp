#include "NivexKit/Detection/Containers/StructuralCheck.hpp"
#include "tests/Support/TemporaryFolder.hpp"

#include <gtest/gtest.h>

#include <cstdlib>
#include <span>

namespace nivex {
namespace {

/// Files that another program has made, cut at places all over: every cut shows.
TEST(CutFiles, AreReportedWhereverTheyAreCut)
{
    constexpr int places = 50;
    const std::string picture = "-f lavfi -i mandelbrot=size=160x120 -frames:v 1 ";
    const std::string film = "-f lavfi -i testsrc=size=160x120:rate=10 -t 2 ";
    struct Case {
        const char* format;
        std::string arguments;
        std::string problem;
    };
    const Case cases[] = {
        {"png", picture, "fichier tronqué (fin PNG absente)"},
        {"jpeg", picture + "-f mjpeg ", "fichier tronqué (fin JPEG absente)"},
        {"gif", film, "fichier tronqué (fin GIF absente)"},
        {"webp", picture, "structure de fichier invalide"},
        {"mp4", film, "fichier tronqué"},
        {"mov", film + "-movflags +faststart ", "fichier tronqué"},
        {"avi", film, "structure de fichier invalide"},
        {"wav", "-f lavfi -i sine -t 1 ", "structure de fichier invalide"},
    };
    const testing::TemporaryFolder folder;
    for (const Case& each : cases) {
        const auto file = folder / (std::string{"whole."} + each.format);
        const std::string command = "ffmpeg -v error " + each.arguments + file.string();
        // NOLINTNEXTLINE(cert-env33-c): the commands are those above
        ASSERT_EQ(std::system(command.c_str()), 0) << command;
        const std::string content = testing::contentsOf(file);
        const auto bytes = std::as_bytes(std::span{content});
        EXPECT_EQ(StructuralCheck::problem(MemorySource{bytes}, each.format), std::nullopt) << each.format;
        for (std::size_t i = 1; i <= places; ++i) {
            const std::size_t size = bytes.size() * i / (places + 1);
            const auto damage = StructuralCheck::problem(MemorySource{bytes.first(size)}, each.format);
            EXPECT_EQ(damage.value_or(Damage{}).reason, each.problem)
                << each.format << " cut to " << size << " of " << bytes.size();
        }
    }
}

} // namespace
} // namespace nivex
