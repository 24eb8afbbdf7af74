#include "NivexKit/Engines/Subtitle/SubtitleText.hpp"
#include "NivexKit/Engines/Subtitle/Subtitles.hpp"
#include "NivexKit/Foundation/Text/Ascii.hpp"
#include "NivexKit/Foundation/Text/Unicode.hpp"

#include <algorithm>
#include <tuple>

namespace nivex::Subtitles {
namespace {

constexpr std::size_t none = std::string_view::npos;

/// True where each line feed follows two carriage returns: a program took the first of them for a part of the text when
/// it added its own.
bool endsLinesTwice(std::string_view text)
{
    std::size_t end = text.find('\n');
    if (end == none)
        return false;
    for (; end != none; end = text.find('\n', end + 1))
        if (!text.substr(0, end).ends_with("\r\r"))
            return false;
    return true;
}

/// A text whose lines end in line feeds alone. It refers to the text given, which is copied only if it has others.
class NormalizedText {
public:
    explicit NormalizedText(std::string_view text) : view_{text}
    {
        std::size_t carriageReturn = text.find('\r');
        if (carriageReturn == none)
            return;
        const std::string_view longEnd = endsLinesTwice(text) ? "\r\r\n" : "\r\n";
        copy_.reserve(text.size());
        std::size_t begin = 0;
        for (; carriageReturn != none; carriageReturn = text.find('\r', begin)) {
            copy_.append(text.substr(begin, carriageReturn - begin)).append("\n");
            begin = carriageReturn + (text.substr(carriageReturn).starts_with(longEnd) ? longEnd.size() : 1);
        }
        copy_.append(text.substr(begin));
        view_ = copy_;
    }
    NormalizedText(const NormalizedText&) = delete;
    NormalizedText& operator=(const NormalizedText&) = delete;

    std::string_view view() const { return view_; }

private:
    std::string copy_;
    std::string_view view_;
};

/// Hands out the lines of a text that ends its lines in line feeds.
class LineScanner {
public:
    explicit LineScanner(std::string_view text) : text_{text} {}

    bool atEnd() const { return position_ >= text_.size(); }
    std::size_t position() const { return position_; }
    double fraction() const { return static_cast<double>(position_) / static_cast<double>(text_.size()); }

    void moveTo(std::size_t position) { position_ = position; }

