#include "tests/NivexWorkers/Data/DataScene.hpp"

#include <gtest/gtest.h>

namespace nivex::data {
namespace {

struct JsonCase {
    std::string_view source;
    std::string_view expected; // the CSV of the value alone; empty where it is refused
};

// clang-format off
constexpr JsonCase cases[] = {
    // Values that RFC 8259 allows
    {R"("")", "\"\""}, {R"("\u0061\u30af\"\\\/\b\f\n\r\t")", "\"aク\"\"\\/\b\f\n\r\t\""}, {R"("\ud83d\ude39\uDBFF\uDFFF")", "😹\U0010FFFF"},
    {" [ ] ", "-"}, {"[\n]\t", "-"}, {"[0]", "0"}, {"[-0]", "-0"}, {"[1E+2]", "1E+2"}, {"[0e1]", "0e1"}, {"[1.5e-7]", "1.5e-7"},
    {"[1e400]", "1e400"}, {"[-1e-400]", "-1e-400"}, {"[123456789012345678901234567890]", "123456789012345678901234567890"},
    {"\"\x7F\"", "\x7F"}, {"[\"\u2028\"]", "\u2028"}, {"[true]", "true"},
    // Half a surrogate pair becomes one character, wherever it stands
    {R"("\uD800")", "\uFFFD"}, {R"("\uD800x")", "\uFFFDx"}, {R"("\uD800\n")", "\"\uFFFD\n\""}, {R"("\uDC00")", "\uFFFD"},
    {R"("\uD800\uD83D\ude39")", "\uFFFD😹"}, {R"("\uD800\u0061")", "\uFFFDa"},
    // Numbers that only some programs write
    {"[NaN]", "NaN"}, {"[-Infinity]", "-Infinity"},
    // What it does not allow
    {"[1,]", ""}, {"[,1]", ""}, {"[1 2]", ""}, {"[", ""}, {"]", ""}, {"[1}", ""}, {"{\"a\"}", ""}, {"{\"a\":}", ""}, {"{\"a\" 1}", ""}, {"{a:1}", ""},
    {"{\"a\":1,}", ""}, {"{1:1}", ""}, {"['a']", ""}, {"[01]", ""}, {"[-]", ""}, {"[1.]", ""}, {"[.5]", ""}, {"[+1]", ""}, {"[1e]", ""}, {"[0x1]", ""},
    {"[1a]", ""}, {"[tru]", ""}, {"[True]", ""}, {"\"", ""}, {"\"a\nb\"", ""}, {R"("\x61")", ""}, {R"("\u00g0")", ""}, {R"("\u12)", ""}, {R"("\)", ""},
    {"[1]]", ""}, {"[1]x", ""}, {"// c\n[1]", ""}, {"[1/**/]", ""}, {"[-NaN]", ""}, {"nul", ""},
};
// clang-format on

TEST(JsonReader, TakesWhatTheStandardAllowsAndNothingElse)
{
    for (const JsonCase& each : cases) {
        SCOPED_TRACE(each.source);
        DataScene scene;
        const std::string written = scene.convert("json", "csv", each.source);
        if (each.expected.empty())
            EXPECT_TRUE(written.starts_with("Le fichier source ne peut pas être lu : JSON invalide à la ligne "))
                << written;
        else if (each.expected == "-")
            EXPECT_EQ(written, "Le fichier source ne peut pas être lu : il ne contient aucune donnée");
        else
            EXPECT_EQ(written, "valeur\r\n" + std::string{each.expected} + "\r\n");
    }
}

TEST(JsonReader, IsOneForEveryPlaceWhereABufferEnds)
{
    const std::string tail = R"([-12.5e3,"a\ud83d\ude39\"é","k",true,null])";
    for (std::size_t spaces = (1 << 16) - tail.size() - 1; spaces <= (1 << 16); ++spaces) {
        DataScene scene;
        const std::string written = scene.convert("json", "yaml", std::string(spaces, ' ') + tail);
        ASSERT_EQ(written, "- -12.5e+3\n- \"a😹\\\"é\"\n- k\n- true\n- null\n") << spaces;
    }
    DataScene scene;
    EXPECT_EQ(scene.convert("json", "csv", "[1,\n" + std::string(1 << 17, '\n') + "x]"),
              "Le fichier source ne peut pas être lu : JSON invalide à la ligne 131074");
}

} // namespace
} // namespace nivex::data
