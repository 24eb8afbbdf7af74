// Pictures as the pages of a PDF file, one each, without a library: its objects are few and always the same, and so
// streams of any size go to the disk as they come. ISO 32000-1, 8.9 (images).
#include "NivexWorkers/Image/Codecs/Pdf/JpegInPdf.hpp"
#include "NivexWorkers/Image/Codecs/Pdf/PdfFile.hpp"
#include "NivexWorkers/Image/Codecs/Png/PngWriter.hpp"
#include "NivexWorkers/Image/Codecs/Profiles.hpp"
#include "NivexWorkers/Image/Codecs/Vips/VipsFiles.hpp"
#include "NivexWorkers/Image/Metadata/Metadata.hpp"

#include "NivexKit/Foundation/Bytes/ByteSource.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"
#include "NivexKit/Structures/PngChunks.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace nivex::image {
namespace {

namespace fs = std::filesystem;
using vips::VImage;
using Pieces = std::vector<JpegInPdf::Piece>;

constexpr double pointsPerInch = 72;
constexpr double millimetresPerInch = 25.4;
constexpr double longestPageSide = 14'400; // units; Annex C
constexpr double shortestPageSide = 3;

/// A file that an encoder fills and from which a stream of the PDF file is taken; gone with the object.
class EncodedImage {
public:
    EncodedImage(const WriteRequest& request, std::string_view suffix) : path_{request.file} { path_ += suffix; }
    EncodedImage(const EncodedImage&) = delete;
    EncodedImage& operator=(const EncodedImage&) = delete;
    ~EncodedImage()
    {
        std::error_code ignored;
        fs::remove(path_, ignored);
    }

    const fs::path& path() const { return path_; }
    FileSource opened() const
    {
        auto file = FileSource::open(path_);
        if (!file)
            throw ConversionError::encodingFailed("fichier impossible à écrire"_fr);
        return std::move(*file);
    }

private:
    fs::path path_;
};

struct PageSize {
    double width; // in units of 1/72 inch
    double height;
};

/// Dots per inch. PNG counts dots per metre and cuts off the rest, so that what is almost a whole number was one.
double dotsPerInch(double dotsPerMillimetre)
{
    constexpr double oneDotPerMetre = millimetresPerInch / 1000;
    const double dots = dotsPerMillimetre * millimetresPerInch;
    return std::abs(dots - std::round(dots)) < oneDotPerMetre ? std::round(dots) : dots;
}

/// The size at which the picture's resolution shows it. Files that tell no resolution are read as 72 dots per inch, or
/// by libvips as one dot per millimetre.
PageSize pageSize(const VImage& image)
{
    const bool isTold = image.xres() > 1 && image.yres() > 1;
    const auto units = [isTold](int dots, double dotsPerMillimetre) {
        return isTold ? dots / dotsPerInch(dotsPerMillimetre) * pointsPerInch : dots;
    };
    const double width = units(image.width(), image.xres());
    const double height = units(image.height(), image.yres());
    const double scale =
        std::min(longestPageSide / std::max(width, height), std::max(1.0, shortestPageSide / std::min(width, height)));
    const auto bounded = [scale](double side) { return std::clamp(side * scale, shortestPageSide, longestPageSide); };
    return {bounded(width), bounded(height)};
}

/// The matrix that puts the unit square of an image upright onto the page (Exif 2.32, Orientation).
std::string placement(int orientation, PageSize page)
{
    const double w = page.width;
    const double h = page.height;
    const std::array<std::array<double, 6>, 8> matrices{{{w, 0, 0, h, 0, 0},
                                                         {-w, 0, 0, h, w, 0},
                                                         {-w, 0, 0, -h, w, h},
                                                         {w, 0, 0, -h, 0, h},
                                                         {0, -h, -w, 0, w, h},
                                                         {0, -h, w, 0, 0, h},
                                                         {0, h, w, 0, 0, 0},
                                                         {0, h, -w, 0, w, 0}}};
    std::string text;
    for (const double value : matrices[static_cast<std::size_t>(std::clamp(orientation, 1, 8) - 1)])
        text += PdfFile::number(value) + " ";
    return text + "cm";
}

/// What PDF calls a predictor per row is what PNG does, so the compressed pixels of a PNG file are a stream of PDF.
Pieces pixelsOfPng(const ByteSource& file)
{
    Pieces pieces;
    PngChunks chunks{file};
    while (const auto chunk = chunks.next())
        if (chunk->type == "IDAT")
            pieces.push_back({chunk->data(), chunk->count});
    return pieces;
}

class PdfPages {
public:
    explicit PdfPages(const WriteRequest& request) : request_{request}, pdf_{request.file}, tree_{pdf_.reserve()} {}

