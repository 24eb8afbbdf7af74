#include "NivexKit/Engines/Media/MediaEngine.hpp"

#include "NivexKit/Engines/Media/MediaFormats.hpp"
#include "NivexKit/Engines/Media/MediaLosses.hpp"

namespace nivex {
namespace {

using Kind = ConversionOptionKind;

ConversionOptionKinds optionsOf(const FormatID& target, const MediaFormat& format)
{
    ConversionOptionKinds options{Kind::metadata};
    if (target == "m4a")
        options.insert(Kind::audioQuality);
    if (format.isFilm)
        options.insert(Kind::videoQuality);
    return options;
}

/// Sound never becomes a film; from a film, its sound can be taken.
bool isEdge(const MediaFormat& source, const MediaFormat& target)
{
    return source.id != target.id && target.isWritten && (source.isFilm || !target.isFilm);
}

std::vector<EngineCapability> edges(const FormatRegistry& registry)
{
    std::vector<EngineCapability> edges;
    // There is a way from every source to every target, so that a detour could only hide what is lost on it: a route
    // goes on behind a GIF alone.
    const auto add = [&](const MediaFormat& source, std::string_view target, ConversionLoss losses,
                         ConversionOptionKinds options) {
        const FileFormat* from = registry.format(FormatID{source.id});
        const FileFormat* to = registry.format(FormatID{target});
        if (from && to)
            edges.push_back({.source = from->id,
                             .target = to->id,
                             .potentialLosses = losses,
                             .options = std::move(options),
                             .reportsProgress = true,
                             .isTerminal = target != "gif"});
    };
    for (const MediaFormat& source : mediaFormats()) {
        for (const MediaFormat& target : mediaFormats())
            if (isEdge(source, target))
                add(source, target.id, potentialMediaLosses(source, target), optionsOf(FormatID{target.id}, target));
        if (source.isFilm)
            add(source, "gif", potentialLossesOfGif, {Kind::dimensions});
    }
    return edges;
}

} // namespace

MediaEngine::MediaEngine(const FormatRegistry& registry, std::shared_ptr<WorkerPool> pool)
    : WorkerEngine{
          {"native-media", "Audio et vidéo macOS (AVFoundation)"_fr, "media"}, std::move(pool), edges(registry)}
{
}

ConversionLoss MediaEngine::expectedLosses(const FileFormat& source, const SourceProperties& properties,
                                           const FileFormat& target, const ConversionOptions& options) const
{
    const MediaFormat* from = mediaFormat(source.id.rawValue);
    if (from && target.id == "gif")
        return lossesOfGif(properties, options);
    const MediaFormat* to = mediaFormat(target.id.rawValue);
    return from && to ? mediaLosses(*from, properties, *to, options) : ConversionLoss{};
}

std::vector<FormatID> MediaEngine::measuredFormats(const FormatRegistry& registry)
{
    std::vector<FormatID> measured;
    for (const MediaFormat& format : mediaFormats())
        if (registry.format(FormatID{format.id}))
            measured.push_back(FormatID{format.id});
    return measured;
}

} // namespace nivex
