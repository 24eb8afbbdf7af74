#include "NivexKit/Foundation/Text/TextDecoder.hpp"
#include "tests/Support/Bytes.hpp"

#include <gtest/gtest.h>
#include <unicode/ucnv.h>

#include <vector>

namespace nivex {
namespace {

std::optional<std::string> decoded(std::string_view bytes) { return decodedText(std::string{bytes}); }

/// A UTF-8 text in another character set.
std::string encoded(const std::string& text, const char* characterSet)
{
    UErrorCode status = U_ZERO_ERROR;
    std::string bytes(text.size() * 4 + 16, '\0');
    const std::int32_t size = ucnv_convert(characterSet, "UTF-8", bytes.data(), static_cast<std::int32_t>(bytes.size()),
                                           text.data(), static_cast<std::int32_t>(text.size()), &status);
    if (U_FAILURE(status))
        throw std::runtime_error{characterSet};
    return bytes.substr(0, static_cast<std::size_t>(size));
}

struct Sample {
    const char* text;
    std::vector<const char*> characterSets;
};

const Sample samples[] = {
    {"Où êtes-vous allé cet été ? J'ai mangé près du château. « Ça ira », dit Noël.\n",
     {"windows-1252", "ISO-8859-15", "macintosh", "cp850"}},
    {"Ça va ?\n", {"windows-1252"}},
    {"¿Dónde está el niño? Mañana será otro día, señor. ¡Qué lástima!\n", {"windows-1252", "macintosh", "cp850"}},
    {"Die Bäume sind schön und grün. Er weiß nicht, wo die Straße anfängt.\n", {"windows-1252", "macintosh", "cp850"}},
    {"Zażółć gęślą jaźń. Książka leży na stole, a dzień jest piękny. Wszyscy są już w domu.\n",
     {"ISO-8859-2", "windows-1250"}},
    {"Příliš žluťoučký kůň úpěl ďábelské ódy. Děkuji vám za všechno, řekl muž.\n", {"ISO-8859-2", "windows-1250"}},
    {"Bună seara, ce mai faceţi? Aş vrea să ştiu unde este casa dumneavoastră. Îmi pare rău, n-am înţeles.\n",
     {"windows-1250"}},
    {"Здравствуйте, меня зовут Иван. Сегодня хорошая погода, и мы пойдём гулять в парк.\n",
     {"KOI8-R", "windows-1251", "ISO-8859-5", "IBM866"}},
    {"Καλημέρα σας, πώς είστε σήμερα; Το σπίτι είναι κοντά στη θάλασσα.\n", {"ISO-8859-7", "windows-1253"}},
    {"שלום לכולם, מה שלומכם היום? אני לא יודע מה לעשות.\n", {"windows-1255"}},
    {"おはようございます。今日はとても天気がいいですね。駅はどこにありますか。\n",
     {"Shift_JIS", "EUC-JP", "ISO-2022-JP"}},
    {"早上好，今天天气很好。请问地铁站在哪里？谢谢你们的帮助。\n", {"GB18030"}},
    {"早安，今天天氣很好。請問捷運站在哪裡？謝謝你們的幫助。\n", {"Big5"}},
    {"안녕하세요, 오늘은 날씨가 아주 좋습니다. 지하철역이 어디에 있습니까?\n", {"EUC-KR"}},
    {"A musical clef \U0001D11E and a face \U0001F600.\n", {}},
};

TEST(TextDecoder, FindsTheCharacterSetOfEachLanguage)
{
    for (const Sample& sample : samples) {
        std::vector<const char*> sets{"UTF-8", "UTF-16LE", "UTF-16BE", "UTF-32LE", "UTF-32BE"};
        sets.insert(sets.end(), sample.characterSets.begin(), sample.characterSets.end());
        for (const char* set : sets) {
            SCOPED_TRACE(set);
            EXPECT_EQ(decoded(encoded(sample.text, set)), sample.text);
        }
        EXPECT_EQ(decoded("\xEF\xBB\xBF" + std::string{sample.text}), sample.text);
        EXPECT_EQ(decoded("\xFF\xFE" + encoded(sample.text, "UTF-16LE")), sample.text);
        EXPECT_EQ(decoded("\xFE\xFF" + encoded(sample.text, "UTF-16BE")), sample.text);
        EXPECT_EQ(decoded(std::string{"\xFF\xFE\0\0", 4} + encoded(sample.text, "UTF-32LE")), sample.text);
    }
}

TEST(TextDecoder, FindsTheCharacterSetOfOneShortLine)
{
    const Sample lines[] = {
        {"Nu ştiu unde este fişierul, dar îl voi găsi.\n", {"windows-1250", "ISO-8859-2"}},
        {"Gdzie jest twoja książka?\n", {"windows-1250", "ISO-8859-2"}},
        {"Ne znam što će se dogoditi.\n", {"windows-1250", "ISO-8859-2"}},
        {"Na žalost ne vem, če bo prišel.\n", {"windows-1250", "ISO-8859-2"}},
        {"Tai yra labai gražus miestas, kurį myliu.\n", {"windows-1257", "ISO-8859-13"}},
        {"Es nezinu, vai viņš būs mājās.\n", {"windows-1257", "ISO-8859-13"}},
        {"Ma ei tea, kas see on õige või mitte.\n", {"windows-1257", "windows-1252"}},
        {"Bu akşam için çok güzel bir yemek yaptım.\n", {"windows-1254"}},
        {"Það er ekki gott að vera hér.\n", {"windows-1252"}},
        {"Perché è così difficile?\n", {"windows-1252", "macintosh"}},
    };
    for (const Sample& line : lines)
        for (const char* set : line.characterSets) {
            SCOPED_TRACE(set);
            EXPECT_EQ(decoded(encoded(line.text, set)), line.text);
        }
    // ISO 8859-16, which has quotes of its own where Windows-1250 has letters.
    EXPECT_EQ(decoded("\xA5Nu \xBAtiu\xB5, spuse el \xBAi plec\xE3 \xEEn cas\xE3.\n"),
              "„Nu știu”, spuse el și plecă în casă.\n");
}

TEST(TextDecoder, LooksAtTheDecisiveLinesOfALargeText)
{
    std::string ascii;
    while (ascii.size() < 300'000)
        ascii += "00:00:01,000 --> 00:00:02,000\nA line of plain words.\n\n";
    for (const Sample& sample : samples)
        for (const char* set : sample.characterSets) {
            SCOPED_TRACE(set);
            if (std::string_view{set} == "ISO-2022-JP")
                continue; // its letters are ASCII: only the beginning tells
            EXPECT_EQ(decoded(ascii + encoded(sample.text, set)), ascii + sample.text);
        }
    // A text that is UTF-8 but for one byte late in it is not UTF-8.
    EXPECT_EQ(decoded(ascii + "l'\xE9t\xE9 suivant\n"), ascii + "l'été suivant\n");
}

TEST(TextDecoder, SurvivesBrokenText)
{
    EXPECT_EQ(decoded(""), "");
    EXPECT_EQ(decoded("\xEF\xBB\xBF"
                      "a\xFF"
                      "b"),
              "a\uFFFDb");
    EXPECT_EQ(decoded(std::string_view{"\xFF\xFE"
                                       "a\0\x00\xD8"
                                       "b\0c",
                                       9}),
              "a\uFFFDb");
    EXPECT_EQ(decoded("text and a last\x1A"), "text and a last\x1A");
}

TEST(TextDecoder, RefusesBinaryContent)
{
    const std::vector<std::byte> inputs[] = {
        testing::bytes("89 50 4E 47 0D 0A 1A 0A 00 00 00 0D 49 48 44 52 00 00 00 01"),
        testing::bytes("7F 45 4C 46 02 01 01 00 00 00 00 00 00 00 00 00 03 00 3E 00"),
        testing::bytes("00"),
        testing::bytes("01 02 03 04 05 06 07 08"),
        testing::bytes("FF FE 00 00"),
        testing::joined({testing::textBytes("text, then "), testing::bytes("00"), testing::textBytes(" a zero")}),
    };
    for (const auto& input : inputs)
        EXPECT_EQ(decoded({reinterpret_cast<const char*>(input.data()), input.size()}), std::nullopt)
            << ::testing::PrintToString(input);
}

} // namespace
} // namespace nivex
