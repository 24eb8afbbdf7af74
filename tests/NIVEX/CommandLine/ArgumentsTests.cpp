#include "NIVEX/CommandLine/Arguments.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace nivex::commandline {
namespace {

using testing::VariantWith;

TEST(Arguments, WhateverStandsBehindTheTwoDashesIsAFile)
{
    const struct {
        const char* name;
        std::vector<std::string> words;
        std::vector<std::string> files;
    } cases[] = {
        {"a dash after other files", {"a", "--to", "webp", "--", "-b"}, {"a", "-b"}},
        {"an option's name", {"--to", "webp", "--", "--to", "-h"}, {"--to", "-h"}},
        {"two dashes again", {"--to", "webp", "--", "--", "a"}, {"--", "a"}},
        {"a command's name", {"--to", "webp", "--", "convert"}, {"convert"}},
        {"brackets, which are no list", {"[a,b]", "--to", "webp", "--", "[]"}, {"[a,b]", "[]"}},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.name);
        std::vector<std::string> words{"convert"};
        words.insert(words.end(), each.words.begin(), each.words.end());
        const Invocation invocation = parseArguments(words);
        ASSERT_TRUE(std::holds_alternative<ConvertArguments>(invocation));
        const auto& convert = std::get<ConvertArguments>(invocation);
        EXPECT_EQ(convert.target, "webp");
        std::vector<std::string> files{convert.run.selection.files.begin(), convert.run.selection.files.end()};
        EXPECT_EQ(files, each.files);
    }
}

TEST(Arguments, AWordTooManyIsToldAsItWasGiven)
{
    const std::vector<std::string> words{"formats", "--", "-x"};
    EXPECT_THAT(parseArguments(words),
                VariantWith<UsageError>(testing::Field(&UsageError::message, testing::EndsWith("« -x »"))));
}

} // namespace
} // namespace nivex::commandline
