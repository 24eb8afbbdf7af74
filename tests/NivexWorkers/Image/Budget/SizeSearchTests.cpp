#include "NivexWorkers/Image/Budget/SizeSearch.hpp"

#include <cmath>
#include <vector>

namespace nivex::image {
namespace {

/// An encoder whose files have a part for the pixels and one that never shrinks.
struct FakeEncoder {
    double bytesAtBest = 8e6; // of all pixels at quality 1
    double steepness = 2.5;
    double fixedBytes = 0;
    double bytesOfStep = 0.01; // the encoder rounds the quality down to multiples of it
    double jumpAt = 2;         // from this quality on files are larger by half

    std::int64_t size(const EncodingAttempt& attempt) const
    {
        const double quality = std::floor(attempt.quality / bytesOfStep + 1e-6) * bytesOfStep;
        const double pixels = bytesAtBest * attempt.scale * attempt.scale * std::exp(steepness * (quality - 1));
        return static_cast<std::int64_t>(fixedBytes + pixels * (quality >= jumpAt ? 1.5 : 1));
    }
};

struct SearchCase {
    const char* name;
    FakeEncoder encoder;
    SizeGoal goal;
    std::size_t mostEncodings;
    bool isClose = true; // ends within 3 % below the maximum
};

const SearchCase fittingCases[] = {
    {"the quality asked for fits", {}, {.maximumBytes = 8'000'000}, 1, false},
    {"the quality asked for just fits", {.bytesAtBest = 1000, .steepness = 0.001}, {.maximumBytes = 1000}, 1},
    {"a little lower", {}, {.maximumBytes = 5'000'000}, 3},
    {"as the steepness was guessed", {}, {.maximumBytes = 2'500'000}, 3},
    {"much steeper than guessed", {.steepness = 9}, {.maximumBytes = 1'000'000}, 6, false},
    {"much flatter than guessed", {.steepness = 0.4}, {.maximumBytes = 6'800'000}, 6},
    {"near the lowest quality", {}, {.maximumBytes = 1'800'000}, 4},
    {"fewer pixels", {}, {.maximumBytes = 300'000}, 6},
    {"very few pixels", {}, {.maximumBytes = 2'000}, 6},
    {"a quality below the lowest is asked for", {}, {.maximumBytes = 1'000'000, .quality = 0.2}, 4},
    {"metadata larger than the pixels may be", {.fixedBytes = 60'000}, {.maximumBytes = 100'000}, 9},
    {"a jump in the sizes", {.jumpAt = 0.9}, {.maximumBytes = 8'000'000, .quality = 1}, 9, false},
};

TEST(SizeSearch, findsTheBestThatFitsWithFewEncodings)
{
    for (const SearchCase& each : fittingCases) {
        SCOPED_TRACE(each.name);
        std::vector<EncodingAttempt> attempts;
        std::optional<EncodingAttempt> lastFitting;
        const auto result = bestAttempt(each.goal, [&](const EncodingAttempt& attempt) {
            const std::int64_t size = each.encoder.size(attempt);
            attempts.push_back(attempt);
            if (size <= each.goal.maximumBytes)
                lastFitting = attempt;
            return size;
        });
        ASSERT_TRUE(result);
        EXPECT_EQ(result, lastFitting) << "the file that is left is the result";
        EXPECT_LE(attempts.size(), each.mostEncodings);
        for (const EncodingAttempt& attempt : attempts) {
            EXPECT_LE(attempt.quality, each.goal.quality);
            EXPECT_GE(attempt.quality, std::min(each.goal.quality, each.goal.lowestQuality));
            EXPECT_LE(attempt.scale, 1);
        }
        const auto size = static_cast<double>(each.encoder.size(*result));
        const auto maximum = static_cast<double>(each.goal.maximumBytes);
        EXPECT_LE(size, maximum);
        if (each.isClose) {
            EXPECT_GE(size, 0.97 * maximum);
        }
    }
}

TEST(SizeSearch, endsAtTheSmallestStepOfTheEncoder)
{
    // Steps of a tenth differ by a quarter in size: none comes within 3 %.
    const FakeEncoder encoder{.bytesOfStep = 0.1};
    for (const std::int64_t maximum : {2'000'000, 3'000'000, 4'000'000, 5'000'000}) {
        SCOPED_TRACE(maximum);
        const auto result = bestAttempt({.maximumBytes = maximum, .qualityStep = 0.1},
                                        [&](const EncodingAttempt& attempt) { return encoder.size(attempt); });
        ASSERT_TRUE(result);
        EXPECT_LE(encoder.size(*result), maximum);
        EXPECT_GT(encoder.size({result->quality + 0.1, 1}), maximum) << "a step higher would have fitted too";
    }
}

TEST(SizeSearch, reducesPixelsOnlyWhenQualityAloneDoesNotSuffice)
{
    const FakeEncoder encoder;
    const auto atLowest = encoder.size({0.4, 1});
    const auto search = [&](std::int64_t maximum) {
        return bestAttempt({.maximumBytes = maximum},
                           [&](const EncodingAttempt& attempt) { return encoder.size(attempt); });
    };
    EXPECT_EQ(search(atLowest), (EncodingAttempt{0.4, 1}));
    const auto smaller = search(atLowest - 1);
    ASSERT_TRUE(smaller);
    EXPECT_LT(smaller->scale, 1);
    EXPECT_GT(smaller->scale, 0.9);
}

TEST(SizeSearch, takesFewEncodingsAfterAGoodEstimateAndSurvivesABadOne)
{
    struct Case {
        const char* name;
        double estimated; // of the true size
        std::int64_t maximum;
        int mostEncodings;
    };
    const Case cases[] = {
        {"right", 1, 2'500'000, 1},
        {"right, with fewer pixels", 1, 300'000, 1},
        {"nearly right", 1.08, 2'500'000, 2},
        {"nearly right, with fewer pixels", 0.92, 300'000, 4},
        {"half", 0.5, 2'500'000, 5},
        {"three times too much, so that pixels seem too many", 3, 3'000'000, 9},
        {"hundred times too much", 100, 8'000'000, 9},
    };
    const FakeEncoder encoder;
    for (const Case& each : cases) {
        SCOPED_TRACE(each.name);
        int encodings = 0;
        std::optional<EncodingAttempt> lastFitting;
        const auto result = bestAttempt(
            {.maximumBytes = each.maximum},
            [&](const EncodingAttempt& attempt) {
                ++encodings;
                if (encoder.size(attempt) <= each.maximum)
                    lastFitting = attempt;
                return encoder.size(attempt);
            },
            [&](const EncodingAttempt& attempt) {
                return static_cast<std::int64_t>(each.estimated * static_cast<double>(encoder.size(attempt)));
            });
        ASSERT_TRUE(result);
        EXPECT_EQ(result, lastFitting);
        EXPECT_LE(encodings, each.mostEncodings);
        const auto size = static_cast<double>(encoder.size(*result));
        EXPECT_TRUE(size >= 0.97 * static_cast<double>(each.maximum) || *result == (EncodingAttempt{0.85, 1}));
    }
}

TEST(SizeSearch, spendsTheBytesThatFitWhereTheEncoderMeetsThem)
{
    struct Case {
        const char* name;
        std::int64_t bytesAsked; // what the quality needs
        std::int64_t metadata;
        std::int64_t maximum;
        std::optional<double> scale;
    };
    // Of 1,000,000 pixels, which may have a quarter of a bit each.
    const Case cases[] = {
        {"fits", 500'000, 0, 600'000, 1},
        {"metadata make the difference", 500'000, 200'000, 600'000, 1},
        {"enough for all pixels", 500'000, 0, 40'000, 1},
        {"too little for all pixels", 500'000, 0, 8'000, 0.5},
        {"metadata leave too little", 500'000, 50'000, 58'000, 0.47},
        {"metadata leave nothing", 500'000, 60'000, 58'000, std::nullopt},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.name);
        int encodings = 0;
        std::int64_t size = 0;
        const auto result =
            bestAttemptByRate({.maximumBytes = each.maximum, .pixels = 1'000'000}, [&](const EncodingAttempt& attempt) {
                ++encodings;
                const bool isMet = attempt.goalBytes > 0;
                return size = (isMet ? attempt.goalBytes : each.bytesAsked) + each.metadata;
            });
        EXPECT_EQ(result.has_value(), each.scale.has_value());
        EXPECT_LE(encodings, 3);
        if (!result || !each.scale)
            continue;
        EXPECT_NEAR(result->scale, *each.scale, 0.02);
        EXPECT_LE(size, each.maximum);
        if (result->goalBytes > 0) {
            EXPECT_GE(static_cast<double>(size), 0.97 * static_cast<double>(each.maximum));
        }
    }
}

TEST(SizeSearch, saysWhenNothingFits)
{
    struct Case {
        const char* name;
        FakeEncoder encoder;
        SizeGoal goal;
    };
    const Case cases[] = {
        {"the smallest picture is too large", {}, {.maximumBytes = 100}},
        {"the metadata alone are too large", {.fixedBytes = 20'000}, {.maximumBytes = 10'000}},
        {"a picture that may not shrink", {}, {.maximumBytes = 1'000'000, .lowestScale = 1}},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.name);
        int encodings = 0;
        EXPECT_EQ(bestAttempt(each.goal,
                              [&](const EncodingAttempt& attempt) {
                                  ++encodings;
                                  return each.encoder.size(attempt);
                              }),
                  std::nullopt);
        EXPECT_LE(encodings, 8);
    }
}

} // namespace
} // namespace nivex::image
