#include "NIVEX/CommandLine/Arguments.hpp"

#include <algorithm>
#include <iterator>

namespace nivex::commandline {
namespace {

template <class Value, class Place>
void overrideWith(const std::optional<Value>& value, Place& place)
{
    if (value)
        place = *value;
}

template <class Block, class Value>
void addBlock(const std::optional<Value>& value, std::vector<RecipeStep>& blocks)
{
    if (value)
        blocks.push_back(Block{*value});
}

} // namespace

ConversionOptions OptionOverrides::appliedTo(ConversionOptions base) const
{
    overrideWith(quality, base.quality);
    overrideWith(metadata, base.metadata);
    overrideWith(colorProfile, base.colorProfile);
    overrideWith(maxPixelDimension, base.maxPixelDimension);
    overrideWith(flattenBackground, base.flattenBackground);
    overrideWith(renderDPI, base.renderDPI);
    overrideWith(pageBackground, base.pageBackground);
    overrideWith(removeBackground, base.removeBackground);
    overrideWith(maxFileBytes, base.maxFileBytes);
    overrideWith(videoQuality, base.videoQuality);
    overrideWith(videoCodec, base.videoCodec);
    overrideWith(audioBitRate, base.audioBitRate);
    return base;
}

std::vector<OptionOverrides::Given> OptionOverrides::given() const
{
    using Kind = ConversionOptionKind;
    const Given all[] = {
        {"--quality", Kind::quality, quality.has_value()},
        {"--metadata", Kind::metadata, metadata.has_value()},
        {"--color-profile", Kind::colorProfile, colorProfile.has_value()},
        {"--max-dimension", Kind::dimensions, maxPixelDimension.has_value()},
        {"--flatten-background", Kind::background, flattenBackground.has_value()},
        {"--dpi", Kind::renderResolution, renderDPI.has_value()},
        {"--page-background", Kind::background, pageBackground.has_value()},
        {"--remove-background", Kind::removeBackground, removeBackground.has_value()},
        {"--max-size", Kind::targetSize, maxFileBytes.has_value()},
        {"--video-quality", Kind::videoQuality, videoQuality.has_value()},
        {"--video-codec", Kind::videoQuality, videoCodec.has_value()},
        {"--audio-bit-rate", Kind::audioQuality, audioBitRate.has_value()},
    };
    std::vector<Given> given;
    std::copy_if(std::begin(all), std::end(all), std::back_inserter(given),
                 [](const Given& each) { return each.isGiven; });
    return given;
}

std::vector<RecipeStep> OptionOverrides::blocks() const
{
    std::vector<RecipeStep> blocks;
    addBlock<step::Resize>(maxPixelDimension, blocks);
    addBlock<step::Quality>(quality, blocks);
    addBlock<step::Metadata>(metadata, blocks);
    addBlock<step::ColorProfile>(colorProfile, blocks);
    addBlock<step::Flatten>(flattenBackground, blocks);
    addBlock<step::RenderDPI>(renderDPI, blocks);
    addBlock<step::Page>(pageBackground, blocks);
    addBlock<step::RemoveBackground>(removeBackground, blocks);
    addBlock<step::MaxFileBytes>(maxFileBytes, blocks);
    addBlock<step::VideoDefinition>(videoQuality, blocks);
    addBlock<step::Codec>(videoCodec, blocks);
    addBlock<step::AudioBitRate>(audioBitRate, blocks);
    return blocks;
}

} // namespace nivex::commandline
