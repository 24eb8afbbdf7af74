#include "NivexKit/Engines/Image/PictureFormats.hpp"

#include <algorithm>

namespace nivex {
namespace {

using enum PixelDepth;
using enum KeptPictures;

constexpr ReadPictures cameraRaw{.hasMetadata = true, .usualBits = 16};

// clang-format off
constexpr PictureFormat formats[] = {
    {"png",  {{.pictures = animation, .hasMetadata = true, .losesMetadataAlone = true, .isExact = true}},
             {{.depth = sixteen, .pictures = animation, .hasAlpha = true, .hasProfile = true,
               .hasMetadata = true}}},
    {"jpeg", {{.hasMetadata = true, .losesMetadataAlone = true}},
             {{.longestSide = 65'500, .isLossy = true, .hasProfile = true, .hasCmyk = true, .hasMetadata = true,
               .hasIptc = true}}},
    {"tiff", {{.pictures = pages, .hasMetadata = true, .losesMetadataAlone = true, .isExact = true}},
             {{.depth = floating, .pictures = pages, .hasAlpha = true, .hasProfile = true, .hasCmyk = true,
               .hasMetadata = true, .hasIptc = true, .mostBytesBesideMetadata = mostBytesOfClassicTiff}}},
    {"bmp",  {{.isExact = true}},
             {{.hasAlpha = true}}},
    {"gif",  {{.pictures = animation, .isExact = true}},
             {{.pictures = animation, .longestSide = 65'535, .hasAlpha = true, .hasPalette = true}}},
    {"webp", {{.pictures = animation, .hasMetadata = true, .losesMetadataAlone = true}},
             {{.pictures = animation, .longestSide = 16'383, .isLossy = true, .isExactAtBest = true, .hasAlpha = true,
               .hasProfile = true, .refusesGreyProfile = true, .hasMetadata = true}}},
    {"heic", {{.pictures = pages, .mayMove = true, .hasMetadata = true, .losesMetadataAlone = true}},
             {{.depth = sixteen, .mostBits = 10, .pictures = pages, .longestSide = 16'383, .isLossy = true,
               .hasAlpha = true, .hasProfile = true, .refusesGreyProfile = true, .hasMetadata = true}}},
    {"heif", {{.pictures = pages, .mayMove = true, .hasMetadata = true, .losesMetadataAlone = true}},
             {{.depth = sixteen, .mostBits = 10, .pictures = pages, .longestSide = 16'383, .isLossy = true,
               .hasAlpha = true, .hasProfile = true, .refusesGreyProfile = true, .hasMetadata = true}}},
    {"avif", {{.pictures = pages, .mayMove = true, .hasMetadata = true, .losesMetadataAlone = true}},
             {{.depth = sixteen, .mostBits = 12, .longestSide = 16'383, .isLossy = true, .isExactAtBest = true,
               .hasAlpha = true, .hasProfile = true, .refusesGreyProfile = true, .hasMetadata = true}}},
    {"jxl",  {{.pictures = animation, .hasMetadata = true}},
             {{.depth = floating, .pictures = animation, .isLossy = true, .isExactAtBest = true, .hasAlpha = true,
               .hasProfile = true, .hasMetadata = true}}},
    {"jp2",  {{.hasMetadata = true}},
             {{.depth = sixteen, .isLossy = true, .isExactAtBest = true, .hasAlpha = true, .hasProfile = true,
               .hasMetadata = true, .hasIptc = true}}},
    {"ico",  {{.pictures = sizes, .isExact = true}},
             {{.pictures = sizes, .longestSide = 256, .hasAlpha = true}}},
    {"icns", {{.pictures = sizes, .isExact = true}},
             {{.pictures = sizes, .longestSide = 1'024, .hasAlpha = true}}},
    {"tga",  {{.isExact = true}},
             {{.longestSide = 65'535, .hasAlpha = true}}},
    {"exr",  {{.isExact = true, .isFloating = true}},
             {{.depth = floating, .hasAlpha = true}}},
    {"hdr",  {{.isExact = true, .isFloating = true}},
             {{.depth = floating}}},
    {"dng",  cameraRaw},
    {"cr2",  cameraRaw},
    {"cr3",  cameraRaw},
    {"nef",  cameraRaw},
    {"arw",  cameraRaw},
    {"raf",  cameraRaw},
    {"orf",  cameraRaw},
    {"rw2",  cameraRaw},
    {"astc", {{.hidesAlpha = true}},
             {{.longestSide = 16'777'215, .isLossy = true, .hasAlpha = true}}},
    {"psd",  {{.hasMetadata = true, .isExact = true}},
             {{.depth = sixteen, .longestSide = 30'000, .hasAlpha = true, .hasProfile = true, .hasCmyk = true,
               .hasMetadata = true, .hasIptc = true}}},
    {"psb",  {{.hasMetadata = true, .isExact = true}}},
    {"pdf",  std::nullopt,
             {{.pictures = pages, .longestSide = 65'500, .isLossy = true, .isExactAtBest = true, .keepsExact = true,
               .hasAlpha = true, .hasProfile = true, .hasCmyk = true, .hasMetadata = true, .takesOver = "jpeg"}}},
    {"geotiff", {{.pictures = pages, .hasMetadata = true, .isExact = true, .isMap = true}}},
};
// clang-format on

} // namespace

std::span<const PictureFormat> pictureFormats() { return formats; }

const PictureFormat* pictureFormat(std::string_view id)
{
    const auto found = std::ranges::find(formats, id, &PictureFormat::id);
    return found == std::end(formats) ? nullptr : &*found;
}

} // namespace nivex
