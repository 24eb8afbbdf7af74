#pragma once

#include "NivexKit/Engines/Subtitle/SubtitleCue.hpp"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// Readers and writers of subtitle texts: pure functions over UTF-8, in time linear in the text. What is not
/// understood is skipped, never an error: a text without any valid cue yields none.
namespace nivex::Subtitles {

/// Called every few thousand cues with the fraction of the text read, 0…1. It may throw to stop the work.
using Pulse = std::function<void(double)>;

/// The text cut at blank lines (empty, or of spaces and tabs alone), each block trimmed of white space, empty blocks
/// left out. Line endings become line feeds.
std::vector<std::string> blocks(std::string_view text);

/// Takes one cue after the other. It may move from the cue; it may throw to stop the reading.
using CueSink = std::function<void(SubtitleCue&)>;

/// Hands out the cues of a text in its order. A cue that shows nothing is left out. A line of spaces or tabs inside a
/// cue belongs to its text unless a cue, a section or the end follows.
///
/// returns  how many lines with words are part of no cue: their timing is wrong or absent, or an empty line cuts them
/// off
std::size_t readSRT(std::string_view text, const CueSink& sink, const Pulse& pulse = {});
std::size_t readVTT(std::string_view text, const CueSink& sink, const Pulse& pulse = {});
/// Reads both generations of SubStation scripts ("ass" and "ssa").
std::size_t readSubStation(std::string_view text, const CueSink& sink, const Pulse& pulse = {});

/// How many cues the first two functions above hand out, found without making them.
std::size_t countSRT(std::string_view text, const Pulse& pulse = {});
std::size_t countVTT(std::string_view text, const Pulse& pulse = {});

/// All the cues that the functions above hand out.
std::vector<SubtitleCue> parseSRT(std::string_view text);
std::vector<SubtitleCue> parseVTT(std::string_view text);
std::vector<SubtitleCue> parseSubStation(std::string_view text);

/// Start and end, in milliseconds, of a line such as "00:00:01,000 --> 00:00:02,500 line:0"; none when it is no timing.
std::optional<std::pair<std::int64_t, std::int64_t>> parseTiming(std::string_view line);

/// Milliseconds of "01:02:03,004", "02:03.004" or "0:00:03.04"; a fraction is decimal, so two digits are hundredths.
/// A leading minus makes the whole time negative. None when it is no clock.
std::optional<std::int64_t> parseClock(std::string_view clock);

/// A WebVTT cue text without tags other than the simple ones, its escapes resolved.
std::string cleanVTT(std::string_view text);

/// Appends a cue to a file that holds `index` cues so far, with the file's header before the first. A blank line inside
/// a text is written as a line holding a no-break space, since a blank line would end the cue.
void appendSRT(std::string& file, std::size_t index, const SubtitleCue& cue);
void appendVTT(std::string& file, std::size_t index, const SubtitleCue& cue);
/// The text alone, without tags, beginning on a line of its own.
void appendTranscript(std::string& file, std::size_t index, const SubtitleCue& cue);

/// Whole files of the functions above.
std::string writeSRT(std::span<const SubtitleCue> cues);
std::string writeVTT(std::span<const SubtitleCue> cues);
std::string transcript(std::span<const SubtitleCue> cues);

/// "01:02:03,004" for 3 723 004 and ','. Negative times are shown as 0.
std::string clock(std::int64_t milliseconds, char separator);

} // namespace nivex::Subtitles
