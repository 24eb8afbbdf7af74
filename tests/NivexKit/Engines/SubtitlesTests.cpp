#include "NivexKit/Engines/Subtitle/Subtitles.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <ostream>

namespace nivex {

void PrintTo(const SubtitleCue& cue, std::ostream* stream)
{
    *stream << cue.start << " to " << cue.end << ' ' << ::testing::PrintToString(cue.text);
}

namespace {

using namespace Subtitles;
using Cues = std::vector<SubtitleCue>;
using ::testing::ElementsAre;

TEST(Subtitles, ReadsClocks)
{
    struct Case {
        const char* name;
        const char* clock;
        std::optional<std::int64_t> expected;
    };
    const Case cases[] = {
        {"comma", "01:02:03,004", 3'723'004},
        {"point", "01:02:03.004", 3'723'004},
        {"no hours", "02:03.004", 123'004},
        {"two digits are hundredths", "0:00:01.25", 1'250},
        {"one digit is tenths", "00:00:01.5", 1'500},
        {"more digits than milliseconds", "00:00:01.98765", 1'987},
        {"minutes that count on past the hour", "75:10.000", 4'510'000},
        {"hours past two digits", "123:00:00.000", 442'800'000},
        {"a time before the start", "-00:00:01,500", -1'500},
        {"61 seconds", "00:00:61,000", {}},
        {"no fraction", "00:00:01", {}},
        {"an empty fraction", "00:00:01,", {}},
        {"two fractions", "00:00:01,000,000", {}},
        {"seconds alone", "01,000", {}},
        {"four fields", "1:00:00:01,000", {}},
        {"an empty field", "00::01,000", {}},
        {"a minus inside", "00:-1:01,000", {}},
        {"a letter", "00:0a:01,000", {}},
        {"a number that would overflow", "9999999999999999999:00:01,000", {}},
        {"nothing", "", {}},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.name);
        EXPECT_EQ(parseClock(each.clock), each.expected);
    }
}

TEST(Subtitles, ReadsTimings)
{
    using Timing = std::optional<std::pair<std::int64_t, std::int64_t>>;
    EXPECT_EQ(parseTiming("00:01.000 --> 00:02.000 line:0 align:start"), Timing({1000, 2000}));
    EXPECT_EQ(parseTiming("\t00:00:01,000-->00:00:02,000 "), Timing({1000, 2000}));
    EXPECT_EQ(parseTiming("00:01.000 --> 00:02.000 --> 00:03.000"), Timing());
    EXPECT_EQ(parseTiming("00:00:01,000 -> 00:00:02,000"), Timing());
    EXPECT_EQ(parseTiming("-->"), Timing());
}

TEST(Subtitles, WritesClocks)
{
    EXPECT_EQ(clock(3'723'004, ','), "01:02:03,004");
    EXPECT_EQ(clock(3'723'004, '.'), "01:02:03.004");
    EXPECT_EQ(clock(-1, ','), "00:00:00,000");
    EXPECT_EQ(clock(442'800'000, '.'), "123:00:00.000");
}

TEST(Subtitles, CutsBlocksAtBlankLinesOfAnyLineEnding)
{
    EXPECT_THAT(blocks("\r\n\r\n a\r\nb\r\n \t\r\nc\r\rd\n\n\n  \n"), ElementsAre("a\nb", "c", "d"));
    EXPECT_THAT(blocks(" \n\r\n"), ElementsAre());
}

struct ReaderCase {
    const char* name;
    std::string text;
    Cues expected;
};

TEST(Subtitles, ReadsSubRip)
{
    const ReaderCase cases[] = {
        {"CR LF and no blank line at the end",
         "1\r\n00:00:01,000 --> 00:00:02,000\r\nUn\r\ndeux\r\n\r\n2\r\n00:00:03,000 --> 00:00:04,000\r\nTrois",
         {{1000, 2000, "Un\ndeux"}, {3000, 4000, "Trois"}}},
        {"no counter", "00:00:01,000 --> 00:00:02,000\nUn\n", {{1000, 2000, "Un"}}},
        {"font tags and positions go, simple tags stay",
         "1\n00:00:01,000 --> 00:00:02,000\n{\\an8}<FONT color=\"red\"><I>Un</I></font> {\\a6}<b>2</b> {\\anx} <s>3\n",
         {{1000, 2000, "<i>Un</i> <b>2</b> {\\anx} <s>3"}}},
        {"a tag without an end", "00:00:01,000 --> 00:00:02,000\na <font b < c\n", {{1000, 2000, "a <font b < c"}}},
        {"an arrow in the text", "00:00:01,000 --> 00:00:02,000\na --> b\n", {{1000, 2000, "a --> b"}}},
        {"broken blocks between good ones",
         "x\n\n1\n00:00:01 --> 00:00:02\nUn\n\n2\n00:00:03,000 --> 00:00:04,000\nDeux\n\n--> \n",
         {{3000, 4000, "Deux"}}},
        {"cues that show nothing",
         "1\n00:00:01,000 --> 00:00:02,000\n\n2\n00:00:03,000 --> 00:00:04,000\n{\\an8} \n",
         {}},
        {"lines of spaces inside a text, before a cue and at the end",
         "1\n00:00:01,000 --> 00:00:02,000\n \nUn\n\t\ndeux\n \n \n2\n00:00:03,000 --> 00:00:04,000\nTrois\n \n",
         {{1000, 2000, "Un\n\t\ndeux"}, {3000, 4000, "Trois"}}},
        {"an empty line ends it all the same", "00:00:01,000 --> 00:00:02,000\nUn\n \n\ndeux\n", {{1000, 2000, "Un"}}},
        {"neither order nor backward times are corrected",
         "00:00:09,000 --> 00:00:08,000\nB\n\n00:00:01,000 --> 00:00:02,000\nA\n",
         {{9000, 8000, "B"}, {1000, 2000, "A"}}},
    };
    for (const ReaderCase& each : cases) {
        SCOPED_TRACE(each.name);
        EXPECT_EQ(parseSRT(each.text), each.expected);
    }
}

TEST(Subtitles, ReadsWebVTT)
{
    const ReaderCase cases[] = {
        {"sections are no cues, identifiers are ignored",
         "WEBVTT - titre\nKind: captions\n\nNOTE\n00:00.500 --> 00:01.000\nnote\n\nSTYLE\n::cue {}\n\nREGION\nid:a\n\n"
         "intro\n00:01.000 --> 00:02.000 line:0\nUn\n",
         {{1000, 2000, "Un"}}},
        {"an identifier that begins like a section", "NOTES 1\n00:01.000 --> 00:02.000\nUn\n", {{1000, 2000, "Un"}}},
        {"a line of a space, as automatic captions have, and one before a section and a named cue",
         "00:01.000 --> 00:02.000\n \nUn<00:01.500><c> deux</c>\n \nNOTE x\n\n00:03.000 --> 00:04.000\nTrois\n "
         "\nintro\n"
         "00:05.000 --> 00:06.000\nQuatre\n",
         {{1000, 2000, "Un deux"}, {3000, 4000, "Trois"}, {5000, 6000, "Quatre"}}},
        {"voices, classes and times go",
         "00:01.000 --> 00:02.000\n<v Élise><i>Oui</i> <c.red>non</c> <00:01.500>là",
         {{1000, 2000, "<i>Oui</i> non là"}}},
    };
    for (const ReaderCase& each : cases) {
        SCOPED_TRACE(each.name);
        EXPECT_EQ(parseVTT(each.text), each.expected);
    }
    EXPECT_EQ(cleanVTT("a &lt;b&gt; &amp;lt; &nbsp;&amp;amp; & &eacute; <i"), "a <b> &lt;  &amp; & &eacute; <i");
    EXPECT_EQ(cleanVTT(std::string(300'000, '<')).size(), 300'000u) << "and in linear time";
}

TEST(Subtitles, ReadsSubStation)
{
    const std::string header = "[Script Info]\nTitle: x\n\n[Events]\n";
    const std::string format = "Format: Layer, Start, End, Style, Text\n";
    const ReaderCase cases[] = {
        {"commas in the text, any case of the keywords",
         "[EVENTS]\r\nFORMAT: Layer, START, End, Style, text\r\nDIALOGUE: 0,0:00:01.20,0:00:02.50,S,Un, deux, "
         "trois\r\n",
         {{1200, 2500, "Un, deux, trois"}}},
        {"another order of fields",
         header + "Format: End, Start, Text\nDialogue: 0:00:02.00,0:00:01.00,a,b\n",
         {{1000, 2000, "a,b"}}},
        {"no format line", header + "Dialogue: 0,0:00:01.00,0:00:02.00,S,,0,0,0,,a,b\n", {{1000, 2000, "a,b"}}},
        {"overrides, breaks and hard spaces",
         header + format + "Dialogue: 0,0:00:01.00,0:00:02.00,S,{\\pos(1,2)\\i1}Un{\\i0}\\Ndeux\\n\\Ntrois\\hans {x\n",
         {{1000, 2000, "Un\ndeux\n\ntrois\u00A0ans {x"}}},
        {"a drawing is no text",
         header + format +
             "Dialogue: 0,0:00:01.00,0:00:02.00,S,{\\p1}m 0 0 l 1 1{\\p0}\n"
             "Dialogue: 0,0:00:03.00,0:00:04.00,S,{\\p1}m 0 0{\\p0}Un{\\pbo1}\n",
         {{3000, 4000, "Un"}}},
        {"comments, other sections, short and broken lines",
         "Dialogue: 0,0:00:01.00,0:00:02.00,S,avant\n" + header + format +
             "Comment: 0,0:00:01.00,0:00:02.00,S,non\nDialogue: 0,0:00:01.00\nDialogue: 0,x,0:00:02.00,S,non\n"
             "Dialogue: 0,0:00:03.00,0:00:04.00,S,oui\n[Fonts]\nDialogue: 0,0:00:05.00,0:00:06.00,S,après\n",
         {{3000, 4000, "oui"}}},
    };
    for (const ReaderCase& each : cases) {
        SCOPED_TRACE(each.name);
        EXPECT_EQ(parseSubStation(each.text), each.expected);
    }
}

TEST(Subtitles, CountsTheLinesThatNoCueHolds)
{
    using Reader = std::size_t (*)(std::string_view, const CueSink&, const Pulse&);
    struct Case {
        const char* name;
        Reader read;
        std::string text;
        std::size_t lost;
    };
    const std::string cue = "00:00:01,000 --> 00:00:02,000\nUn\n";
    const std::string clocks = "[Events]\nDialogue: 0,0:00:01.00,0:00:02.00,,,0,0,0,,Un\nDialogue: 0,";
    const Case cases[] = {
        {"nothing lost", readSRT, "1\n" + cue + "\n2\n" + cue, 0},
        {"an empty line inside a cue", readSRT, "1\n" + cue + "\nDeux\nTrois\n\n2\n" + cue, 2},
        {"a line of spaces, which is part of the cue", readSRT, "1\n" + cue + " \nDeux\n\n2\n" + cue, 0},
        {"a timing without a fraction", readSRT, "1\n00:00:01 --> 00:00:02\nUn\nDeux\n", 2},
        {"counters and timings without words", readSRT, "1\n\n00:00:01,000 --> 00:00:02,000\n\n3\n00:01 -> 00:02\n", 0},
        {"words above the counter", readSRT, "Titre\n1\n" + cue, 1},
        {"words where the counter should be", readSRT, "Titre\n" + cue, 1},
        {"a cue's name", readVTT, "WEBVTT\n\nintro\n00:01.000 --> 00:02.000\nUn\n", 0},
        {"sections", readVTT, "WEBVTT - Titre\nKind: captions\n\nNOTE\nDeux\n\nSTYLE\n::cue { }\n", 0},
        {"words of no section", readVTT, "WEBVTT\n\nDeux\n", 1},
        {"a colon before the hundredths", readSubStation, clocks + "0:00:01:50,0:00:02:50,,,0,0,0,,Deux\n", 1},
        {"an event that only draws", readSubStation, clocks + "0:00:01.50,0:00:02.50,,,0,0,0,,{\\p1}m 0 0{\\p0}\n", 0},
        {"a comment", readSubStation, clocks + "0:00:01.50,0:00:02.50,,,0,0,0,,Deux\nComment: 0,x,y,,,0,0,0,,Trois\n",
         0},
    };
    for (const Case& each : cases)
        EXPECT_EQ(each.read(each.text, [](SubtitleCue&) {}, {}), each.lost) << each.name;
}

TEST(Subtitles, TakesLineEndsThatWereWrittenTwiceForOne)
{
    const std::string text = "1\r\r\n00:00:01,000 --> 00:00:02,000\r\r\nUn\r\r\nDeux\r\r\n\r\r\n";
    EXPECT_EQ(parseSRT(text), (Cues{{1000, 2000, "Un\nDeux"}}));
    EXPECT_EQ(blocks(text + "Trois\n").size(), 5u) << "one line that ends otherwise: each carriage return is an end";
}

TEST(Subtitles, WritesFiles)
{
    const Cues cues{{-5, 1000, "<i>Un</i> & <deux>"}, {3'723'004, 3'724'000, "a --> b\nc"}};

    EXPECT_EQ(writeSRT(cues), "1\n00:00:00,000 --> 00:00:01,000\n<i>Un</i> & <deux>\n\n"
                              "2\n01:02:03,004 --> 01:02:04,000\na --> b\nc\n");
    EXPECT_EQ(writeVTT(cues), "WEBVTT\n\n00:00:00.000 --> 00:00:01.000\n<i>Un</i> &amp; &lt;deux>\n\n"
                              "01:02:03.004 --> 01:02:04.000\na --&gt; b\nc\n");
    EXPECT_EQ(transcript(cues), "Un & \na --> b\nc\n");
    EXPECT_EQ(transcript(Cues{{0, 1, "<> < a"}}), "<> < a\n");
    EXPECT_EQ(writeVTT({}), "WEBVTT\n\n");
}

TEST(Subtitles, TextsSurviveTheRoundTrip)
{
    const char* texts[] = {
        "a & b &amp; c &lt;",        // escapes that were text
        "1 < 2 > 0 <x> <b>y</b> --", // tags and what only looks so
        "a --> b\n-->\n---->",       // arrows
        "\u00A9 \u2026 \U0001F600",  // beyond ASCII
    };
    for (const char* text : texts) {
        SCOPED_TRACE(text);
        const Cues cues{{1000, 2000, text}, {3000, 4000, "suite"}};
        EXPECT_EQ(parseVTT(writeVTT(cues)), cues);
        EXPECT_EQ(parseSRT(writeSRT(cues)), cues);
    }
    // What SubRip takes for a tag, a position or a new cue is shown, with a space of no width in it.
    EXPECT_EQ(parseSRT(writeSRT(Cues{{1, 2, "<font>{\\an8}\n00:00:03,000 --> 00:00:04,000 x"}})),
              (Cues{{1, 2, "<\u200Bfont>{\u200B\\an8}\n00:00:03,000 --\u200B> 00:00:04,000 x"}}));
    // A blank line would end the cue for every reader.
    const Cues blank{{1000, 2000, "a\n\n \nb"}};
    const Cues kept{{1000, 2000, "a\n\u00A0\n\u00A0\nb"}};
    EXPECT_EQ(parseVTT(writeVTT(blank)), kept);
    EXPECT_EQ(parseSRT(writeSRT(blank)), kept);
}

} // namespace
} // namespace nivex
