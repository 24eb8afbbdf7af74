#include "NivexKit/Foundation/Text/Json.hpp"
#include "NivexKit/Foundation/Text/TerminalText.hpp"

#include <gtest/gtest.h>

namespace nivex {
namespace {

TEST(TerminalText, NothingSteersATerminalAndAReaderOfJsonGetsItExactly)
{
    const struct {
        const char* name;
        std::string text;
        std::string shown;
    } cases[] = {
        {"plain", "été 🎬 أب.srt", "été 🎬 أب.srt"},
        {"a colour", "a\033[31mb", "a␛[31mb"},
        {"a second line", "a\r\nb\tc", "a␍␊b␉c"},
        {"NUL and DEL", std::string{"a\0b\x7F", 4}, "a␀b␡"},
        {"the first and last control of eight bits", "\u0080\u009B31m\u009F", "��31m�"},
        {"what stands behind them", "\u00A0é", "\u00A0é"},
        {"separators of lines", "a\u2028b\u2029c", "a�b�c"},
        {"a name that reads backwards", "exe\u202Egpj", "exe�gpj"},
        {"first and last of the embeddings", "\u202A\u202E\u202F", "��\u202F"},
        {"isolates", "\u2065\u2066\u2069", "\u2065��"},
        {"marks", "\u200E\u200F\u061C", "���"},
        {"joiners, which make one picture of several", "👩\u200D🚀", "👩\u200D🚀"},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.name);
        EXPECT_EQ(terminalText(each.text), each.shown);
        const std::string json = terminalJson(writeJson(each.text));
        EXPECT_EQ(terminalText(json), json);
        EXPECT_EQ(parseJson(json), JsonValue{each.text});
    }
    EXPECT_EQ(terminalText("a\xFF\xC3"), "a��");
}

} // namespace
} // namespace nivex
