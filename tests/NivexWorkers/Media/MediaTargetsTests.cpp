#include "NivexWorkers/Media/MediaTargets.hpp"
#include "NivexWorkers/Media/Tags.hpp"

#include "NivexKit/Engines/Media/MediaFormats.hpp"

namespace nivex::media {
namespace {

/// An edge whose target has no row, or whose encoder or container this machine lacks, would fail for every file.
TEST(MediaTargets, everyFormatThatIsOfferedCanBeWritten)
{
    for (const MediaFormat& format : mediaFormats()) {
        SCOPED_TRACE(format.id);
        const MediaTarget* target = mediaTarget(format.id);
        ASSERT_EQ(target != nullptr, format.isWritten);
        if (!target)
            continue;
        EXPECT_EQ(target->pictureEncoder != nullptr, format.isFilm);
        const AVOutputFormat* container = av_guess_format(target->muxer, nullptr, nullptr);
        ASSERT_NE(container, nullptr);
        for (const char* encoder : {target->soundEncoder, target->pictureEncoder})
            EXPECT_TRUE(!encoder || avcodec_find_encoder_by_name(encoder)) << encoder;
        for (const std::string_view name : format.copied) {
            const AVCodecDescriptor* codec = avcodec_descriptor_get_by_name(name == "pcm" ? "pcm_s16le" : name.data());
            ASSERT_NE(codec, nullptr) << name;
            EXPECT_NE(avformat_query_codec(container, codec->id, FF_COMPLIANCE_NORMAL), 0) << name;
        }
    }
}

TEST(Tags, areKeptAsThePolicySays)
{
    AVDictionary* from = nullptr;
    for (const auto& [key, value] : {std::pair{"title", "Été"},
                                     {"location", "+48.8+2.3/"},
                                     {"language", "fra"},
                                     {"com.apple.quicktime.location.ISO6709", "+48/"},
                                     {"major_brand", "isom"}})
        av_dict_set(&from, key, value, 0);
    const auto kept = [&](MetadataPolicy policy) {
        AVDictionary* to = nullptr;
        copyTags(from, to, policy);
        std::string keys;
        const AVDictionaryEntry* tag = nullptr;
        while ((tag = av_dict_get(to, "", tag, AV_DICT_IGNORE_SUFFIX)))
            keys += tag->key + std::string{" "};
        EXPECT_EQ(namesPlace(to), policy == MetadataPolicy::keep);
        av_dict_free(&to);
        return keys;
    };
    EXPECT_EQ(kept(MetadataPolicy::keep), "title location language com.apple.quicktime.location.ISO6709 ");
    EXPECT_EQ(kept(MetadataPolicy::removeLocation), "title language ");
    EXPECT_EQ(kept(MetadataPolicy::removeAll), "language ");
    av_dict_free(&from);
}

} // namespace
} // namespace nivex::media
