#include "NivexKit/Engines/Image/PictureProbe.hpp"

#include "NivexKit/Engines/Image/PictureFormats.hpp"
#include "NivexKit/Foundation/ConversionError.hpp"

#include <chrono>

namespace nivex {
namespace {

namespace fs = std::filesystem;

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

void enter(const SourceProperties& found, SourceProperties& properties)
{
    overwrite(properties.pixelWidth, found.pixelWidth);
    overwrite(properties.pixelHeight, found.pixelHeight);
    overwrite(properties.hasAlpha, found.hasAlpha);
    if (!properties.durationSeconds) // of a sequence, decoders see the still pictures beside it
        overwrite(properties.imageCount, found.imageCount);
    overwrite(properties.hasLocation, found.hasLocation);
    overwrite(properties.decoderTypeIdentifier, found.decoderTypeIdentifier);
    overwrite(properties.hasLayers, found.hasLayers);
    // A header tells 10 or 12 bits where a decoder has 16.
    complete(properties.bitsPerComponent, found.bitsPerComponent);
    complete(properties.isFloatingPoint, found.isFloatingPoint);
}

std::optional<DetectionIssue> issueOf(const ConversionError& error)
{
    switch (error.kind()) {
    case ConversionError::Kind::unreadableSource:
        return DetectionIssue::corrupted(error.detail()).because(error.cause());
    case ConversionError::Kind::resourceLimit:
        return DetectionIssue::unreadable(error.detail()).because(error.cause());
    default:
        return std::nullopt; // it says nothing of the file
    }
}

} // namespace

std::vector<FormatID> PictureProbe::formats(const FormatRegistry& registry)
{
    std::vector<FormatID> formats;
    for (const PictureFormat& row : pictureFormats())
        if (row.read && registry.format(FormatID{row.id}))
            formats.emplace_back(row.id);
    return formats;
}

ProbeReport PictureProbe::probe(const ProbeSource& source, SourceProperties& properties) const
{
    const FileFormat* format = registry_.format(source.format);
    if (!format)
        return {};
    WorkerCall call{.program = "image", .engine = "native-image", .timeLimit = limits_.stepTimeout};
    call.request.input = fs::absolute(source.url);
    call.request.sourceFormat = *format;
    call.request.limits = limits_;
    try {
        enter(pool_->probe(call, {}), properties);
        return {.isConfirmed = true};
    } catch (const ConversionError& error) {
        return {.issue = issueOf(error)};
    }
}

} // namespace nivex
