#include "NivexWorkers/Image/Budget/BudgetedWriting.hpp"

#include "NivexWorkers/Image/Budget/SizeSearch.hpp"
#include "NivexWorkers/Image/Codecs/Profiles.hpp"
#include "NivexWorkers/Image/Codecs/Progress.hpp"
#include "NivexWorkers/Image/Pixels/Adaptation.hpp"
#include "NivexWorkers/Image/Writing.hpp"

#include "NivexKit/Foundation/Text/ByteCount.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"

#include <algorithm>
#include <cmath>

namespace nivex::image {
namespace {

namespace fs = std::filesystem;
using vips::VImage;

constexpr double shortestLongestSide = 16; // pixels; a picture that is worth having has more

// More than this is kept in a temporary file instead of in memory.
constexpr std::uint64_t mostPixelBytesInMemory = 512 << 20;
constexpr double shareOfDecoding = 0.2;

std::uint64_t pixelBytes(const VImage& frame)
{
    return vips_format_sizeof(frame.format()) * static_cast<std::uint64_t>(frame.bands()) *
           static_cast<std::uint64_t>(frame.width()) * static_cast<std::uint64_t>(frame.height());
}

/// The pixels of a frame, computed now and only once.
VImage computed(const VImage& frame, const ProgressCallback& progress, double begin, double end)
{
    const PullProgress pulling{frame, progress, begin, end};
    if (pixelBytes(frame) <= mostPixelBytesInMemory)
        return frame.copy_memory();
    VImage file = VImage::new_temp_file("%s.v");
    frame.write(file);
    return file;
}

Picture computed(Picture picture, const ProgressCallback& progress, double end)
{
    const double share = end / static_cast<double>(picture.frames.size());
    double begin = 0;
    for (VImage& frame : picture.frames) {
        frame = computed(frame, progress, begin, begin + share);
        begin += share;
    }
    return picture;
}

/// A picture whose pieces are large enough for a sample.
constexpr int fewestPixelsToSample = 2'000'000;

/// Pieces from all over a picture side by side, about a twelfth of it. Their sides are whole blocks of the encoders.
VImage mosaic(const VImage& image)
{
    constexpr int across = 6;
    static constexpr int blockSide = 64;
    const auto pieceSide = [](int side) { return std::max(blockSide, side / (3 * across) / blockSide * blockSide); };
    const int width = pieceSide(image.width());
    const int height = pieceSide(image.height());
    std::vector<VImage> pieces;
    for (int row = 0; row < across; ++row)
        for (int column = 0; column < across; ++column)
            pieces.push_back(image.extract_area((image.width() - width) * column / (across - 1),
                                                (image.height() - height) * row / (across - 1), width, height));
    return VImage::arrayjoin(pieces, VImage::option()->set("across", across));
}

int longestSide(const Picture& picture)
{
    int longest = 0;
    for (const VImage& frame : picture.frames)
        longest = std::max({longest, frame.width(), frame.height()});
    return longest;
}

/// Encodes one picture in different ways and keeps the last that is small enough.
class Attempts {
public:
    Attempts(Picture picture, const WrittenPictures& target, const EngineRequest& request,
             const ProgressCallback& progress)
        : codec_{codec(request.targetFormat.id.rawValue)}, whole_{std::move(picture)},
          longestSide_{image::longestSide(whole_)}, target_{target}, request_{request}, progress_{progress}
    {
    }

    int longestSide() const { return longestSide_; }
    bool canEstimate() const { return whole_.frames.size() == 1 && pixels() >= fewestPixelsToSample; }
    std::int64_t pixels() const
    {
        std::int64_t count = 0;
        for (const VImage& frame : whole_.frames)
            count += std::int64_t{frame.width()} * frame.height();
        return count;
    }

    std::int64_t encode(const EncodingAttempt& attempt)
    {
        const fs::path output = request_.outputLocation();
        const fs::path file = attemptFile();
        // How many attempts are to come is not known: each covers the same part of what is left.
        const double begin = done_;
        const double share = (1 - begin) * shareOfAttempt;
        const ProgressCallback progress = [&](std::optional<double> fraction) {
            progress_(begin + share * fraction.value_or(0));
        };
        const Picture& picture = scaledTo(attempt.scale);
        write(picture, file, attempt, progress);
        done_ = begin + share;
        const auto size = static_cast<std::int64_t>(fs::file_size(file));
        if (size <= *request_.options.maxFileBytes)
            fs::rename(file, output);
        else
            fs::remove(file);
        return size;
    }

    /// About what `encode` would return, from encoding pieces from all over the picture.
    std::int64_t estimate(const EncodingAttempt& attempt)
    {
        const Picture& picture = scaledTo(attempt.scale);
        const VImage& frame = picture.first();
        if (bytesOfNothing_ == 0)
            bytesOfNothing_ =
                bytesOf(frame.extract_area(0, 0, std::min(16, frame.width()), std::min(16, frame.height())), attempt);
        const auto pixelsOf = [](const VImage& image) { return static_cast<double>(image.width()) * image.height(); };
        const VImage pieces = pixelsOf(frame) < fewestPixelsToSample ? frame : mosaic(frame);
        const auto bytes = static_cast<double>(std::max<std::int64_t>(0, bytesOf(pieces, attempt) - bytesOfNothing_));
        const Metadata& metadata = picture.metadata;
        return bytesOfNothing_ + std::llround(bytes * pixelsOf(frame) / pixelsOf(pieces)) +
               static_cast<std::int64_t>(metadata.exif.size() + metadata.xmp.size() + metadata.iptc.size());
    }

private:
    static constexpr double shareOfAttempt = 0.4;

