#include "NivexWorkers/Image/Codecs/Codec.hpp"

#include "NivexKit/Foundation/Text/StringTable.hpp"

#include <algorithm>
#include <iterator>
#include <string>

namespace nivex::image {
namespace {

// clang-format off
constexpr Codec codecs[] = {
    {"png",  readPng,  writePng},
    {"jpeg", readJpeg, writeJpeg},
    {"tiff", readTiff, writeTiff},
    {"gif",  readGif,  writeGif},
    {"webp", readWebp, writeWebp},
    {"hdr",  readHdr,  writeHdr},
    {"heic", readHeif, writeHeic},
    {"heif", readHeif},
    {"avif", readHeif, writeAvif},
    {"dng",  readRaw},
    {"cr2",  readRaw},
    {"cr3",  readRaw},
    {"nef",  readRaw},
    {"arw",  readRaw},
    {"raf",  readRaw},
    {"orf",  readRaw},
    {"rw2",  readRaw},
    {"geotiff", readTiff},
    {"astc", readAstc, writeAstc},
    {"exr",  readExr,  writeExr},
    {"jxl",  readJxl,  writeJxl},
    {"jp2",  readJpeg2000, writeJpeg2000},
    {"bmp",  readBmp,  writeBmp},
    {"tga",  readTga,  writeTga},
    {"ico",  readIco,  writeIco},
    {"icns", readIcns, writeIcns},
    {"pdf",  nullptr,  writePdf},
    {"psd",  readPsd,  writePsd},
    {"psb",  readPsd},
};
// clang-format on

} // namespace

const Codec& codec(std::string_view format)
{
    static constexpr Codec none;
    const auto found = std::ranges::find(codecs, format, &Codec::format);
    return found == std::end(codecs) ? none : *found;
}

void requireAcceptableSize(std::int64_t width, std::int64_t height, std::int64_t frames, const ResourceLimits& limits)
{
    if (width < 1 || height < 1 || frames < 1)
        throw damaged();
    const std::int64_t most = limits.maxImagePixels;
    if (width > most || height > most / width || frames > most / (width * height))
        throw ConversionError::resourceLimit(
            filled("l'image dépasse {} mégapixels"_fr, {std::to_string(most / 1'000'000)}));
}

ConversionError notSaved(std::string_view format)
{
    return ConversionError::encodingFailed(filled("l'image n'a pas pu être enregistrée au format {}"_fr, {format}));
}

ConversionError damaged() { return ConversionError::unreadableSource("son contenu est endommagé ou incomplet"_fr); }

} // namespace nivex::image
