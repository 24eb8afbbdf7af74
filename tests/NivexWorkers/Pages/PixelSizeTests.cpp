#include "NivexWorkers/Pages/Drawing/PixelSize.hpp"

#include "NivexKit/Formats/FormatRegistry.hpp"
#include "NivexKit/Foundation/ConversionError.hpp"

#include <gtest/gtest.h>

#include <limits>
#include <optional>

namespace nivex::pages {
namespace {

constexpr PointSize a4{595, 842};

EngineRequest requestFor(const char* target)
{
    EngineRequest request;
    request.targetFormat = *FormatRegistry::standard().format(FormatID{target});
    return request;
}

TEST(PixelSize, followsResolutionAndLimits)
{
    struct Case {
        const char* name;
        PointSize page;
        const char* target;
        double dpi;
        std::optional<std::int64_t> longest;
        int width;
        int height;
        bool isReduced;
    };
    const Case cases[] = {
        {"a part of a pixel is a pixel", a4, "png", 150, {}, 1240, 1755, false},
        {"errors of calculation are none", {72, 144}, "png", 150, {}, 150, 300, false},
        {"smaller where a person asks", a4, "png", 150, 842, 595, 842, false},
        {"never larger for it", a4, "png", 72, 5000, 595, 842, false},
        {"the longest page at 600 dots", {2400, 1200}, "png", 600, {}, 20'000, 10'000, false},
        {"one that is longer", {2412, 1206}, "png", 600, {}, 20'000, 10'000, true},
        {"an encoder's longest side", {2400, 1200}, "webp", 600, {}, 16'383, 8'192, true},
        {"an icon", a4, "ico", 150, {}, 181, 256, true},
        {"a hair is one pixel wide", {0.01, 100}, "png", 72, {}, 1, 100, false},
        {"the largest page there is", {40'000, 72}, "png", 36, {}, 20'000, 36, false},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.name);
        EngineRequest request = requestFor(each.target);
        request.options.renderDPI = each.dpi;
        request.options.maxPixelDimension = each.longest;
        const PixelSize size = pixelSizeOf(each.page, request, 1);
        EXPECT_EQ(size.width, each.width);
        EXPECT_EQ(size.height, each.height);
        EXPECT_EQ(size.isReduced, each.isReduced);
    }
}

TEST(PixelSize, keepsToTheLimitOfPixels)
{
    EngineRequest request = requestFor("png");
    request.options.renderDPI = 72;
    request.limits.maxImagePixels = 1'000'000;
    EXPECT_FALSE(pixelSizeOf({1000, 1000}, request, 1).isReduced);
    const PixelSize reduced = pixelSizeOf({2000, 2000}, request, 1);
    EXPECT_TRUE(reduced.isReduced);
    EXPECT_EQ(reduced.width, 1000);
}

TEST(PixelSize, refusesWhatCannotBeDrawn)
{
    using Kind = ConversionError::Kind;
    const auto refusal = [](PointSize page) -> std::optional<Kind> {
        try {
            pixelSizeOf(page, requestFor("png"), 3);
            return std::nullopt;
        } catch (const ConversionError& error) {
            EXPECT_NE(error.detail().find("3"), std::string::npos) << "the page is named";
            return error.kind();
        }
    };
    const double infinite = std::numeric_limits<double>::infinity();
    EXPECT_EQ(refusal({0, 842}), Kind::unreadableSource);
    EXPECT_EQ(refusal({595, -1}), Kind::unreadableSource);
    EXPECT_EQ(refusal({595, std::numeric_limits<double>::quiet_NaN()}), Kind::unreadableSource);
    EXPECT_EQ(refusal({infinite, 842}), Kind::resourceLimit);
    EXPECT_EQ(refusal({40'001, 72}), Kind::resourceLimit);
    EXPECT_EQ(refusal({40'000, 72}), std::nullopt);
}

} // namespace
} // namespace nivex::pages
