#include "NivexKit/Contract/OptionRanges.hpp"

#include <functional>
#include <limits>

namespace nivex {
namespace {

TEST(OptionRanges, bothEndsAreAcceptedAndTheFirstSettingOutsideIsNamed)
{
    struct Case {
        const char* name;
        std::function<void(ConversionOptions&)> change;
        std::optional<std::string> message;
    };
    const std::string size = "La taille doit être comprise entre 16 et 16 384 px.";
    const std::string resolution = "La résolution doit être comprise entre 36 et 600 ppp.";
    const std::string weight = "Le poids cible doit être compris entre 10 Ko et 1 Go.";
    const std::string bitRate = "Le débit AAC doit être compris entre 32 et 320 kbit/s.";
    // clang-format off
    const Case cases[] = {
        {"defaults",                   [](auto&) {},                                             {}},
        {"smallest of everything",     [](auto& o) { o.quality = 0; o.maxPixelDimension = 16; o.renderDPI = 36;
                                                     o.maxFileBytes = 10'000; o.audioBitRate = 32'000; }, {}},
        {"largest of everything",      [](auto& o) { o.quality = 1; o.maxPixelDimension = 16'384; o.renderDPI = 600;
                                                     o.maxFileBytes = 1'000'000'000; o.audioBitRate = 320'000; }, {}},
        {"side below",                 [](auto& o) { o.maxPixelDimension = 15; },                size},
        {"side above",                 [](auto& o) { o.maxPixelDimension = 16'385; },            size},
        {"negative side",              [](auto& o) { o.maxPixelDimension = -16; },               size},
        {"quality above",              [](auto& o) { o.quality = 1.01; },                        "Qualité invalide."},
        {"quality is not a number",    [](auto& o) { o.quality = std::numeric_limits<double>::quiet_NaN(); }, "Qualité invalide."},
        {"resolution below",           [](auto& o) { o.renderDPI = 35.9; },                      resolution},
        {"resolution is infinite",     [](auto& o) { o.renderDPI = std::numeric_limits<double>::infinity(); }, resolution},
        {"weight below",               [](auto& o) { o.maxFileBytes = 9'999; },                  weight},
        {"weight above",               [](auto& o) { o.maxFileBytes = 1'000'000'001; },          weight},
        {"kilobits taken for bits",    [](auto& o) { o.audioBitRate = 256; },                    bitRate},
        {"two outside: the first",     [](auto& o) { o.maxPixelDimension = 0; o.audioBitRate = 0; }, size},
    };
    // clang-format on
    for (const Case& each : cases) {
        SCOPED_TRACE(each.name);
        ConversionOptions options;
        each.change(options);
        const std::optional<Text> violation = rangeViolation(options);
        EXPECT_EQ(violation ? std::optional{violation->localized()} : std::nullopt, each.message);
    }
}

} // namespace
} // namespace nivex
