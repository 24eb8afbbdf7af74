#include "NivexKit/Engines/Subtitle/SubtitleText.hpp"
#include "NivexKit/Engines/Subtitle/Subtitles.hpp"
#include "NivexKit/Foundation/Text/Ascii.hpp"

#include <array>

namespace nivex::Subtitles {
namespace {

constexpr std::string_view noBreakSpace = "\u00A0";
constexpr std::string_view vttHeader = "WEBVTT\n\n";

/// Appends one line of a text in the spelling of its format.
using LineWriter = void (*)(std::string& output, std::string_view line);

/// Where a reader of SubRip would take a text for something else: a font tag, a position or the timing of a new cue.
/// The format has no escapes.
std::size_t mistakableAt(std::string_view line)
{
    if (const std::size_t at = line.find(arrow); at != std::string_view::npos && parseTiming(line))
        return at + arrow.size() - 1;
    for (std::size_t at = line.find_first_of("<{"); at != std::string_view::npos;
         at = line.find_first_of("<{", at + 1)) {
        const std::string_view rest = line.substr(at + 1);
        if (startsIgnoringCase(rest, "font") || startsIgnoringCase(rest, "/font") || rest.starts_with("\\a"))
            return at + 1;
    }
    return std::string_view::npos;
}

/// Puts a space without width where a reader must not see what it looks for.
void appendSRTLine(std::string& output, std::string_view line)
{
    constexpr std::string_view separator = "\u200B";
    for (std::size_t at = mistakableAt(line); at != std::string_view::npos; at = mistakableAt(line)) {
        output.append(line.substr(0, at)).append(separator);
        line.remove_prefix(at);
    }
    output += line;
}

/// By byte: true for the few that the writer of WebVTT has to look at.
constexpr auto mayNeedEscape = [] {
    std::array<bool, 256> table{};
    for (const char each : {'&', '<', '>'})
        table[static_cast<unsigned char>(each)] = true;
    return table;
}();

/// Escapes what WebVTT would take for markup. "-->" inside a text would start a new cue there, so its end is escaped.
void appendVTTLine(std::string& output, std::string_view line)
{
    std::size_t written = 0;
    const auto replace = [&](std::size_t at, std::string_view escape) {
        output.append(line.substr(written, at - written)).append(escape);
        written = at + 1;
    };
    for (std::size_t at = 0; at < line.size(); ++at) {
        const char each = line[at];
        if (!mayNeedEscape[static_cast<unsigned char>(each)])
            continue;
        if (each == '&')
            replace(at, "&amp;");
        else if (each == '<' && simpleTagLength(line.substr(at)) == 0)
            replace(at, "&lt;");
        else if (each == '>' && line.substr(0, at).ends_with("--"))
            replace(at, "&gt;");
    }
    output.append(line.substr(written));
}

/// Calls `visit(line, isLast)` for each line of a text; an empty text is one empty line.
template <class Visitor>
void forEachTextLine(std::string_view text, Visitor visit)
{
    for (std::size_t begin = 0;;) {
        const std::size_t end = text.find('\n', begin);
        visit(text.substr(begin, end - begin), end == std::string_view::npos);
        if (end == std::string_view::npos)
            return;
        begin = end + 1;
    }
}

void appendText(std::string& output, std::string_view text, LineWriter appendLine)
{
    forEachTextLine(text, [&](std::string_view line, bool isLast) {
        if (isBlank(line) && !text.empty())
            output += noBreakSpace;
        else
            appendLine(output, line);
        if (!isLast)
            output += '\n';
    });
}

void appendTiming(std::string& output, const SubtitleCue& cue, char separator)
{
    output.append(clock(cue.start, separator)).append(" --> ").append(clock(cue.end, separator)).append("\n");
}

using CueWriter = void (*)(std::string& file, std::size_t index, const SubtitleCue& cue);

std::string fileOf(std::span<const SubtitleCue> cues, CueWriter append)
{
    std::string file;
    for (std::size_t index = 0; index < cues.size(); ++index)
        append(file, index, cues[index]);
    return file;
}

/// Appends a text without what stands between "<" and the next ">".
void appendUntagged(std::string& output, std::string_view text)
{
    std::size_t written = 0;
    for (std::size_t open = text.find('<'); open != std::string_view::npos; open = text.find('<', open)) {
        const std::size_t close = text.find('>', open);
        if (close == std::string_view::npos)
            break;
        if (close > open + 1) {
            output.append(text.substr(written, open - written));
            written = close + 1;
        }
        open = close + 1;
    }
    output.append(text.substr(written));
}

} // namespace

void appendSRT(std::string& file, std::size_t index, const SubtitleCue& cue)
{
    if (index > 0)
        file += '\n';
    file.append(std::to_string(index + 1)).append("\n");
    appendTiming(file, cue, ',');
    appendText(file, cue.text, appendSRTLine);
    file += '\n';
}

void appendVTT(std::string& file, std::size_t index, const SubtitleCue& cue)
{
    file += index == 0 ? vttHeader : "\n";
    appendTiming(file, cue, '.');
    appendText(file, cue.text, appendVTTLine);
    file += '\n';
}

void appendTranscript(std::string& file, std::size_t, const SubtitleCue& cue)
{
    appendUntagged(file, cue.text);
    file += '\n';
}

std::string writeSRT(std::span<const SubtitleCue> cues) { return fileOf(cues, appendSRT); }
std::string writeVTT(std::span<const SubtitleCue> cues)
{
    return cues.empty() ? std::string{vttHeader} : fileOf(cues, appendVTT);
}
std::string transcript(std::span<const SubtitleCue> cues) { return fileOf(cues, appendTranscript); }

} // namespace nivex::Subtitles
