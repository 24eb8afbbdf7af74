#include "NivexWorkers/Image/Writing.hpp"

#include "NivexKit/Engines/Image/PictureFormats.hpp"

#include <algorithm>
#include <thread>

namespace nivex::image {
namespace {

double encoderQuality(const EngineRequest& request, double quality)
{
    const PictureFormat* const source = pictureFormat(request.sourceFormat.id.rawValue);
    const PictureFormat* const target = pictureFormat(request.targetFormat.id.rawValue);
    const bool keepsAll = source && source->read && source->read->isExact && target && target->written &&
                          target->written->keepsExact && quality >= ConversionOptions{}.quality;
    return keepsAll ? 1 : quality;
}

} // namespace

WriteRequest writingOf(const EngineRequest& request, const std::filesystem::path& file, double quality,
                       const ProgressCallback& progress)
{
    return {.file = file,
            .quality = encoderQuality(request, quality),
            .progress = progress,
            .processors = std::max(1u, std::thread::hardware_concurrency())};
}

} // namespace nivex::image
