#include "NivexKit/Execution/Placing/OutputSet.hpp"
#include "NivexKit/Foundation/ConversionError.hpp"
#include "tests/Support/ConversionScene.hpp"

#include <gtest/gtest.h>

namespace nivex {
namespace {

TEST(OutputSet, TakesBackWhatItPlacedWhenTheRestCannotBe)
{
    const testing::TemporaryFolder workspace;
    const testing::TemporaryFolder destination;
    destination.write("film-1.vtt", "somebody's");
    NameNumbers numbers;
    const std::vector<MadeFile> files = {
        {.location = workspace.write("step-0/film-1.vtt", "made"), .baseName = "film-1", .extension = "vtt"},
        {.location = workspace / "step-0" / "gone.vtt", .baseName = "film-2", .extension = "vtt"},
    };
    EXPECT_THROW(placeOutputs(files, OpenFolder::open(workspace.path()).value(),
                              OpenFolder::open(destination.path()).value(), "film", numbers),
                 ConversionError);
    EXPECT_EQ(testing::namesIn(destination.path()), std::vector<std::string>{"film-1.vtt"});
    EXPECT_EQ(testing::contentsOf(destination / "film-1.vtt"), "somebody's");
}

} // namespace
} // namespace nivex
