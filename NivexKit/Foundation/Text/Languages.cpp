#include "NivexKit/Foundation/Text/Languages.hpp"

#include "NivexKit/Foundation/Text/Unicode.hpp"
#include "NivexKit/Foundation/Text/Words.hpp"

#include <unicode/uchar.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

namespace nivex {
namespace {

// By the name that ICU has for each; the wider of relatives stands for both where real files do not tell them apart.
constexpr std::string_view western = "windows-1252 ISO-8859-15 macintosh cp850";
constexpr std::string_view central = "windows-1250 ISO-8859-2 x-mac-centraleurroman cp852";
constexpr std::string_view romanian = "windows-1250 ISO-8859-2 ISO-8859-16 cp852";
constexpr std::string_view baltic = "windows-1257 ISO-8859-13";
constexpr std::string_view estonian = "windows-1257 windows-1252 ISO-8859-13 ISO-8859-15";
constexpr std::string_view turkish = "windows-1254 cp857";
constexpr std::string_view cyrillic = "windows-1251 KOI8-R ISO-8859-5 x-mac-cyrillic cp866";

constexpr std::string_view greek = "windows-1253 ISO-8859-7";
constexpr std::string_view hebrew = "windows-1255 ISO-8859-8";

struct LanguageRow {
    std::string_view sets;
    std::string_view letters; // beyond ASCII, small ones
    std::string_view words;   // frequent ones
};

// clang-format off
constexpr LanguageRow languages[] = {
    {western, "àâæçéèêëîïôœùûüÿ", "le la les de des du et un une est pas pour dans que qui sur avec au ce se vous il je ne plus par"},
    {western, "äöüßé", "der die das und ist nicht den von zu mit ein eine auf für im dem des sich als auch es an werden aus ich wir sie"},
    {western, "áéíóúñü", "de la que el en los del se las por un para con no una su al es lo como más esta"},
    {western, "ãáàâçéêíóôõúü", "de que do da em um para com não uma os no se na por mais as dos como"},
    {western, "àèéìíòóùú", "di il la che in un per non una del con le si da è dei della sono al"},
    {western, "éëïèêöüáóí", "de het een van en is niet in op te dat voor met zijn aan"},
    {western, "åäöéàü", "och att det en som är av för den på med till inte har om ett jag"},
    {western, "æøåéóòôü", "og at det en til er som på de med af av for ikke den der et kan har jeg"},
    {western, "äöåéšž", "ja on ei et se että oli ole mutta kun tai ovat joka kuin myös voi"},
    {western, "áéíóúýðþæö", "og að í er ekki sem á það til með um fyrir en af var"},
    {western, "àçèéíïòóúü", "de la el que en per un les amb els no és"},
    {central, "ąćęłńóśźżé", "na nie się do jest to że jak za po dla od lub być"},
    {central, "áčďéěíňóřšťúůýž", "je se na že to do pro ne jsou nebo není jak"},
    {central, "áäčďéíĺľňóôŕšťúýž", "je sa na že to do pre nie sú alebo ako"},
    {central, "áéíóöőúüű", "az és nem hogy egy is van meg de csak ez vagy ha el"},
    {central, "čćđšž", "je se na da za su od ne nije koji ili kao to iz"},
    {central, "čšžćđ", "in je se na da za so ne ki pa ni ali kot po"},
    {central, "äöüßé", "der die das und ist nicht den von zu mit ein eine auf für im dem des sich als auch"},
    {romanian, "ăâîșțşţé", "de și şi nu la în cu pe este un din care pentru să mai se au sau"},
    {baltic, "ąčęėįšųūž", "ir yra į kad su iš ne nėra nuo kaip bet tai ar"},
    {baltic, "āčēģīķļņšūžōŗ", "un ir uz no ar nav vai par lai kas bet tas"},
    {estonian, "äõöüšž", "ja on ei et see oma kui või mis ole ka"},
    {turkish, "çğıöşüâîûİ", "ve bir bu için ile değil de da olarak daha çok gibi ya"},
    {greek,    "αβγδεζηθικλμνξοπρστυφχψωςάέήίόύώϊϋΐΰ", "και το να η ο της του από για με στο είναι δεν που θα σε την τα των δε"},
    {hebrew,   "אבגדהוזחטיכךלמםנןסעפףצץקרשת", "של את על לא הוא זה עם כל גם או אין לפני אם"},
    {cyrillic, "абвгдежзийклмнопрстуфхцчшщъыьэюяё", "и в не на что с по для это из к как от или но а о за"},
    {cyrillic, "абвгґдеєжзиіїйклмнопрстуфхцчшщьюя", "і в на не що з до для та це у за як від або й про"},
    {cyrillic, "абвгдежзийклмнопрстуфхцчшщъьюяѝ", "и в не на да се за от с е по като или са до към"},
    {cyrillic, "абвгдђежзијклљмнњопрстћуфхцчџш", "и у је се на да за са од не су или као о из"},
};
// clang-format on

/// A bit for each language.
using LanguageBits = std::uint32_t;
static_assert(std::size(languages) <= 32);

char32_t lowered(char32_t scalar)
{
    const auto small = static_cast<char32_t>(u_tolower(static_cast<UChar32>(scalar)));
    return scalar >= 0x80 && small < 0x80 ? scalar : small; // İ
}

struct Index {
    std::unordered_map<char32_t, LanguageBits> letters;
    std::unordered_map<std::string, LanguageBits> words;
    std::vector<std::string_view> sets;

