#include "NivexKit/Detection/Images/ImageHeader.hpp"

#include "NivexKit/Detection/Images/ImageHeaderReaders.hpp"

#include <algorithm>
#include <iterator>
#include <limits>
#include <string_view>

namespace nivex {
namespace {

struct Row {
    std::string_view format;
    bool (*read)(HeaderBytes&, SourceProperties&);
};

// clang-format off
constexpr Row rows[] = {
    {"jpeg",    readJpegHeader},
    {"png",     readPngHeader},
    {"gif",     readGifHeader},
    {"webp",    readWebpHeader},
    {"heic",    readHeifHeader},
    {"heif",    readHeifHeader},
    {"avif",    readHeifHeader},
    {"tiff",    readTiffHeader},
    {"geotiff", readTiffHeader},
    {"bmp",     readBmpHeader},
    {"jxl",     readJxlHeader},
    {"jp2",     readJpeg2000Header},
    {"ico",     readIcoHeader},
    {"icns",    readIcnsHeader},
    {"tga",     readTgaHeader},
    {"exr",     readExrHeader},
    {"hdr",     readRadianceHeader},
    {"dng",     readTiffRawHeader},
    {"cr2",     readTiffRawHeader},
    {"nef",     readTiffRawHeader},
    {"arw",     readTiffRawHeader},
    {"orf",     readTiffRawHeader},
    {"rw2",     readTiffRawHeader},
    {"cr3",     readCr3Header},
    {"raf",     readRafHeader},
    {"psd",     readPhotoshopHeader},
    {"psb",     readPhotoshopHeader},
    {"xcf",     readXcfHeader},
    {"ktx2",    readKtx2Header},
    {"astc",    readAstcHeader},
};
// clang-format on

} // namespace

std::vector<FormatID> formatsWithImageHeader()
{
    std::vector<FormatID> formats;
    for (const Row& row : rows)
        formats.emplace_back(row.format);
    return formats;
}

bool readImageHeader(const FormatID& format, HeaderBytes& file, SourceProperties& image)
{
    const auto row = std::find_if(std::begin(rows), std::end(rows),
                                  [&format](const Row& each) { return each.format == format.rawValue; });
    return row != std::end(rows) && row->read(file, image);
}

bool enterSize(std::uint64_t width, std::uint64_t height, SourceProperties& image)
{
    constexpr std::uint64_t largest = std::numeric_limits<std::uint32_t>::max();
    if (width == 0 || height == 0 || width > largest || height > largest)
        return false;
    image.pixelWidth = static_cast<std::int64_t>(width);
    image.pixelHeight = static_cast<std::int64_t>(height);
    return true;
}

void enterImageCount(std::int64_t count, bool isComplete, SourceProperties& image)
{
    if (count > 1 || (count == 1 && isComplete))
        image.imageCount = count;
}

} // namespace nivex
