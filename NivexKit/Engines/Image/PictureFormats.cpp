#include "NivexKit/Engines/Image/PictureFormats.hpp"

#include <algorithm>

namespace nivex {
namespace {

using enum PixelDepth;
using enum KeptPictures;

// clang-format off
constexpr PictureFormat formats[] = {
    {.id = "png",  .depth = sixteen, .hasAlpha = true, .hasProfile = true, .hasMetadata = true},
    {.id = "jpeg", .longestSide = 65'500, .isLossy = true, .hasProfile = true, .hasCmyk = true, .hasMetadata = true,
     .hasIptc = true},
    {.id = "tiff", .depth = floating, .pictures = pages, .hasAlpha = true, .hasProfile = true, .hasCmyk = true,
     .hasMetadata = true, .hasIptc = true},
    {.id = "bmp",  .hasAlpha = true},
    {.id = "gif",  .pictures = animation, .longestSide = 65'535, .hasAlpha = true, .hasPalette = true},
    {.id = "webp", .pictures = animation, .longestSide = 16'383, .isLossy = true, .hasAlpha = true,
     .hasProfile = true, .refusesGreyProfile = true, .hasMetadata = true},
    {.id = "heic", .depth = sixteen, .mostBits = 10, .pictures = pages, .longestSide = 16'383, .isLossy = true,
     .hasAlpha = true, .hasProfile = true, .refusesGreyProfile = true, .hasMetadata = true},
    {.id = "heif", .isWritten = false},
    {.id = "avif", .depth = sixteen, .mostBits = 12, .longestSide = 16'383, .isLossy = true, .hasAlpha = true,
     .hasProfile = true, .refusesGreyProfile = true, .hasMetadata = true},
    {.id = "jxl",  .depth = floating, .pictures = animation, .isLossy = true, .hasAlpha = true, .hasProfile = true,
     .hasMetadata = true},
    {.id = "jp2",  .depth = sixteen, .isLossy = true, .hasAlpha = true, .hasProfile = true, .hasMetadata = true,
     .hasIptc = true},
    {.id = "ico",  .pictures = sizes, .longestSide = 256, .hasAlpha = true},
    {.id = "icns", .pictures = sizes, .longestSide = 1'024, .hasAlpha = true},
    {.id = "tga",  .longestSide = 65'535, .hasAlpha = true},
    {.id = "exr",  .depth = floating, .hasAlpha = true},
    {.id = "hdr",  .depth = floating},
    {.id = "dng",  .isWritten = false},
    {.id = "cr2",  .isWritten = false},
    {.id = "cr3",  .isWritten = false},
    {.id = "nef",  .isWritten = false},
    {.id = "arw",  .isWritten = false},
    {.id = "raf",  .isWritten = false},
    {.id = "orf",  .isWritten = false},
    {.id = "rw2",  .isWritten = false},
    {.id = "astc", .longestSide = 16'777'215, .isLossy = true, .hasAlpha = true},
    {.id = "psd",  .depth = sixteen, .longestSide = 30'000, .hasAlpha = true, .hasProfile = true, .hasCmyk = true,
     .hasMetadata = true, .hasIptc = true},
    {.id = "psb",  .isWritten = false},
    {.id = "pdf",  .isRead = false, .pictures = pages, .longestSide = 65'500, .isLossy = true, .hasAlpha = true,
     .hasProfile = true, .hasCmyk = true, .hasMetadata = true},
    {.id = "geotiff", .isWritten = false},
};

struct HeldRow {
    std::string_view id;
    HeldPictures pictures;
};

constexpr HeldRow heldRows[] = {
    {"png",     {animation}},
    {"tiff",    {pages}},
    {"gif",     {animation}},
    {"webp",    {animation}},
    {"heic",    {pages,     true}},
    {"heif",    {pages,     true}},
    {"avif",    {pages,     true}},
    {"jxl",     {animation}},
    {"ico",     {sizes}},
    {"icns",    {sizes}},
    {"geotiff", {pages}},
};
// clang-format on

} // namespace

std::span<const PictureFormat> pictureFormats() { return formats; }

HeldPictures heldPictures(std::string_view id)
{
    const auto found = std::ranges::find(heldRows, id, &HeldRow::id);
    return found == std::end(heldRows) ? HeldPictures{} : found->pictures;
}

const PictureFormat* pictureFormat(std::string_view id)
{
    const auto found = std::ranges::find(formats, id, &PictureFormat::id);
    return found == std::end(formats) ? nullptr : &*found;
}

} // namespace nivex