    Index()
    {
        for (std::size_t row = 0; row < std::size(languages); ++row) {
            const LanguageBits bit = LanguageBits{1} << row;
            for (std::size_t at = 0; at < languages[row].letters.size();)
                letters[nextScalar(languages[row].letters, at)] |= bit;
            for (const std::string_view word : wordsAs<std::string_view>(languages[row].words))
                words[std::string{word}] |= bit;
            for (const std::string_view set : wordsAs<std::string_view>(languages[row].sets))
                if (std::find(sets.begin(), sets.end(), set) == sets.end())
                    sets.push_back(set);
        }
    }
};

const Index& index()
{
    static const Index index;
    return index;
}

struct Counts {
    std::array<int, std::size(languages)> each{};

    void add(LanguageBits bits)
    {
        for (std::size_t row = 0; bits != 0; ++row, bits >>= 1)
            each[row] += static_cast<int>(bits & 1);
    }
};

bool isLatin(const LanguageRow& language)
{
    constexpr char32_t firstGreek = 0x370;
    std::size_t at = 0;
    return nextScalar(language.letters, at) < firstGreek;
}

constexpr double signWeight = 0.95; // a sign that every language has proves a little less than a letter

double share(double part, int all) { return all == 0 ? 0.0 : part / all; }

} // namespace

std::span<const std::string_view> languageSets() { return index().sets; }

LanguageFit languageFit(std::string_view text, std::string_view set)
{
    Counts letters;
    Counts words;
    int allLetters = 0;
    int allWords = 0;
    int signs = 0; // which every language has
    std::string word;
    const auto endWord = [&] {
        if (word.size() < 2) { // letters that stand alone are in every language
            word.clear();
            return;
        }
        ++allWords;
        if (const auto found = index().words.find(word); found != index().words.end())
            words.add(found->second);
        word.clear();
    };
    for (std::size_t at = 0; at < text.size();) {
        const char32_t scalar = nextScalar(text, at);
        if (!u_isalpha(static_cast<UChar32>(scalar))) {
            endWord();
            signs += scalar >= 0x80;
            continue;
        }
        const char32_t small = lowered(scalar);
        appendScalar(word, small);
        if (scalar < 0x80)
            continue;
        ++allLetters;
        if (const auto found = index().letters.find(small); found != index().letters.end())
            letters.add(found->second);
    }
    endWord();
    LanguageFit best;
    double most = -1;
    for (std::size_t row = 0; row < std::size(languages); ++row) {
        if (!hasWord(languages[row].sets, set))
            continue;
        const LanguageFit fit{.letters = share(letters.each[row] + signWeight * signs, allLetters + signs),
                              .words = share(words.each[row], allWords),
                              .evidence = allLetters + words.each[row],
                              .isLatin = isLatin(languages[row])};
        if (fit.letters + fit.words > most) {
            most = fit.letters + fit.words;
            best = fit;
        }
    }
    return best;
}

} // namespace nivex