    /// The next line, without its line feed.
    std::string_view next()
    {
        const std::size_t end = std::min(text_.find('\n', position_), text_.size());
        const std::string_view line = text_.substr(position_, end - position_);
        position_ = end + 1;
        return line;
    }

private:
    std::string_view text_;
    std::size_t position_ = 0;
};

/// Where a block goes on behind a line of spaces or tabs that ends just before `position`; none when it ends there.
using Continuation = std::optional<std::size_t> (*)(std::string_view text, std::size_t position);

/// Calls `visit(block)` for each block of a text with normalised line endings, and the pulse now and then.
template <class Visitor>
void forEachBlock(std::string_view text, const Pulse& pulse, Continuation continues, Visitor visit)
{
    LineScanner lines{text};
    for (std::size_t count = 0; !lines.atEnd(); ++count) {
        if (pulse && count % cuesPerPulse == 0)
            pulse(lines.fraction());
        const std::size_t begin = lines.position();
        std::size_t end = begin;
        for (bool inBlock = true; inBlock && !lines.atEnd();) {
            const std::string_view line = lines.next();
            inBlock = !isBlank(line);
            if (!inBlock && !line.empty() && continues != nullptr && end > begin)
                if (const auto next = continues(text, lines.position())) {
                    lines.moveTo(*next);
                    inBlock = true;
                }
            if (inBlock)
                end = std::min(lines.position(), text.size());
        }
        if (const std::string_view block = trimmed(text.substr(begin, end - begin)); !block.empty())
            visit(block);
    }
}

/// What is particular to a format of blocks.
struct BlockFormat {
    bool (*skips)(std::string_view block); // no cue, and nothing of one
    bool (*isName)(std::string_view line); // may stand right above the timing of a cue
    Continuation continues;
    std::string_view marks; // the characters that begin what is cleaned away
    void (*appendClean)(std::string& shown, std::string_view text);
};

/// `text` without the blank lines that it begins with.
std::string_view withoutBlankLines(std::string_view text)
{
    for (std::size_t end = text.find('\n'); end != none && isBlank(text.substr(0, end)); end = text.find('\n'))
        text.remove_prefix(end + 1);
    return text;
}

/// True for a line that says something: a counter or a clock alone does not.
bool hasWords(std::string_view line)
{
    constexpr std::string_view wordless = "0123456789:.,-> \t";
    return !trimmed(line).empty() && line.find_first_not_of(wordless) != none;
}

std::size_t linesWithWords(std::string_view text)
{
    std::size_t count = 0;
    for (LineScanner lines{text}; !lines.atEnd();)
        if (hasWords(lines.next()))
            ++count;
    return count;
}

/// What stands above the timing of a cue, but for its name.
std::string_view withoutName(std::string_view above, bool (*isName)(std::string_view))
{
    if (above.ends_with('\n'))
        above.remove_suffix(1);
    const std::size_t end = above.rfind('\n');
    const std::size_t lastLine = end == none ? 0 : end + 1;
    return isName(above.substr(lastLine)) ? above.substr(0, lastLine) : above;
}

/// Calls `visit(timing, text)` for each cue of a format of blocks: in each block the first line with an arrow is the
/// timing, what follows the text, still marked up and perhaps empty. Returns how many lines with words are part of
/// none.
template <class Visitor>
std::size_t forEachMarkedCue(std::string_view text, const Pulse& pulse, const BlockFormat& format, Visitor visit)
{
    const NormalizedText normalized{text};
    std::size_t lost = 0;
    forEachBlock(normalized.view(), pulse, format.continues, [&](std::string_view block) {
        LineScanner lines{block};
        std::string_view line;
        std::size_t begin = 0;
        do {
            begin = lines.position();
            line = lines.next();
        } while (line.find(arrow) == none && !lines.atEnd());
        if (format.skips(block))
            return;
        const auto timing = parseTiming(line);
        if (!timing) {
            lost += linesWithWords(block);
            return;
        }
        if (begin > 0)
            lost += linesWithWords(withoutName(block.substr(0, begin), format.isName));
        if (!lines.atEnd())
            visit(*timing, withoutBlankLines(block.substr(lines.position())));
    });
    return lost;
}

std::size_t readBlocks(const BlockFormat& format, std::string_view text, const CueSink& sink, const Pulse& pulse)
{
    SubtitleCue cue; // one for all, so that its text keeps its memory where the sink does not take it
    return forEachMarkedCue(text, pulse, format, [&](const auto& timing, std::string_view marked) {
        std::tie(cue.start, cue.end) = timing;
        cue.text.clear();
        format.appendClean(cue.text, marked);
        if (!trimmed(cue.text).empty())
            sink(cue);
    });
}

/// How many cues `readBlocks` hands out. A text is cleaned only where it begins with a mark, since any other character
/// is shown.
std::size_t countBlocks(const BlockFormat& format, std::string_view text, const Pulse& pulse)
{
    std::size_t count = 0;
    std::string shown;
    forEachMarkedCue(text, pulse, format, [&](const auto&, std::string_view marked) {
        std::string_view visible = trimmed(marked);
        if (!visible.empty() && format.marks.find(visible.front()) != none) {
            shown.clear();
            format.appendClean(shown, marked);
            visible = trimmed(shown);
        }
        if (!visible.empty())
            ++count;
    });
    return count;
}

using CueReader = std::size_t (*)(std::string_view, const CueSink&, const Pulse&);

std::vector<SubtitleCue> cuesOf(std::string_view text, CueReader read)
{
    std::vector<SubtitleCue> cues;
    read(text, [&](SubtitleCue& cue) { cues.push_back(std::move(cue)); }, {});
    return cues;
}

/// The length of a position override such as {\an8} or {\a6} at the start of `text`; 0 when there is none.
std::size_t positionOverrideLength(std::string_view text)
{
    std::size_t at = text.starts_with("{\\an") ? 4 : text.starts_with("{\\a") ? 3 : 0;
    const std::size_t digits = at;
    while (at > 0 && at < text.size() && text[at] >= '0' && text[at] <= '9')
        ++at;
    return at > digits && at < text.size() && text[at] == '}' ? at + 1 : 0;
}

/// Finds the end of tags. Remembers that none is left, so that a text of a million "<" is still searched once.
class TagEnds {
public:
    explicit TagEnds(std::string_view text) : text_{text} {}

