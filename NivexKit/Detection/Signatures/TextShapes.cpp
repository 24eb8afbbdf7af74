#include "NivexKit/Detection/Signatures/TextShapes.hpp"

#include "NivexKit/Detection/Signatures/TextHead.hpp"
#include "NivexKit/Foundation/Text/Words.hpp"

#include <algorithm>
#include <array>

namespace nivex::shapes {
namespace {

constexpr auto npos = std::string_view::npos;

/// Takes `least` to `most` digits off the beginning of `text`; false when there are fewer or more.
bool takeDigits(std::string_view& text, std::size_t least, std::size_t most)
{
    std::size_t count = 0;
    while (count < text.size() && isAsciiDigit(text[count]))
        ++count;
    if (count < least || count > most)
        return false;
    text.remove_prefix(count);
    return true;
}

bool takeOneOf(std::string_view& text, std::string_view letters)
{
    if (text.empty() || letters.find(text.front()) == npos)
        return false;
    text.remove_prefix(1);
    return true;
}

/// "1:02:03,450", the last part after any of `separators`.
bool takeTime(std::string_view& text, std::string_view separators)
{
    return takeDigits(text, 1, 3) && takeOneOf(text, ":") && takeDigits(text, 2, 2) && takeOneOf(text, ":") &&
           takeDigits(text, 2, 2) && takeOneOf(text, separators) && takeDigits(text, 1, 3);
}

bool isSubRipTiming(std::string_view line)
{
    line = leftTrimmed(line);
    if (!takeTime(line, ",."))
        return false;
    line = leftTrimmed(line);
    if (!line.starts_with("-->"))
        return false;
    line = leftTrimmed(line.substr(3));
    return takeTime(line, ",.");
}

bool isNumber(std::string_view word)
{
    bool anyDigit = false;
    for (const char each : word) {
        anyDigit = anyDigit || isAsciiDigit(each);
        if (!isAsciiDigit(each) && std::string_view{"+-.eE"}.find(each) == npos)
            return false;
    }
    return anyDigit;
}

std::string_view takeToken(std::string_view& text)
{
    text = leftTrimmed(text);
    const std::string_view word = text.substr(0, text.find_first_of(" \t"));
    text.remove_prefix(word.size());
    return word;
}

/// The name of a mail header field at the beginning of a line; empty when there is none.
std::string_view fieldName(std::string_view line)
{
    const std::size_t colon = line.find(':');
    if (colon == npos || colon == 0 || colon > 40)
        return {};
    const std::string_view name = line.substr(0, colon);
    const auto isNamePart = [](char each) { return isAsciiLetter(each) || isAsciiDigit(each) || each == '-'; };
    return std::ranges::all_of(name, isNamePart) ? name : std::string_view{};
}

/// True for "From sender Fri Jul  8 12:08:34 2011", as only mailboxes have it.
bool isDatedEnvelope(std::string_view line)
{
    constexpr std::string_view days = "Mon Tue Wed Thu Fri Sat Sun";
    constexpr std::string_view months = "Jan Feb Mar Apr May Jun Jul Aug Sep Oct Nov Dec";
    takeToken(line); // "From"
    for (std::string_view word = takeToken(line); !word.empty(); word = takeToken(line)) {
        std::string_view rest = line;
        if (!hasWord(days, word) || !hasWord(months, takeToken(rest)))
            continue;
        std::string_view day = takeToken(rest);
        std::string_view time = takeToken(rest);
        return takeDigits(day, 1, 2) && takeDigits(time, 2, 2) && takeOneOf(time, ":") && takeDigits(time, 2, 2);
    }
    return false;
}

} // namespace

bool isWebVtt(std::string_view text)
{
    constexpr std::string_view mark = "WEBVTT";
    return text.starts_with(mark) && (text.size() == mark.size() || std::string_view{" \t\r\n"}.find(text[6]) != npos);
}

bool isSubStation(std::string_view text)
{
    Lines lines{text};
    for (std::string_view line; lines.nextFilled(line);) {
        if (startsIgnoringCase(line, "[Script Info]"))
            return true;
        if (!line.starts_with(';') && !line.starts_with('!')) // comments may come before
            return false;
    }
    return false;
}

std::string_view subStationFormats(std::string_view text)
{
    const bool isOld = text.find("[V4 Styles]") != npos && text.find("[V4+ Styles]") == npos;
    return isOld ? "ssa ass" : "ass ssa";
}

bool isIfc(std::string_view text)
{
    const std::size_t schema = text.find("FILE_SCHEMA");
    return schema != npos && text.substr(schema, 40).find("'IFC") != npos;
}

bool isAsciiStl(std::string_view text)
{
    Lines lines{text};
    std::string_view line;
    if (!lines.next(line) || openingWord(line) != "solid" || !lines.nextFilled(line))
        return false;
    const std::string_view word = openingWord(leftTrimmed(line));
    return word == "facet" || word == "endsolid";
}

bool isAsciiPly(std::string_view text)
{
    return (text.starts_with("ply\n") || text.starts_with("ply\r\n")) && text.find("\nformat ascii") != npos;
}

bool isMbox(std::string_view text)
{
    Lines lines{text};
    std::string_view envelope;
    std::string_view line;
    if (!lines.next(envelope) || !envelope.starts_with("From ") || !lines.next(line))
        return false;
    if (isDatedEnvelope(envelope))
        return line.empty() || !fieldName(line).empty();
    // "From here on:" opens letters too, so the header of a mail has to follow.
    return !fieldName(line).empty() && looksLikeEmail(text.substr(envelope.size() + 1));
}

bool isTex(std::string_view text)
{
    // Programs quote such documents, but only a document begins with a command or a comment of the language.
    if (!text.starts_with('\\') && !text.starts_with('%'))
        return false;
    Lines lines{text};
    for (std::string_view line; lines.nextFilled(line);) {
        line = leftTrimmed(line);
        if (line.starts_with("\\documentclass") || line.starts_with("\\begin{document}") ||
            line.starts_with("\\documentstyle"))
            return true;
    }
    return false;
}

bool looksLikeSRT(std::string_view text)
{
    if (text.empty() || !isAsciiDigit(text.front()))
        return false;
    Lines lines{text};
    std::string_view line;
    lines.next(line);
    if (isSubRipTiming(line)) // cues without numbers occur
        return true;
    std::string_view number = line;
    return takeDigits(number, 1, 9) && leftTrimmed(number).empty() && lines.nextFilled(line) && isSubRipTiming(line);
}

bool looksLikeLRC(std::string_view text)
{
    if (!text.starts_with('['))
        return false;
    std::size_t timed = 0;
    std::size_t fractions = 0;
    std::size_t described = 0;
    std::size_t others = 0;
    Lines lines{text};
    for (std::string_view line; lines.nextFilled(line);) {
        line = leftTrimmed(line);
        if (!line.starts_with('[')) {
            ++others;
            continue;
        }
        line.remove_prefix(1);
        constexpr std::array descriptions = {"ar:", "ti:", "al:", "by:", "au:", "re:", "ve:", "offset:", "length:"};
        if (std::ranges::any_of(descriptions, [line](const char* each) { return line.starts_with(each); })) {
            ++described;
        } else if (takeDigits(line, 1, 3) && takeOneOf(line, ":") && takeDigits(line, 2, 2)) {
            ++timed;
            fractions += line.starts_with('.');
        } else {
            ++others;
        }
    }
    // Chat logs stamp their lines with minutes and seconds too, but with no hundredths.
    return timed > 0 && timed + described >= 2 && fractions + described > 0 && timed + described > others;
}

bool looksLikeSubtitleFrames(std::string_view text)
{
    Lines lines{text};
    std::string_view line;
    if (!lines.next(line))
        return false;
    if (line == "[INFORMATION]")
        return true;
    const auto isFramed = [](std::string_view cue) {
        return takeOneOf(cue, "{") && takeDigits(cue, 1, 9) && takeOneOf(cue, "}") && takeOneOf(cue, "{") &&
               takeDigits(cue, 0, 9) && takeOneOf(cue, "}");
    };
    if (isFramed(line))
        return true;
    return takeTime(line, ".,") && takeOneOf(line, ",") && takeTime(line, ".,");
}

bool looksLikeEmail(std::string_view text)
{
    constexpr std::array known = {"From",
                                  "To",
                                  "Cc",
                                  "Subject",
                                  "Date",
                                  "Received",
                                  "Message-ID",
                                  "MIME-Version",
                                  "Return-Path",
                                  "Delivered-To",
                                  "Content-Type",
                                  "Reply-To",
                                  "Sender",
                                  "Content-Transfer-Encoding",
                                  "DKIM-Signature",
                                  "X-Mailer",
                                  "Envelope-To",
                                  "Status",
                                  "X-Received",
                                  "ARC-Seal",
                                  "Thread-Topic",
                                  "Received-SPF"};
    constexpr std::size_t enough = 3;
    std::array<bool, known.size()> seen{};
    bool anyMachineMark = false; // what a person writing "From: … To: …" in a memo leaves out
    Lines lines{text};
    for (std::string_view line; lines.next(line) && !line.empty();) {
        if (line.front() == ' ' || line.front() == '\t')
            continue;
        const std::string_view name = fieldName(line);
        if (name.empty())
            return false;
        const auto* row = std::ranges::find_if(known, [name](std::string_view each) {
            return each.size() == name.size() && startsIgnoringCase(name, each);
        });
        if (row == known.end())
            continue;
        seen[static_cast<std::size_t>(row - known.begin())] = true;
        anyMachineMark = anyMachineMark || name.find('-') != npos || name == "Received" || line.find('@') != npos;
    }
    return anyMachineMark && static_cast<std::size_t>(std::ranges::count(seen, true)) >= enough;
}

bool looksLikeDxf(std::string_view text)
{
    constexpr std::string_view comment = "999";
    Lines lines{text};
    std::string_view code;
    std::string_view value;
    while (lines.next(code) && lines.next(value))
        if (bothTrimmed(code) != comment)
            return bothTrimmed(code) == "0" && bothTrimmed(value) == "SECTION";
    return false;
}

bool looksLikeIges(std::string_view text)
{
    constexpr std::size_t sectionColumn = 72;
    Lines lines{text};
    std::string_view line;
    if (!lines.next(line) || line.size() < sectionColumn + 2 || line.size() > 80 || line[sectionColumn] != 'S')
        return false;
    const std::string_view number = bothTrimmed(line.substr(sectionColumn + 1));
    return number.find_first_not_of('0') == number.size() - 1 && number.ends_with('1');
}

bool looksLikeObj(std::string_view text)
{
    constexpr std::array statements = {"v", "vn", "vt", "vp", "f", "l", "p", "o", "g", "s", "usemtl", "mtllib"};
    std::size_t vertices = 0;
    bool namesMaterials = false;
    Lines lines{text};
    for (std::string_view line; lines.nextFilled(line) && !lines.wasCut();) {
        const std::string_view word = takeToken(line);
        if (word.starts_with('#'))
            continue;
        if (std::ranges::find(statements, word) == statements.end())
            return false;
        namesMaterials = namesMaterials || word == "mtllib";
        if (word != "v")
            continue;
        for (int coordinate = 0; coordinate < 3; ++coordinate)
            if (!isNumber(takeToken(line)))
                return false;
        ++vertices;
    }
    return vertices >= (namesMaterials ? 1 : 2);
}

} // namespace nivex::shapes
