#include "NivexWorkers/Image/PassingThrough.hpp"

#include "NivexWorkers/Image/Codecs/Pdf/JpegInPdf.hpp"
#include "NivexWorkers/Image/Codecs/Progress.hpp"
#include "NivexWorkers/Image/Codecs/Vips/VipsFiles.hpp"
#include "NivexWorkers/Image/Reading.hpp"
#include "NivexWorkers/Image/Removal/Removal.hpp"

#include <algorithm>
#include <filesystem>
#include <utility>

namespace nivex::image {
namespace {

namespace fs = std::filesystem;
using vips::VImage;

/// True where the pixels of a file are as asked, whatever is asked of its metadata.
bool hasPixelsAsAsked(const Picture& picture, const EngineRequest& request)
{
    const ConversionOptions& options = request.options;
    if (request.sourceFormat.id != request.targetFormat.id || options.colorProfile != ColorProfilePolicy::preserve)
        return false;
    return std::ranges::all_of(picture.frames, [&](const VImage& frame) {
        return !options.maxPixelDimension || std::max(frame.width(), frame.height()) <= *options.maxPixelDimension;
    });
}

/// The source, without the metadata that are to go.
void copySource(const EngineRequest& request)
{
    if (request.options.metadata == MetadataPolicy::keep)
        fs::copy_file(request.input, request.outputLocation());
    else
        removeMetadata(request);
}

} // namespace

bool copiedAsItIs(const Picture& picture, const EngineRequest& request)
{
    const MetadataPolicy policy = request.options.metadata;
    const bool canHaveMetadataAsAsked =
        policy == MetadataPolicy::keep || canRemoveMetadata(request.sourceFormat.id.rawValue);
    if (!canHaveMetadataAsAsked || !hasPixelsAsAsked(picture, request))
        return false;
    const auto fits = [&request](const fs::path& file) {
        const auto& most = request.options.maxFileBytes;
        return !most || std::cmp_less_equal(fs::file_size(file), *most);
    };
    if (policy == MetadataPolicy::keep && !fits(request.input))
        return false;
    requireReadable(request);
    copySource(request);
    if (fits(request.outputLocation()))
        return true;
    fs::remove(request.outputLocation());
    return false;
}

std::optional<JpegSource> untouchedJpeg(const Picture& picture, const WrittenPictures& target,
                                        const EngineRequest& request, const ProgressCallback& progress)
{
    const ConversionOptions& options = request.options;
    const VImage& image = picture.first();
    const std::int64_t longest = std::max(image.width(), image.height());
    const bool isAsked =
        request.sourceFormat.id == target.takesOver && options.colorProfile == ColorProfilePolicy::preserve &&
        options.quality >= ConversionOptions{}.quality && options.maxPixelDimension.value_or(longest) >= longest;
    const auto file = isAsked ? FileSource::open(request.input) : std::nullopt;
    if (!file || !jpegInPdf(*file))
        return std::nullopt;
    VImage decoded = image.copy();
    const PullProgress pulled{decoded, progress};
    decoded.avg();
    return JpegSource{.file = request.input,
                      .orientation = numberField(image, VIPS_META_ORIENTATION, 1),
                      .isUntouched = options.metadata == MetadataPolicy::keep};
}

} // namespace nivex::image
