#include "NivexKit/Engines/Media/MediaEngine.hpp"
#include "NivexKit/Engines/Media/MediaFormats.hpp"

namespace nivex {
namespace {

using Loss = ConversionLoss;

const FormatRegistry& registry() { return FormatRegistry::standard(); }

const FileFormat& format(std::string_view id) { return *registry().format(FormatID{id}); }

MediaEngine engine() { return MediaEngine{registry(), std::make_shared<WorkerPool>(WorkerPool::Settings{})}; }

SourceProperties film(const char* codec, std::int64_t width = 1'280, std::int64_t height = 720)
{
    return {.pixelWidth = width,
            .pixelHeight = height,
            .durationSeconds = 5.0,
            .hasVideoTrack = true,
            .hasAudioTrack = true,
            .audioChannelCount = 2,
            .videoCodec = codec};
}

SourceProperties sound(std::int64_t channels)
{
    return {.hasVideoTrack = false, .hasAudioTrack = true, .audioChannelCount = channels};
}

TEST(MediaEngine, announcesWhatThisFileLoses)
{
    const ConversionOptions none;
    const ConversionOptions smaller{.videoQuality = VideoQuality::p480};
    const ConversionOptions hevc{.videoCodec = VideoCodec::hevc};
    const ConversionOptions proRes{.videoCodec = VideoCodec::prores4444};
    const ConversionOptions limit{.maxFileBytes = 1'000'000};
    const ConversionOptions rate{.audioBitRate = 64'000};
    SourceProperties seeThrough = film("prores");
    seeThrough.hasAlpha = true;
    SourceProperties silent = film("h264");
    silent.hasAudioTrack = false;

    struct LossCase {
        const char* source;
        SourceProperties properties;
        const char* target;
        ConversionOptions options;
        Loss expected;
    };
    const LossCase cases[] = {
        {"wav", sound(2), "flac", none, {}},
        {"wav", sound(2), "m4a", none, Loss::compression},
        {"aac", sound(2), "m4a", none, {}},
        {"aac", sound(2), "m4a", rate, Loss::compression},
        {"flac", sound(6), "m4a", none, Loss::compression},
        {"flac", sound(7), "m4a", none, Loss::compression | Loss::channels},
        {"flac", sound(3), "mp3", none, Loss::compression | Loss::channels},
        {"mp3", sound(2), "wav", none, {}},
        {"mp4", film("h264"), "m4a", none, Loss::videoTrack},
        {"mp4", film("h264"), "mp3", none, Loss::videoTrack | Loss::compression},
        {"mkv", film("h264"), "mp4", none, {}},
        {"mkv", film("hevc"), "mp4", none, {}},
        {"mkv", film("vp9"), "mp4", none, Loss::compression},
        {"avi", film("h264"), "mp4", none, Loss::compression},
        {"webm", silent, "mp4", none, {}},
        {"mov", film("h264"), "mp4", smaller, Loss::compression | Loss::resolution},
        {"mov", film("h264", 480, 854), "mp4", smaller, {}},
        {"mov", film("h264"), "mp4", hevc, Loss::compression},
        {"mov", film("h264"), "mp4", limit, Loss::compression | Loss::resolution},
        {"mov", seeThrough, "mp4", none, Loss::compression | Loss::transparency},
        {"webm", seeThrough, "mov", proRes, Loss::compression},
        {"mp4", film("h264"), "gif", none, Loss::colorPalette | Loss::audioTrack | Loss::resolution},
        {"mp4", film("h264", 480, 270), "gif", none, Loss::colorPalette | Loss::audioTrack},
        {"mp4", {}, "gif", none, Loss::colorPalette | Loss::audioTrack | Loss::resolution | Loss::duration},
    };
    const MediaEngine media = engine();
    for (const LossCase& each : cases) {
        SCOPED_TRACE(std::string{each.source} + " to " + each.target);
        EXPECT_EQ(
            media.expectedLosses(format(each.source), each.properties, format(each.target), each.options).rawValue(),
            each.expected.rawValue());
    }
}

TEST(MediaEngine, noEdgeLosesMoreThanItMay)
{
    const MediaEngine media = engine();
    for (const EngineCapability& edge : media.capabilities()) {
        SCOPED_TRACE(edge.source.rawValue + " to " + edge.target.rawValue);
        EXPECT_NE(edge.source, edge.target);
        const FileFormat& source = format(edge.source.rawValue);
        const FileFormat& target = format(edge.target.rawValue);
        EXPECT_FALSE(source.family == FormatFamily::audio && target.family == FormatFamily::video);
        for (const SourceProperties& properties : {SourceProperties{}, film("vp9"), sound(9)})
            for (const ConversionOptions& options : {ConversionOptions{}, ConversionOptions{.audioBitRate = 64'000}}) {
                const Loss losses = media.expectedLosses(source, properties, target, options);
                EXPECT_EQ((losses | edge.potentialLosses).rawValue(), edge.potentialLosses.rawValue());
            }
    }
}

TEST(MediaEngine, offersTheSettingsThatItsTargetsTake)
{
    using Kind = ConversionOptionKind;
    const MediaEngine media = engine();
    for (const EngineCapability& edge : media.capabilities()) {
        EXPECT_EQ(edge.options.contains(Kind::audioQuality), edge.target == "m4a") << edge.target.rawValue;
        EXPECT_EQ(edge.options.contains(Kind::videoQuality),
                  format(edge.target.rawValue).family == FormatFamily::video);
    }
    EngineRequest request{.sourceFormat = format("wav"), .targetFormat = format("mp3")};
    EXPECT_EQ(media.timeout(request), request.limits.mediaStepTimeout);
}

} // namespace
} // namespace nivex
