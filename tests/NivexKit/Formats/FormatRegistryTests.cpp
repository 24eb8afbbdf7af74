#include "NivexKit/Formats/FormatRegistry.hpp"
#include "NivexKit/Formats/SourceProperties.hpp"
#include "NivexKit/Formats/UniformType.hpp"
#include "NivexKit/Foundation/Text/Json.hpp"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace nivex {
namespace {

std::vector<std::string> ids(const std::vector<const FileFormat*>& formats)
{
    std::vector<std::string> result;
    for (const FileFormat* format : formats)
        result.push_back(format->id.rawValue);
    return result;
}

std::string idOf(const FileFormat* format) { return format ? format->id.rawValue : "none"; }

TEST(FormatRegistry, SettlesSharedExtensions)
{
    struct Case {
        std::string extension;
        std::vector<std::string> carriers;
        std::string declared;
    };
    const Case cases[] = {
        {"PNG", {"png"}, "png"}, // asked in upper case
        {"m4a", {"alac", "m4a"}, "m4a"},
        {"ts", {"mpeg-ts", "typescript"}, "none"},
        {"mts", {"m2ts", "typescript"}, "m2ts"},
        {"tif", {"tiff", "geotiff"}, "tiff"},
        {"fit", {"fit", "fits"}, "fit"},
        {"", {}, "none"},
        {".png", {}, "none"},
        {"xyz", {}, "none"},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.extension);
        EXPECT_EQ(ids(FormatRegistry::standard().formats(each.extension)), each.carriers);
        EXPECT_EQ(idOf(FormatRegistry::standard().declared(each.extension)), each.declared);
    }
}

TEST(FormatRegistry, FindsFormatsOfMoreSpecificTypes)
{
    const std::pair<const char*, const char*> cases[] = {
        {"public.jpeg", "jpeg"},
        {"public.heics", "heic"},                 // a child of public.heic
        {"com.apple.xml-property-list", "plist"}, // its parent public.xml stands earlier in the catalogue
        {"public.svg-image", "svg"},              // likewise
        {"com.microsoft.word.dot", "doc"},
        {"public.shell-script", "txt"}, // by way of source code and plain text
        {"public.image", "none"},       // a parent of many finds none of its children
        {"com.example.unheard-of", "none"},
        {"", "none"},
    };
    for (const auto& [type, expected] : cases) {
        SCOPED_TRACE(type);
        EXPECT_EQ(idOf(FormatRegistry::standard().formatForTypeIdentifier(type)), expected);
    }
}

TEST(FormatRegistry, ListsFamiliesWithTheirGuests)
{
    const auto code = ids(FormatRegistry::standard().formats(FormatFamily::code));
    const std::vector<std::string> guests{"json", "xml", "yaml", "toml", "plist"};

    ASSERT_EQ(code.size(), 21U);
    EXPECT_EQ(std::vector(code.begin(), code.begin() + 5), guests);
    EXPECT_EQ(ids(FormatRegistry::standard().formats(FormatFamily::threeD)).front(), "ktx2");
}

TEST(FormatRegistry, KeepsTheFirstOfTwoClaimsAndTheOrderAsked)
{
    const FileFormat first{"a", "A", "A", FormatFamily::code, {}, {}, {"public.x"}, {}};
    const FileFormat second{"b", "B", "B", FormatFamily::code, {}, {"bb"}, {"public.x"}, {}};
    const FormatRegistry registry{{first, second}};

    EXPECT_EQ(idOf(registry.formatForTypeIdentifier("public.x")), "a");
    EXPECT_EQ(first.preferredExtension(), "a");
    EXPECT_EQ(registry.known({"b", "c", "a"}), (std::vector{second, first}));
}

TEST(UniformType, FollowsEveryParentAndNoChild)
{
    EXPECT_TRUE(UniformType::conforms("public.svg-image", "public.text"));
    EXPECT_TRUE(UniformType::conforms("public.svg-image", "public.image"));
    EXPECT_TRUE(UniformType::conforms("com.apple.application-bundle", "public.directory"));
    EXPECT_FALSE(UniformType::conforms("public.image", "public.png"));
    EXPECT_FALSE(UniformType::conforms("nowhere", "nowhere"));
}

TEST(SourceProperties, WritesWhatWasMeasuredOnly)
{
    SourceProperties properties;
    properties.pixelWidth = 640;
    properties.hasAlpha = false;
    properties.durationSeconds = 1.5;

    EXPECT_EQ(writeJson(toJson(properties)), R"({"pixelWidth":640,"hasAlpha":false,"durationSeconds":1.5})");
}

} // namespace
} // namespace nivex
