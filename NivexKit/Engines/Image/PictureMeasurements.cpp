#include "NivexKit/Engines/Image/PictureMeasurements.hpp"

#include "NivexKit/Engines/Image/PictureFormats.hpp"

#include <optional>

namespace nivex {
namespace {

template <class Value>
void overwrite(std::optional<Value>& field, const std::optional<Value>& found)
{
    if (found)
        field = found;
}

template <class Value>
void complete(std::optional<Value>& field, const std::optional<Value>& found)
{
    if (!field)
        field = found;
}

} // namespace

std::vector<FormatID> measuredPictures(const FormatRegistry& registry)
{
    std::vector<FormatID> formats;
    for (const PictureFormat& row : pictureFormats())
        if (row.read && registry.format(FormatID{row.id}))
            formats.emplace_back(row.id);
    return formats;
}

void enterPicture(const SourceProperties& found, SourceProperties& known)
{
    overwrite(known.pixelWidth, found.pixelWidth);
    overwrite(known.pixelHeight, found.pixelHeight);
    overwrite(known.hasAlpha, found.hasAlpha);
    if (!known.durationSeconds) // of a sequence, decoders see the still pictures beside it
        overwrite(known.imageCount, found.imageCount);
    overwrite(known.hasLocation, found.hasLocation);
    overwrite(known.decoderTypeIdentifier, found.decoderTypeIdentifier);
    overwrite(known.hasLayers, found.hasLayers);
    // A header tells 10 or 12 bits where a decoder has 16.
    complete(known.bitsPerComponent, found.bitsPerComponent);
    complete(known.isFloatingPoint, found.isFloatingPoint);
}

} // namespace nivex
