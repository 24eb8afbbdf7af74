#include "NivexWorkers/Image/Reading.hpp"

#include "NivexWorkers/Image/LibraryErrors.hpp"

namespace nivex::image {

namespace {

/// Whether a target keeps more than the first picture of such a file.
bool keepsMore(std::string_view source, const WrittenPictures& target)
{
    const PictureFormat* const row = pictureFormat(source);
    return row && row->read && keepsAll(row->read->pictures, target.pictures);
}

int passOver(VipsRegion*, void*, void*, void*, gboolean*) { return 0; }

} // namespace

Picture readSource(const Codec& source, const WrittenPictures& target, const EngineRequest& request)
{
    Picture picture = source.read({.file = request.input,
                                   .format = source.format,
                                   .limits = request.limits,
                                   .wantsAllFrames = keepsMore(source.format, target),
                                   .longestSide = request.options.maxPixelDimension.value_or(0)});
    if (target.hasMetadata && request.options.metadata != MetadataPolicy::removeAll)
        picture.metadata = metadataOf(source, picture, request.input);
    return picture;
}

void pullPixels(const Picture& picture)
{
    const OneThread thread; // see hasErrorBehind
    for (const vips::VImage& frame : picture.frames)
        if (vips_sink(frame.get_image(), nullptr, passOver, nullptr, nullptr, nullptr) != 0)
            throw vips::VError();
    if (hasGuessBehind())
        throw damaged(errorsBehind());
}

void requireReadable(const EngineRequest& request)
{
    forgetErrors();
    try {
        const ReadRequest reading{
            .file = request.input, .format = request.sourceFormat.id.rawValue, .limits = request.limits};
        pullPixels(codec(reading.format).read(reading));
    } catch (const ConversionError& error) {
        throw damaged(error.cause());
    } catch (const vips::VError&) {
        throw damaged(errorsBehind());
    } catch (const std::exception& error) {
        throw damaged(error.what());
    }
}

} // namespace nivex::image
