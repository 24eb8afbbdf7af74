#include "NivexKit/Engines/Subtitle/Subtitles.hpp"

#include <cstddef>
#include <cstdint>
#include <cstdlib>

using namespace nivex;

/// What any reader makes of the bytes is written so that every cue is read back.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string_view text{reinterpret_cast<const char*>(data), size};
    for (const auto read : {Subtitles::parseSRT, Subtitles::parseVTT, Subtitles::parseSubStation}) {
        const auto cues = read(text);
        if (Subtitles::parseSRT(Subtitles::writeSRT(cues)).size() != cues.size() ||
            Subtitles::parseVTT(Subtitles::writeVTT(cues)).size() != cues.size())
            std::abort();
        Subtitles::transcript(cues);
    }
    return 0;
}
