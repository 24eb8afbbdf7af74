#include "NivexWorkers/Image/Codecs/Codec.hpp"
#include "NivexWorkers/Image/Metadata/Containers.hpp"
#include "NivexWorkers/Image/Metadata/MetadataLibrary.hpp"

#include "NivexKit/Foundation/Text/StringTable.hpp"

#include <algorithm>
#include <iterator>
#include <string>

namespace nivex::image {
namespace {

/// The reader of metadata that lie in the bytes of a file.
template <Metadata (*read)(const ByteSource&)>
Metadata within(const std::filesystem::path& path)
{
    const auto file = FileSource::open(path);
    return file ? sorted(read(*file)) : Metadata{};
}

/// The same of those for whose places a library is needed.
Metadata amongDirectories(const std::filesystem::path& path) { return sorted(readTiffMetadata(path)); }

/// A writer whose encoder takes no metadata: they are put into the finished file.
template <auto encode, auto embed, class... More>
void with(const Picture& picture, const WriteRequest& request, More... more)
{
    encode(picture, request, more...);
    embed(request.file, picture.metadata);
}

constexpr SearchUnderSize searchJpeg{.lowestQuality = 0.50};
constexpr SearchUnderSize searchHeic{.lowestQuality = 0.25, .qualityStep = 0.02, .steepness = 5, .isSlow = true};
constexpr SearchUnderSize searchAvif{.lowestQuality = 0.30, .qualityStep = 0.005, .steepness = 4, .isSlow = true};
constexpr SearchUnderSize searchPdf{.lowestQuality = 0.50, .keepsPageSize = true};
constexpr SearchUnderSize searchJpeg2000{.writeOfBytes = with<writeJpeg2000OfBytes, writeJpeg2000Metadata>,
                                         .lowestBitsPerPixel = 0.25};

// clang-format off
constexpr Codec rows[] = {
    {"png",  readPng,  with<writePng, writePngMetadata>},
    {"jpeg", readJpeg, with<writeJpeg, writeJpegMetadata>, within<readJpegMetadata>, searchJpeg},
    {"tiff", readTiff, with<writeTiff, writeTiffMetadata>, amongDirectories},
    {"gif",  readGif,  writeGif},
    {"webp", readWebp, with<writeWebp, writeWebpMetadata>, within<readWebpMetadata>},
    {"hdr",  readHdr,  writeHdr},
    {"heic", readHeif, writeHeic, nullptr, searchHeic},
    {"heif", readHeif, writeHeic},
    {"avif", readHeif, writeAvif, nullptr, searchAvif},
    {"dng",  readRaw,  nullptr,   amongDirectories},
    {"cr2",  readRaw,  nullptr,   amongDirectories},
    {"cr3",  readRaw,  nullptr,   amongDirectories},
    {"nef",  readRaw,  nullptr,   amongDirectories},
    {"arw",  readRaw,  nullptr,   amongDirectories},
    {"raf",  readRaw,  nullptr,   amongDirectories},
    {"orf",  readRaw,  nullptr,   amongDirectories},
    {"rw2",  readRaw,  nullptr,   amongDirectories},
    {"geotiff", readTiff, nullptr, amongDirectories},
    {"astc", readAstc, writeAstc},
    {"exr",  readExr,  writeExr},
    {"jxl",  readJxl,  writeJxl},
    {"jp2",  readJpeg2000, with<writeJpeg2000, writeJpeg2000Metadata>, within<readJpeg2000Metadata>, searchJpeg2000},
    {"bmp",  readBmp,  writeBmp},
    {"tga",  readTga,  writeTga},
    {"ico",  readIco,  writeIco},
    {"icns", readIcns, writeIcns},
    {"psd",  readPsd,  writePsd,  within<readPhotoshopMetadata>},
    {"psb",  readPsd,  nullptr,   within<readPhotoshopMetadata>},
    {"pdf",  nullptr,  writePdf,  nullptr, searchPdf, writePdfOfJpeg},
};
// clang-format on

} // namespace

std::span<const Codec> codecs() { return rows; }

const Codec& codec(std::string_view format)
{
    static constexpr Codec none;
    const auto found = std::ranges::find(rows, format, &Codec::format);
    return found == std::end(rows) ? none : *found;
}

Metadata metadataOf(const Codec& codec, const Picture& picture, const std::filesystem::path& file)
{
    return picture.metadata.isEmpty() && codec.readMetadata ? codec.readMetadata(file) : picture.metadata;
}

void requireAcceptableSize(std::int64_t width, std::int64_t height, std::int64_t frames, const ResourceLimits& limits)
{
    if (width < 1 || height < 1 || frames < 1)
        throw damaged("picture of " + std::to_string(width) + " x " + std::to_string(height) + " pixels, " +
                      std::to_string(frames) + " frames");
    const std::int64_t most = limits.maxImagePixels;
    if (width > most || height > most / width || frames > most / (width * height))
        throw ConversionError::resourceLimit(
            filled("l'image dépasse {} mégapixels"_fr, {std::to_string(most / 1'000'000)}));
}

ConversionError notSaved(std::string_view format)
{
    return ConversionError::encodingFailed(filled("l'image n'a pas pu être enregistrée au format {}"_fr, {format}));
}

ConversionError damaged(std::string_view cause)
{
    return ConversionError::unreadableSource("son contenu est endommagé ou incomplet"_fr).because(cause);
}

} // namespace nivex::image
