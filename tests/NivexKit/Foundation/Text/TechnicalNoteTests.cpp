#include "NivexKit/Foundation/ConversionError.hpp"
#include "NivexKit/Foundation/Text/TechnicalNote.hpp"

namespace nivex {
namespace {

TEST(TechnicalNote, IsOneHarmlessLineWhateverALibrarySays)
{
    const struct {
        const char* name;
        std::string text;
        std::string note;
    } cases[] = {
        {"plain", "IDAT: checksum", "IDAT: checksum"},
        {"nothing", "", ""},
        {"only what is not seen", " \n\t\x1B\n", ""},
        {"lines, as libraries end theirs", "\npngload: end of stream\n\nvipspng: read error\n",
         "pngload: end of stream; vipspng: read error"},
        {"a name that steers the terminal", "name\x1B[31m\r\u202Egpj", "name [31m gpj"},
        {"bytes that are no text", "tag \xFF", "tag \uFFFD"},
        {"the longest", std::string(maxNoteBytes, 'a'), std::string(maxNoteBytes, 'a')},
        {"longer", std::string(maxNoteBytes + 1, 'a'), std::string(maxNoteBytes, 'a')},
        {"cut inside a character", std::string(maxNoteBytes - 1, 'a') + "é", std::string(maxNoteBytes - 1, 'a')},
    };
    for (const auto& each : cases)
        EXPECT_EQ(technicalNote(each.text), each.note) << each.name;
}

TEST(TechnicalNote, StandsBesideAnErrorWithoutChangingIt)
{
    const ConversionError plain = ConversionError::unreadableSource("fichier tronqué");
    const ConversionError error = plain.because("moov:\ntoo short");
    EXPECT_EQ(error.cause(), "moov:; too short");
    EXPECT_EQ(error, plain);
    EXPECT_EQ(error.message(), plain.message());
}

} // namespace
} // namespace nivex
