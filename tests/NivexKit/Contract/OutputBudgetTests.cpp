#include "NivexKit/Contract/OutputBudget.hpp"
#include "NivexKit/Foundation/ConversionError.hpp"
#include "tests/Support/TemporaryFolder.hpp"

#include <functional>

namespace nivex {
namespace {

std::optional<ConversionError> errorOf(const std::function<void()>& action)
{
    try {
        action();
        return std::nullopt;
    } catch (const ConversionError& error) {
        return error;
    }
}

TEST(OutputBudget, theLimitLiesBetweenOneByteAndOneGigabyte)
{
    const auto refused = ConversionError::unsupported("le poids cible doit être compris entre 1 octet et 1 Go");
    const std::pair<std::optional<std::int64_t>, std::optional<ConversionError>> cases[] = {
        {{}, {}}, {1, {}}, {1'000'000'000, {}}, {0, refused}, {-5, refused}, {1'000'000'001, refused},
    };
    for (const auto& [maximum, expected] : cases)
        EXPECT_EQ(errorOf([&] { OutputBudget::validate(maximum); }), expected) << maximum.value_or(-1);
}

TEST(OutputBudget, everyFileMustBeMeasuredAndFit)
{
    const testing::TemporaryFolder folder;
    const std::filesystem::path four = folder.write("four", "1234");
    const std::filesystem::path five = folder.write("five", "12345");
    const auto tooLarge = ConversionError::encodingFailed(
        "poids cible impossible avec ces réglages ; réduisez les dimensions ou augmentez la limite");
    struct Case {
        std::vector<std::filesystem::path> files;
        std::optional<ConversionError> expected;
    };
    const Case cases[] = {
        {{}, {}},
        {{four, five}, {}},
        {{four, folder.write("six", "123456")}, tooLarge},
        {{folder / "gone"},
         ConversionError::outputVerificationFailed("la taille de « gone » ne peut pas être mesurée")},
    };
    for (const Case& each : cases)
        EXPECT_EQ(errorOf([&] { OutputBudget::verify(each.files, 5); }), each.expected);
}

} // namespace
} // namespace nivex