    void addEncoded(const VImage& image, const ProgressCallback& progress)
    {
        VImage colours = image;
        std::string mask;
        if (image.has_alpha()) {
            // The pixels are needed twice; libvips keeps the larger ones in a file.
            constexpr double mostInMemory = 100'000'000;
            const double bytes = static_cast<double>(image.width()) * image.height() * image.bands();
            const VImage kept = bytes > mostInMemory ? VImage::new_temp_file("%s.v") : VImage::new_memory();
            image.write(kept);
            const VImage alpha = kept.extract_band(kept.bands() - 1);
            mask = " /SMask " + PdfFile::reference(addFlate(
                                    alpha.copy(VImage::option()->set("interpretation", VIPS_INTERPRETATION_B_W)),
                                    "/ColorSpace /DeviceGray", progress));
            colours = kept.extract_band(0, VImage::option()->set("n", kept.bands() - 1))
                          .copy(VImage::option()->set("interpretation", image.interpretation()));
        }
        const std::string entries = "/ColorSpace " + colourSpace(image, colours.bands()) + mask;
        const int stream = request_.quality >= 1 || hasPalette(image) ? addFlate(colours, entries, progress)
                                                                      : addDct(colours, entries, progress);
        addPage(stream, pageSize(image), 1);
    }

    void addUntouched(const VImage& upright, const JpegSource& jpeg, const JpegInPdf& facts)
    {
        const auto file = FileSource::open(jpeg.file);
        if (!file)
            throw damaged(cannotOpen);
        const Pieces pieces = jpeg.isUntouched ? Pieces{{0, file->size()}} : bareJpeg(*file);
        const int stream = addImage(*file, pieces, facts.width, facts.height,
                                    "/BitsPerComponent 8 /Filter /DCTDecode /ColorSpace " +
                                        colourSpace(upright, facts.components) + (facts.isInverted ? inverted : ""));
        addPage(stream, pageSize(upright), jpeg.orientation);
    }

    void finish(const Metadata& metadata)
    {
        std::string kids;
        for (const int page : pages_)
            kids += PdfFile::reference(page) + " ";
        pdf_.writeObject(tree_,
                         "<< /Type /Pages /Count " + std::to_string(pages_.size()) + " /Kids [ " + kids + "] >>");
        const std::string xmp = asXmp(metadata);
        const std::string told =
            xmp.empty() ? "" : " /Metadata " + PdfFile::reference(pdf_.addStream("/Type /Metadata /Subtype /XML", xmp));
        pdf_.finish(pdf_.addObject("<< /Type /Catalog /Pages " + PdfFile::reference(tree_) + told + " >>"));
    }

private:
    static constexpr const char* inverted = " /Decode [1 0 1 0 1 0 1 0]";

    static bool hasPalette(const VImage& image) { return image.get_typeof("palette-bit-depth") != 0; }

    /// The colours of so many bands: by the profile where it is one for them.
    std::string colourSpace(const VImage& image, int bands)
    {
        const char* device = bands == 1 ? "/DeviceGray" : bands == 4 ? "/DeviceCMYK" : "/DeviceRGB";
        const std::string profile{profileOf(image)};
        const ProfileColors needed = bands == 1   ? ProfileColors::grey
                                     : bands == 4 ? ProfileColors::cmyk
                                                  : ProfileColors::rgb;
        if (colorsOfProfile(profile) != needed)
            return device;
        const auto [known, isNew] = profiles_.try_emplace(profile, 0);
        if (isNew) {
            const std::string count = std::to_string(bands);
            const int stream = pdf_.addStream("/N " + count + " /Alternate " + device, profile);
            known->second = pdf_.addObject("[ /ICCBased " + PdfFile::reference(stream) + " ]");
        }
        return PdfFile::reference(known->second);
    }

