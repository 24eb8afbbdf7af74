#include "NivexWorkers/Pages/Drawing/PictureOutput.hpp"

#include "NivexWorkers/Image/Budget/BudgetedWriting.hpp"
#include "NivexWorkers/Image/Codecs/Codec.hpp"
#include "NivexWorkers/Image/LibraryErrors.hpp"
#include "NivexWorkers/Image/Pixels/Adaptation.hpp"

#include "NivexKit/Contract/OutputBudget.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"

namespace nivex::pages {
namespace {

namespace fs = std::filesystem;

const WrittenPictures& writtenOf(const FileFormat& format)
{
    const PictureFormat* const row = pictureFormat(format.id.rawValue);
    if (!row || !row->written)
        throw ConversionError::unsupported(filled("le format {} n'est pas une image"_fr, {format.name}));
    return *row->written;
}

image::Picture adaptedTo(const vips::VImage& drawn, const EngineRequest& request)
{
    return image::adapted({.frames = {drawn}, .kind = image::FrameKind::single}, writtenOf(request.targetFormat),
                          request.options);
}

} // namespace

vips::VImage adaptedPicture(const vips::VImage& drawn, const EngineRequest& request)
{
    return adaptedTo(drawn, request).first();
}

fs::path writePicture(const vips::VImage& drawn, const EngineRequest& request, const ProgressCallback& progress,
                      unsigned processors)
{
    const fs::path output = request.outputLocation();
    try {
        image::Picture picture = adaptedTo(drawn, request);
        if (request.options.maxFileBytes && OutputBudget::isOffered(request.targetFormat.id))
            image::writeWithinBudget(std::move(picture), writtenOf(request.targetFormat), request, progress);
        else
            image::codec(request.targetFormat.id.rawValue)
                .write(picture, {.file = output,
                                 .quality = request.options.quality,
                                 .progress = progress,
                                 .processors = processors});
    } catch (const vips::VError&) {
        throw image::notSaved(request.targetFormat.name).because(image::errorsBehind());
    }
    return output;
}

} // namespace nivex::pages