    /// The position after the first `closing` from `at` on.
    std::optional<std::size_t> after(std::size_t at, char closing)
    {
        const std::size_t found = isExhausted_ ? none : text_.find(closing, at);
        isExhausted_ = found == none;
        return isExhausted_ ? std::nullopt : std::optional{found + 1};
    }

private:
    std::string_view text_;
    bool isExhausted_ = false;
};

/// Finds two characters in a text, asked from the left to the right. Each is searched only once.
class Marks {
public:
    Marks(std::string_view text, char first, char second)
        : text_{text}, first_{first}, second_{second}, firstAt_{text.find(first)}, secondAt_{text.find(second)}
    {
    }

    /// The position of the next of the two from `at` on; npos when there is none.
    std::size_t next(std::size_t at)
    {
        if (firstAt_ < at)
            firstAt_ = text_.find(first_, at);
        if (secondAt_ < at)
            secondAt_ = text_.find(second_, at);
        return std::min(firstAt_, secondAt_);
    }

private:
    std::string_view text_;
    char first_;
    char second_;
    std::size_t firstAt_;
    std::size_t secondAt_;
};

/// The length of a simple tag in either case, as SubRip has them; 0 when there is none.
std::size_t simpleTagLengthAnyCase(std::string_view text)
{
    char tag[4];
    const std::size_t size = std::min(text.size(), sizeof tag);
    std::transform(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(size), tag,
                   [](char each) { return asciiLowercased(each); });
    return simpleTagLength({tag, size});
}

/// Appends a SubRip text without font tags and position overrides, its simple tags in lower case.
void appendCleanSRT(std::string& shown, std::string_view text)
{
    std::size_t written = 0;
    TagEnds tags{text};
    Marks marks{text, '<', '{'};
    for (std::size_t at = marks.next(0); at != none; at = marks.next(at)) {
        const std::string_view rest = text.substr(at);
        if (const std::size_t length = simpleTagLengthAnyCase(rest)) {
            const std::size_t letter = at + length - 2;
            shown.append(text.substr(written, letter - written)).push_back(asciiLowercased(text[letter]));
            written = letter + 1;
            at += length;
            continue;
        }
        std::size_t end = at;
        if (rest.front() == '{')
            end += positionOverrideLength(rest);
        else if (startsIgnoringCase(rest, "<font") || startsIgnoringCase(rest, "</font"))
            end = tags.after(at, '>').value_or(at);
        if (end > at) {
            shown.append(text.substr(written, at - written));
            written = end;
        }
        at = std::max(end, at + 1);
    }
    shown.append(text.substr(written));
}

/// True for the blocks of a WebVTT file that are no cues. A keyword is a word of its own: an identifier may begin like
/// one.
bool isVTTSection(std::string_view block)
{
    constexpr std::string_view keywords[] = {"WEBVTT", "NOTE", "STYLE", "REGION"};
    return std::any_of(std::begin(keywords), std::end(keywords), [&](std::string_view keyword) {
        return block.starts_with(keyword) &&
               (block.size() == keyword.size() || std::string_view{" \t\n"}.find(block[keyword.size()]) != none);
    });
}

struct Entity {
    std::string_view escape;
    char character;
};

constexpr Entity entities[] = {{"&lt;", '<'}, {"&gt;", '>'}, {"&nbsp;", ' '}, {"&amp;", '&'}};

void appendCleanVTT(std::string& shown, std::string_view text)
{
    std::size_t written = 0;
    TagEnds tags{text};
    const auto replace = [&](std::size_t begin, std::size_t end, std::string_view with) {
        shown.append(text.substr(written, begin - written)).append(with);
        written = end;
        return end;
    };
    Marks marks{text, '<', '&'};
    for (std::size_t at = marks.next(0); at != none; at = marks.next(at)) {
        const std::string_view rest = text.substr(at);
        if (rest.front() == '<') {
            const std::size_t simple = simpleTagLength(rest);
            const auto end = simple > 0 ? std::nullopt : tags.after(at, '>');
            at = end ? replace(at, *end, {}) : at + std::max<std::size_t>(simple, 1);
            continue;
        }
        const auto* entity = std::find_if(std::begin(entities), std::end(entities),
                                          [&](const Entity& each) { return rest.starts_with(each.escape); });
        at = entity == std::end(entities) ? at + 1 : replace(at, at + entity->escape.size(), {&entity->character, 1});
    }
    shown.append(text.substr(written));
}

/// True for the counter of a SubRip cue.
bool isCounter(std::string_view line)
{
    line = trimmed(line);
    return !line.empty() && std::ranges::all_of(line, isAsciiDigit);
}

/// A line of spaces or tabs ends a block only where a cue, a section or the end follows: captions of video sites have
/// such lines inside their cues.
template <bool (*isSection)(std::string_view), bool (*isName)(std::string_view)>
std::optional<std::size_t> continuation(std::string_view text, std::size_t position)
{
    LineScanner lines{text};
    lines.moveTo(position);
    std::string_view line;
    do {
        if (lines.atEnd())
            return std::nullopt;
        position = lines.position();
        line = lines.next();
        if (line.empty())
            return std::nullopt;
    } while (isBlank(line));
    const bool isNamedCue = isName(line) && !lines.atEnd() && parseTiming(lines.next());
    return isNamedCue || parseTiming(line) || isSection(line) ? std::nullopt : std::optional{position};
}

constexpr bool hasNoSections(std::string_view) { return false; }
bool isAnyName(std::string_view) { return true; }

constexpr BlockFormat subRip{hasNoSections, isCounter, continuation<hasNoSections, isCounter>, "<{", appendCleanSRT};
constexpr BlockFormat webVTT{isVTTSection, isAnyName, continuation<isVTTSection, isAnyName>, "<&", appendCleanVTT};

/// Where the fields that matter stand in a SubStation event. The default is what both generations of the format use.
struct EventFields {
    std::size_t count = 10;
    std::size_t start = 1;
    std::size_t end = 2;
    std::size_t text = 9;
};

/// The fields that a "Format:" line names; a name that is missing takes a position that no event has.
EventFields eventFields(std::string_view names)
{
    EventFields fields{.count = 0, .start = none, .end = none, .text = none};
    for (std::size_t begin = 0; begin != none; ++fields.count) {
        const std::size_t comma = names.find(',', begin);
        const std::string name = lowercased(trimmed(names.substr(begin, comma - begin)));
        if (name == "start")
            fields.start = fields.count;
        else if (name == "end")
            fields.end = fields.count;
        else if (name == "text")
            fields.text = fields.count;
        begin = comma == none ? none : comma + 1;
    }
    return fields;
}

/// True while a drawing is on: the commands between {\p1} and {\p0} are shapes, not words.
bool drawsAfter(std::string_view overrides, bool draws)
{
    for (std::size_t at = overrides.find("\\p"); at != none; at = overrides.find("\\p", at + 2))
        if (at + 2 < overrides.size() && overrides[at + 2] >= '0' && overrides[at + 2] <= '9')
            draws = overrides[at + 2] != '0';
    return draws;
}

/// The text of a SubStation event without override blocks and drawings, its breaks as characters.
std::string cleanSubStation(std::string_view text)
{
    std::string shown;
    bool draws = false;
    TagEnds overrides{text};
    for (std::size_t at = 0; at < text.size();) {
        if (text[at] == '{') {
            if (const auto end = overrides.after(at, '}')) {
                draws = drawsAfter(text.substr(at, *end - at), draws);
                at = *end;
                continue;
            }
        }
        const char escape = text[at] == '\\' && at + 1 < text.size() ? text[at + 1] : '\0';
        const bool isEscape = escape == 'N' || escape == 'n' || escape == 'h';
        if (!draws)
            shown += !isEscape       ? text.substr(at, 1)
                     : escape == 'h' ? std::string_view{"\u00A0"}
                                     : std::string_view{"\n"};
        at += isEscape ? 2 : 1;
    }
    return std::string{trimmed(shown)};
}

/// The cue of a "Dialogue:" line's fields, perhaps without text; none when it has too few or invalid clocks.
std::optional<SubtitleCue> eventCue(std::string_view event, const EventFields& fields)
{
    std::string_view startClock;
    std::string_view endClock;
    std::string_view text;
    std::size_t begin = 0;
    for (std::size_t index = 0; index < fields.count; ++index) {
        const std::size_t comma = index + 1 == fields.count ? none : event.find(',', begin);
        const std::string_view field = event.substr(begin, comma - begin);
        if (index == fields.start)
            startClock = field;
        else if (index == fields.end)
            endClock = field;
        else if (index == fields.text)
            text = field;
        if (comma == none)
            break;
        begin = comma + 1;
    }
    const auto start = parseClock(trimmed(startClock));
    const auto end = parseClock(trimmed(endClock));
    if (!start || !end)
        return std::nullopt;
    return SubtitleCue{*start, *end, cleanSubStation(text)};
}

} // namespace

std::vector<std::string> blocks(std::string_view text)
{
    std::vector<std::string> result;
    const NormalizedText normalized{text};
    forEachBlock(normalized.view(), {}, nullptr, [&](std::string_view block) { result.emplace_back(block); });
    return result;
}

std::size_t readSRT(std::string_view text, const CueSink& sink, const Pulse& pulse)
{
    return readBlocks(subRip, text, sink, pulse);
}

std::size_t readVTT(std::string_view text, const CueSink& sink, const Pulse& pulse)
{
    return readBlocks(webVTT, text, sink, pulse);
}

std::size_t countSRT(std::string_view text, const Pulse& pulse) { return countBlocks(subRip, text, pulse); }
std::size_t countVTT(std::string_view text, const Pulse& pulse) { return countBlocks(webVTT, text, pulse); }

std::string cleanVTT(std::string_view text)
{
    std::string shown;
    appendCleanVTT(shown, text);
    return shown;
}

std::size_t readSubStation(std::string_view text, const CueSink& sink, const Pulse& pulse)
{
    const NormalizedText normalized{text};
    LineScanner lines{normalized.view()};
    EventFields fields;
    bool isInEvents = false;
    std::size_t lost = 0;
    for (std::size_t count = 0; !lines.atEnd(); ++count) {
        if (pulse && count % cuesPerPulse == 0)
            pulse(lines.fraction());
        const std::string_view line = trimmed(lines.next());
        if (!isInEvents)
            isInEvents = line.size() == 8 && startsIgnoringCase(line, "[events]");
        else if (line.starts_with('['))
            break;
        else if (constexpr std::string_view key = "format:"; startsIgnoringCase(line, key))
            fields = eventFields(line.substr(key.size()));
        else if (constexpr std::string_view dialogue = "dialogue:"; startsIgnoringCase(line, dialogue)) {
            auto cue = eventCue(line.substr(dialogue.size()), fields);
            if (!cue)
                ++lost;
            else if (!cue->text.empty())
                sink(*cue);
        }
    }
    return lost;
}

std::vector<SubtitleCue> parseSRT(std::string_view text) { return cuesOf(text, readSRT); }
std::vector<SubtitleCue> parseVTT(std::string_view text) { return cuesOf(text, readVTT); }
std::vector<SubtitleCue> parseSubStation(std::string_view text) { return cuesOf(text, readSubStation); }

} // namespace nivex::Subtitles
