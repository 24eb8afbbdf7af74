#include "NivexWorkers/Image/Probe.hpp"

#include "NivexWorkers/Image/Codecs/Codec.hpp"
#include "NivexWorkers/Image/LibraryErrors.hpp"
#include "NivexWorkers/Image/Reading.hpp"

#include "NivexKit/Engines/Image/PictureFormats.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"

namespace nivex::image {
namespace {

using vips::VImage;

/// Whether taking the position away changes anything.
bool tellsPosition(const Metadata& metadata, const VImage& picture)
{
    const UprightPicture upright{.width = picture.width(), .height = picture.height(), .isChanged = false};
    const Metadata whole = underPolicy(metadata, MetadataPolicy::keep, upright);
    const Metadata without = underPolicy(metadata, MetadataPolicy::removeLocation, upright);
    return whole.exif != without.exif || whole.xmp != without.xmp || whole.iptc != without.iptc;
}

SourceProperties measured(const Codec& source, const Picture& picture, const EngineRequest& request)
{
    const VImage& first = picture.first();
    SourceProperties properties{.pixelWidth = first.width(),
                                .pixelHeight = first.height(),
                                .hasAlpha = first.has_alpha(),
                                .bitsPerComponent = 8 * static_cast<std::int64_t>(vips_format_sizeof(first.format())),
                                .isFloatingPoint = first.format() == VIPS_FORMAT_FLOAT};
    const PictureFormat* const row = pictureFormat(request.sourceFormat.id.rawValue);
    if (row && row->read && row->read->pictures != KeptPictures::first)
        properties.imageCount = static_cast<std::int64_t>(picture.frames.size());
    if (!request.sourceFormat.typeIdentifiers.empty())
        properties.decoderTypeIdentifier = request.sourceFormat.typeIdentifiers.front();
    const Metadata metadata = metadataOf(source, picture, request.input);
    if (!metadata.isEmpty())
        properties.hasLocation = tellsPosition(metadata, first);
    return properties;
}

} // namespace

SourceProperties probePicture(const EngineRequest& request)
{
    const Codec& source = codec(request.sourceFormat.id.rawValue);
    if (!source.read)
        throw ConversionError::unsupported(filled("le format {} n'est pas une image"_fr, {request.sourceFormat.name}));
    forgetErrors();
    try {
        const Picture picture = source.read({.file = request.input, .format = source.format, .limits = request.limits});
        pullPixels(picture);
        return measured(source, picture, request);
    } catch (const vips::VError&) {
        throw damaged(errorsBehind());
    }
}

} // namespace nivex::image
