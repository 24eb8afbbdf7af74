#include "NivexWorkers/Image/PassingThrough.hpp"

#include "NivexWorkers/Image/Codecs/Pdf/JpegInPdf.hpp"
#include "NivexWorkers/Image/Codecs/Progress.hpp"
#include "NivexWorkers/Image/Codecs/Vips/VipsFiles.hpp"
#include "NivexWorkers/Image/Reading.hpp"

#include <algorithm>
#include <filesystem>
#include <utility>

namespace nivex::image {
namespace {

namespace fs = std::filesystem;
using vips::VImage;

/// True for a file that is only to become smaller, is small enough and is to be changed in no other way. Its quality
/// is no reason to encode it again: that could only make it look worse.
bool isAsAskedAlready(const Picture& picture, const EngineRequest& request)
{
    const ConversionOptions& options = request.options;
    if (request.sourceFormat.id != request.targetFormat.id || options.metadata != MetadataPolicy::keep ||
        options.colorProfile != ColorProfilePolicy::preserve)
        return false;
    if (options.maxFileBytes && std::cmp_greater(fs::file_size(request.input), *options.maxFileBytes))
        return false;
    return std::ranges::all_of(picture.frames, [&](const VImage& frame) {
        return !options.maxPixelDimension || std::max(frame.width(), frame.height()) <= *options.maxPixelDimension;
    });
}

} // namespace

bool copiedAsItIs(const Picture& picture, const EngineRequest& request)
{
    if (!isAsAskedAlready(picture, request))
        return false;
    requireReadable(request);
    fs::copy_file(request.input, request.outputLocation());
    return true;
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
