#include "NivexKit/Engines/Subtitle/Subtitles.hpp"

#include <cstddef>
#include <cstdint>
#include <cstdlib>

using namespace nivex;

namespace {

void require(bool holds)
{
    if (!holds)
        std::abort();
}

/// No cue of a written file swallows, splits or hides another: all together read back as each does alone. (A SubRip
/// text that is nothing but a font tag shows nothing, alone or not.)
template <class Write, class Parse>
void requireSeparateCues(const std::vector<SubtitleCue>& cues, Write write, Parse parse)
{
    std::size_t alone = 0;
    for (const SubtitleCue& cue : cues) {
        const std::size_t read = parse(write(std::span{&cue, 1})).size();
        require(read <= 1);
        alone += read;
    }
    require(parse(write(cues)).size() == alone);
}

} // namespace

/// What any reader makes of the bytes can be written and read back.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string_view text{reinterpret_cast<const char*>(data), size};
    for (const auto read : {Subtitles::parseSRT, Subtitles::parseVTT, Subtitles::parseSubStation}) {
        const std::vector<SubtitleCue> cues = read(text);
        requireSeparateCues(cues, Subtitles::writeSRT, Subtitles::parseSRT);
        requireSeparateCues(cues, Subtitles::writeVTT, Subtitles::parseVTT);
        Subtitles::transcript(cues);
    }
    return 0;
}
