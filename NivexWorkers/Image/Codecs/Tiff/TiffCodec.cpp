// TIFF 6.0, page by page: pixels read by libvips, the chain of pages by libtiff.
#include "NivexWorkers/Image/Codecs/Tiff/TiffLayouts.hpp"
#include "NivexWorkers/Image/Codecs/Tiff/TiffPage.hpp"
#include "NivexWorkers/Image/Codecs/Vips/VipsFiles.hpp"
#include "NivexWorkers/Image/Pixels/Components.hpp"

#include "NivexKit/Engines/Image/PictureFormats.hpp"
#include "NivexKit/Foundation/Bytes/ByteSource.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"
#include "NivexKit/Structures/TiffStructure.hpp"

#include <tiffio.h>

#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace nivex::image {
namespace {

namespace fs = std::filesystem;
using vips::VImage;

/// No scanner or office program writes more, and each page costs an open file.
constexpr std::size_t mostPages = 2'000;

bool isWithin(const ByteSource& file, const TiffField& field)
{
    const std::uint64_t left = file.size() - std::min(field.position, file.size());
    return field.count <= left / std::max<std::size_t>(tiffValueSize(field.type), 1);
}

/// libtiff passes over a palette and a profile that lie behind the end of the file: the picture would be grey, or have
/// other colours.
void requireColors(const ByteSource& file, const TiffStructure& structure, TIFF* tiff)
{
    const auto directory = structure.directory(TIFFCurrentDirOffset(tiff));
    if (!directory)
        return;
    std::uint16_t colors = 0;
    TIFFGetField(tiff, TIFFTAG_PHOTOMETRIC, &colors);
    const auto told = structure.number(directory->field(TIFFTAG_PHOTOMETRIC));
    const TiffField* profile = directory->field(TIFFTAG_ICCPROFILE);
    if ((told == PHOTOMETRIC_PALETTE && colors != PHOTOMETRIC_PALETTE) || (profile && !isWithin(file, *profile)))
        throw damaged("TIFF directory: PhotometricInterpretation or ICCProfile lies behind the end");
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
    const auto structure = bytes ? TiffStructure::at(*bytes, 0) : std::nullopt;
    if (!tiff || !structure)
        throw damaged("TIFF: no first directory");
    std::vector<Page> pages;
    int directory = 0;
    do {
        std::uint32_t kind = 0;
        TIFFGetFieldDefaulted(tiff.get(), TIFFTAG_SUBFILETYPE, &kind);
        if ((kind & (FILETYPE_REDUCEDIMAGE | FILETYPE_MASK)) == 0)
            pages.push_back({directory, hasRareLayout(tiff.get())});
        requireColors(*bytes, *structure, tiff.get());
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
        throw damaged("TIFF: directory " + std::to_string(directory) + " cannot be read");
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
    const TiffFile file{TIFFOpen(request.file.c_str(), largeOffsets ? "w8x" : "wx")};
    if (!file)
        throw notSaved("TIFF");
    for (std::size_t i = 0; i < picture.frames.size(); ++i)
        writeTiffPage(file.get(), picture.frames[i], request.processors, shareOf(i));
}

} // namespace nivex::image