    int addFlate(const VImage& image, const std::string& entries, const ProgressCallback& progress)
    {
        // To the encoder four inks are three colours and a fourth component.
        const VImage neutral =
            image.bands() == 4 ? image.copy(VImage::option()->set("interpretation", VIPS_INTERPRETATION_sRGB)) : image;
        const EncodedImage png{request_, ".png"};
        writePngFile(bare(neutral), {.file = png.path(), .progress = progress, .processors = request_.processors});
        const FileSource file = png.opened();
        const std::string width = std::to_string(image.width());
        return addImage(file, pixelsOfPng(file), image.width(), image.height(),
                        "/BitsPerComponent 8 /Filter /FlateDecode /DecodeParms << /Predictor 15 /Colors " +
                            std::to_string(image.bands()) + " /BitsPerComponent 8 /Columns " + width + " >> " +
                            entries);
    }

    int addDct(const VImage& image, const std::string& entries, const ProgressCallback& progress)
    {
        const EncodedImage jpeg{request_, ".jpg"};
        save(bare(image), {.file = jpeg.path(), .progress = progress}, "jpegsave",
             VImage::option()->set("Q", percent(request_.quality)));
        const FileSource file = jpeg.opened();
        return addImage(file, bareJpeg(file), image.width(), image.height(),
                        "/BitsPerComponent 8 /Filter /DCTDecode " + entries + (isCmyk(image) ? inverted : ""));
    }

    /// Without the profile, which lies in the PDF file beside the pixels.
    static VImage bare(const VImage& image)
    {
        VImage copy = image.copy();
        copy.remove(VIPS_META_ICC_NAME);
        return copy;
    }

    int addImage(const ByteSource& file, const Pieces& pieces, std::int64_t width, std::int64_t height,
                 const std::string& entries)
    {
        std::uint64_t count = 0;
        for (const auto& piece : pieces)
            count += piece.count;
        const int stream = pdf_.beginStream("/Type /XObject /Subtype /Image /Width " + std::to_string(width) +
                                                " /Height " + std::to_string(height) + " " + entries,
                                            count);
        constexpr std::uint64_t mostAtOnce = 256 * 1024;
        for (const auto& piece : pieces)
            for (std::uint64_t done = 0; done < piece.count;) {
                const auto wanted = static_cast<std::size_t>(std::min(mostAtOnce, piece.count - done));
                const auto bytes = file.read(piece.offset + done, wanted);
                if (bytes.size() != wanted)
                    throw ConversionError::encodingFailed("fichier impossible à écrire"_fr);
                pdf_.write({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
                done += wanted;
            }
        pdf_.endStream();
        return stream;
    }

    void addPage(int image, PageSize size, int orientation)
    {
        const int contents = pdf_.addStream("", "q " + placement(orientation, size) + " /Im Do Q");
        pages_.push_back(pdf_.addObject("<< /Type /Page /Parent " + PdfFile::reference(tree_) + " /MediaBox [0 0 " +
                                        PdfFile::number(size.width) + " " + PdfFile::number(size.height) +
                                        "] /Resources << /XObject << /Im " + PdfFile::reference(image) +
                                        " >> >> /Contents " + PdfFile::reference(contents) + " >>"));
    }

    const WriteRequest& request_;
    PdfFile pdf_;
    int tree_;
    std::vector<int> pages_;
    std::map<std::string, int> profiles_; // those that have been written
};

} // namespace

void writePdf(const Picture& picture, const WriteRequest& request)
{
    PdfPages pages{request};
    const auto count = static_cast<double>(picture.frames.size());
    for (std::size_t i = 0; i < picture.frames.size(); ++i) {
        const ProgressCallback part = [&](std::optional<double> fraction) {
            request.progress((static_cast<double>(i) + fraction.value_or(0)) / count);
        };
        pages.addEncoded(picture.frames[i], part);
    }
    pages.finish(picture.metadata);
}

void writePdfOfJpeg(const Picture& picture, const JpegSource& jpeg, const WriteRequest& request)
{
    const auto file = FileSource::open(jpeg.file);
    const auto facts = file ? jpegInPdf(*file) : std::nullopt;
    if (!facts)
        throw damaged("JPEG: changed while it was read");
    PdfPages pages{request};
    pages.addUntouched(picture.first(), jpeg, *facts);
    pages.finish(picture.metadata);
}

} // namespace nivex::image
