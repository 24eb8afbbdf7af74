#include "NivexWorkers/Media/MediaInput.hpp"

#include "NivexKit/Foundation/ConversionError.hpp"
#include "tests/Support/TemporaryFolder.hpp"

namespace nivex::media {
namespace {

ConversionError::Kind failureOf(const std::filesystem::path& file, std::string_view format)
{
    try {
        MediaInput::open(file, format);
    } catch (const ConversionError& error) {
        return error.kind();
    }
    return ConversionError::Kind::cancelled;
}

/// Each of these would make the library read another file, or guess another container, under the name of a sound one.
TEST(MediaInput, readsNoOtherContainerThanItsFormats)
{
    testing::TemporaryFolder folder;
    const auto other = folder.write("other.wav", "RIFF");
    const std::string play = "ffconcat version 1.0\nfile '" + other.string() + "'\n";
    const std::string list = "#EXTM3U\n#EXT-X-TARGETDURATION:10\n#EXTINF:10,\n" + other.string() + "\n#EXT-X-ENDLIST\n";
    for (const char* format : {"wav", "mp3", "mp4", "mkv", "avi", "mpeg-ts", "flac", "ogg", "wma", "flv", "mpeg"})
        for (const std::string& text : {play, list}) {
            const auto file = folder.write("evil", text);
            EXPECT_EQ(failureOf(file, format), ConversionError::Kind::unreadableSource) << format;
        }
}

TEST(MediaInput, saysWhatItCannotOpen)
{
    testing::TemporaryFolder folder;
    EXPECT_EQ(failureOf(folder.path() / "missing", "wav"), ConversionError::Kind::unreadableSource);
    EXPECT_EQ(failureOf(folder.write("empty", ""), "mp3"), ConversionError::Kind::unreadableSource);
    EXPECT_EQ(failureOf(folder.write("note", "MThd"), "midi"), ConversionError::Kind::unsupported);
}

} // namespace
} // namespace nivex::media
