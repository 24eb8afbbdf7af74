// TIFF 6.0: pixels by libvips, page by page; the chain of pages by libtiff.
#include "NivexWorkers/Image/Codecs/Progress.hpp"
#include "NivexWorkers/Image/Codecs/Tiff/TiffLayouts.hpp"
#include "NivexWorkers/Image/Codecs/Vips/VipsFiles.hpp"
#include "NivexWorkers/Image/Pixels/Components.hpp"

#include "NivexKit/Engines/Image/PictureFormats.hpp"
#include "NivexKit/Foundation/Bytes/ByteReader.hpp"
#include "NivexKit/Foundation/Bytes/ByteSource.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"

#include <tiffio.h>

#include <algorithm>
#include <memory>
#include <optional>
#include <vector>

namespace nivex::image {
namespace {

namespace fs = std::filesystem;
using vips::VImage;

/// No scanner or office program writes more, and each page costs an open file.
constexpr std::size_t mostPages = 2'000;

/// Whether the current directory itself calls its picture one of a palette.
bool saysPalette(const ByteSource& file, TIFF* tiff)
{
    const bool isBig = TIFFIsBigTIFF(tiff) != 0;
    const ByteOrder order = TIFFIsBigEndian(tiff) ? ByteOrder::big : ByteOrder::little;
    const std::uint64_t begin = TIFFCurrentDirOffset(tiff);
    const std::size_t countSize = isBig ? 8 : 2;
    const std::size_t entrySize = isBig ? 20 : 12;
    constexpr std::uint64_t mostEntries = 4'096;

    const std::vector<std::byte> head = file.read(begin, countSize);
    ByteReader number{head, order};
    const std::uint64_t count = std::min(isBig ? number.u64() : number.u16(), mostEntries);
    const std::vector<std::byte> entries = file.read(begin + countSize, count * entrySize);
    ByteReader entry{entries, order};
    while (entry.left() >= entrySize) {
        const std::uint16_t tag = entry.u16();
        entry.skip(isBig ? 10 : 6); // type and count
        const std::uint16_t value = entry.u16();
        entry.skip(isBig ? 6 : 2);
        if (tag == TIFFTAG_PHOTOMETRIC)
            return value == PHOTOMETRIC_PALETTE;
    }
    return false;
}

/// libtiff takes a picture for grey whose palette lies behind the end of the file.
void requirePalette(const ByteSource& file, TIFF* tiff)
{
    std::uint16_t colors = 0;
    TIFFGetField(tiff, TIFFTAG_PHOTOMETRIC, &colors);
    if (colors != PHOTOMETRIC_PALETTE && saysPalette(file, tiff))
        throw damaged();
}

struct Page {
    int directory;
    bool isRare = false; // see hasRareLayout
};

/// The directories that are pages of their own: not the smaller versions and masks of another one.
std::vector<Page> pages(const fs::path& file)
{
    const TiffFile tiff{TIFFOpen(file.c_str(), "rm")};
    const std::optional<FileSource> bytes = FileSource::open(file);
    if (!tiff || !bytes)
        throw damaged();
    std::vector<Page> pages;
    int directory = 0;
    do {
        std::uint32_t kind = 0;
        TIFFGetFieldDefaulted(tiff.get(), TIFFTAG_SUBFILETYPE, &kind);
        if ((kind & (FILETYPE_REDUCEDIMAGE | FILETYPE_MASK)) == 0)
            pages.push_back({directory, hasRareLayout(tiff.get())});
        requirePalette(*bytes, tiff.get());
        ++directory;
    } while (pages.size() <= mostPages && TIFFReadDirectory(tiff.get()));
    if (pages.size() > mostPages)
        throw ConversionError::resourceLimit(filled("le document a plus de {} pages"_fr, {std::to_string(mostPages)}));
    if (pages.empty()) // nothing but a thumbnail is still a picture
        pages.push_back({0});
    return pages;
}

VImage readRarePage(const ReadRequest& request, int directory)
{
    const TiffFile tiff{TIFFOpen(request.file.c_str(), "rm")};
    if (!tiff || TIFFSetDirectory(tiff.get(), static_cast<tdir_t>(directory)) == 0)
        throw damaged();
    return withUsualComponents(readRareLayout(tiff.get(), request.limits));
}

VImage readPage(const ReadRequest& request, const Page& page)
{
    if (page.isRare)
        return readRarePage(request, page.directory);
    const auto options = [&page] { return VImage::option()->set("page", page.directory); };
    const VImage header = opened(request, "tiffload", VIPS_ACCESS_SEQUENTIAL, options());
    requireAcceptableSize(header.width(), header.height(), 1, request.limits);
    const bool isUpright = numberField(header, VIPS_META_ORIENTATION, 1) == 1;
    return withUsualComponents(isUpright ? header : opened(request, "tiffload", VIPS_ACCESS_RANDOM, options()));
}

/// Files of more than 4 GiB need 64-bit offsets, which only some programs read.
bool needsLargeOffsets(const Picture& picture)
{
    double bytes = 0;
    for (const VImage& frame : picture.frames)
        bytes += static_cast<double>(frame.width()) * frame.height() * frame.bands() *
                 static_cast<double>(vips_format_sizeof(frame.format()));
    return bytes > mostBytesOfClassicTiff;
}

void savePage(const VImage& page, const WriteRequest& request, bool largeOffsets)
{
    const auto predictor =
        page.format() == VIPS_FORMAT_FLOAT ? VIPS_FOREIGN_TIFF_PREDICTOR_FLOAT : VIPS_FOREIGN_TIFF_PREDICTOR_HORIZONTAL;
    save(page, request, "tiffsave",
         VImage::option()
             ->set("compression", page.format() == VIPS_FORMAT_FLOAT ? VIPS_FOREIGN_TIFF_COMPRESSION_DEFLATE
                                                                     : VIPS_FOREIGN_TIFF_COMPRESSION_LZW)
             ->set("predictor", predictor)
             ->set("bigtiff", largeOffsets));
}

template <class Value>
void copyTag(TIFF* from, TIFF* to, int number)
{
    const auto tag = static_cast<std::uint32_t>(number);
    if (Value value{}; TIFFGetField(from, tag, &value))
        TIFFSetField(to, tag, value);
}

/// The tags that libvips writes of a picture.
void copyTags(TIFF* from, TIFF* to)
{
    for (const int tag : {TIFFTAG_IMAGEWIDTH, TIFFTAG_IMAGELENGTH, TIFFTAG_ROWSPERSTRIP})
        copyTag<std::uint32_t>(from, to, tag);
    for (const int tag :
         {TIFFTAG_BITSPERSAMPLE, TIFFTAG_SAMPLESPERPIXEL, TIFFTAG_COMPRESSION, TIFFTAG_PHOTOMETRIC,
          TIFFTAG_PLANARCONFIG, TIFFTAG_SAMPLEFORMAT, TIFFTAG_PREDICTOR, TIFFTAG_RESOLUTIONUNIT, TIFFTAG_INKSET})
        copyTag<std::uint16_t>(from, to, tag);
    for (const int tag : {TIFFTAG_XRESOLUTION, TIFFTAG_YRESOLUTION})
        copyTag<float>(from, to, tag);
    std::uint16_t extraCount = 0;
    std::uint16_t* extras = nullptr;
    if (TIFFGetField(from, TIFFTAG_EXTRASAMPLES, &extraCount, &extras))
        TIFFSetField(to, TIFFTAG_EXTRASAMPLES, extraCount, extras);
    std::uint32_t profileBytes = 0;
    void* profile = nullptr;
    if (TIFFGetField(from, TIFFTAG_ICCPROFILE, &profileBytes, &profile))
        TIFFSetField(to, TIFFTAG_ICCPROFILE, profileBytes, profile);
}

/// Copies the one page of a file that was just written, compressed as it is, to the end of another.
void appendPage(TIFF* document, const fs::path& page)
{
    const auto require = [](bool done) {
        if (!done)
            throw ConversionError::encodingFailed("une page n'a pas pu être ajoutée au document"_fr);
    };
    const TiffFile from{TIFFOpen(page.c_str(), "r")};
    require(from != nullptr);
    copyTags(from.get(), document);
    std::vector<std::byte> strip;
    for (std::uint32_t i = 0; i < TIFFNumberOfStrips(from.get()); ++i) {
        strip.resize(static_cast<std::size_t>(TIFFRawStripSize64(from.get(), i)));
        const auto size = static_cast<tmsize_t>(strip.size());
        require(TIFFReadRawStrip(from.get(), i, strip.data(), size) == size);
        require(TIFFWriteRawStrip(document, i, strip.data(), size) == size);
    }
    require(TIFFWriteDirectory(document) == 1);
}

} // namespace

Picture readTiff(const ReadRequest& request)
{
    Picture picture;
    std::int64_t pixels = 0;
    for (const Page& page : pages(request.file)) {
        const VImage frame = readPage(request, page);
        pixels += std::int64_t{frame.width()} * frame.height();
        requireAcceptableSize(pixels, 1, 1, request.limits);
        picture.frames.push_back(frame);
        if (!request.wantsAllFrames)
            break;
    }
    picture.kind = picture.frames.size() > 1 ? FrameKind::pages : FrameKind::single;
    return picture;
}

void writeTiff(const Picture& picture, const WriteRequest& request)
{
    const bool largeOffsets = needsLargeOffsets(picture);
    const auto count = static_cast<double>(picture.frames.size());
    const auto shareOf = [&](std::size_t page) {
        return [&request, page, count](std::optional<double> fraction) {
            request.progress((static_cast<double>(page) + fraction.value_or(0)) / count);
        };
    };
    const ProgressCallback firstShare = shareOf(0);
    savePage(picture.first(), {.file = request.file, .quality = request.quality, .progress = firstShare}, largeOffsets);
    if (picture.frames.size() == 1)
        return;
    const TiffFile document{TIFFOpen(request.file.c_str(), "a")};
    if (!document)
        throw ConversionError::encodingFailed("une page n'a pas pu être ajoutée au document"_fr);
    const fs::path page = fs::path{request.file} += ".page";
    for (std::size_t i = 1; i < picture.frames.size(); ++i) {
        const ProgressCallback share = shareOf(i);
        savePage(picture.frames[i], {.file = page, .quality = request.quality, .progress = share}, largeOffsets);
        appendPage(document.get(), page);
        fs::remove(page);
        share(1.0);
    }
}

} // namespace nivex::image
