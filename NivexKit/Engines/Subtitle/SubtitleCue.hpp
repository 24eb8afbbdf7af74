#pragma once

#include <cstdint>
#include <string>

namespace nivex {

/// One subtitle, whatever format it came from.
struct SubtitleCue {
    std::int64_t start = 0; // milliseconds from the start of the media; negative before it
    std::int64_t end = 0;   // milliseconds; not necessarily after `start`
    std::string text;       // lines separated by a line feed; of tags only <i>, <b>, <u> and their closings

    bool operator==(const SubtitleCue&) const = default;
};

} // namespace nivex