    fs::path attemptFile() const
    {
        const fs::path output = request_.outputLocation();
        return output.parent_path() / ("attempt" + output.extension().string());
    }

    void write(const Picture& picture, const fs::path& file, const EncodingAttempt& attempt,
               const ProgressCallback& progress) const
    {
        const WriteRequest writing = writingOf(request_, file, attempt.quality, progress);
        if (attempt.goalBytes > 0)
            codec_.search->writeOfBytes(picture, writing, attempt.goalBytes);
        else
            codec_.write(picture, writing);
    }

    std::int64_t bytesOf(const VImage& image, const EncodingAttempt& attempt) const
    {
        const fs::path file = attemptFile();
        write({.frames = {image.copy_memory()}}, file, attempt, [](auto) {});
        const auto size = static_cast<std::int64_t>(fs::file_size(file));
        fs::remove(file);
        return size;
    }

    const Picture& scaledTo(double scale)
    {
        if (scale >= 1)
            return whole_;
        const auto side = std::max<std::int64_t>(1, std::lround(longestSide_ * scale));
        if (side != scaledSide_) {
            // All but the size has been adapted.
            scaled_ = adapted(whole_, target_, {.maxPixelDimension = side});
            if (codec_.search->keepsPageSize)
                keepPageSizes(scaled_);
            scaled_ = computed(
                std::move(scaled_), [](auto) {}, 0);
            scaledSide_ = side;
        }
        return scaled_;
    }

    /// Fewer pixels on the same page: their resolution says how large it is.
    void keepPageSizes(Picture& picture) const
    {
        for (std::size_t i = 0; i < picture.frames.size(); ++i) {
            const VImage& whole = whole_.frames[i];
            VImage& frame = picture.frames[i];
            frame = frame.copy(VImage::option()
                                   ->set("xres", whole.xres() * frame.width() / whole.width())
                                   ->set("yres", whole.yres() * frame.height() / whole.height()));
        }
    }

    const Codec& codec_;
    Picture whole_;
    int longestSide_;
    Picture scaled_;
    std::int64_t scaledSide_ = 0;
    std::int64_t bytesOfNothing_ = 0; // of a file with hardly a pixel
    const WrittenPictures& target_;
    const EngineRequest& request_;
    const ProgressCallback& progress_;
    double done_ = shareOfDecoding;
};

} // namespace

void writeWithinBudget(Picture picture, const WrittenPictures& target, const EngineRequest& request,
                       const ProgressCallback& progress)
{
    const auto& search = codec(request.targetFormat.id.rawValue).search;
    if (!search)
        throw ConversionError::unsupported("ce format ne propose pas de poids cible"_fr);
    const auto profileBytes = static_cast<std::int64_t>(profileOf(picture.first()).size());
    Attempts attempts{computed(std::move(picture), progress, shareOfDecoding), target, request, progress};
    const EncodingTrial encode = [&](const EncodingAttempt& attempt) { return attempts.encode(attempt); };
    const std::int64_t maximumBytes = *request.options.maxFileBytes;
    const bool isEstimated = search->isSlow && attempts.canEstimate();
    const EncodingTrial estimate = [&](const EncodingAttempt& attempt) { return attempts.estimate(attempt); };
    const double lowestScale = std::min(1.0, shortestLongestSide / attempts.longestSide());
    const auto best = search->writeOfBytes ? bestAttemptByRate({.maximumBytes = maximumBytes,
                                                                .quality = request.options.quality,
                                                                .pixels = attempts.pixels(),
                                                                .lowestBitsPerPixel = search->lowestBitsPerPixel,
                                                                .lowestScale = lowestScale},
                                                               encode)
                                           : bestAttempt({.maximumBytes = maximumBytes,
                                                          .quality = request.options.quality,
                                                          .lowestQuality = search->lowestQuality,
                                                          .qualityStep = search->qualityStep,
                                                          .lowestScale = lowestScale,
                                                          .steepness = search->steepness},
                                                         encode, isEstimated ? estimate : EncodingTrial{});
    if (!best && profileBytes > maximumBytes / 2)
        throw ConversionError::encodingFailed(
            filled("impossible d'obtenir un fichier de moins de {} : le profil de couleur en demande déjà {}"_fr,
                   {shownByteCount(maximumBytes), shownByteCount(profileBytes)}));
    if (!best)
        throw ConversionError::encodingFailed(
            filled("impossible d'obtenir un fichier de moins de {}"_fr, {shownByteCount(maximumBytes)}));
}

} // namespace nivex::image
