#include "NivexKit/Foundation/Text/CharacterSet.hpp"

#include "NivexKit/Foundation/Text/Ascii.hpp"
#include "NivexKit/Foundation/Text/Languages.hpp"
#include "NivexKit/Foundation/Text/Unicode.hpp"

#include <uchardet/uchardet.h>
#include <unicode/uchar.h>
#include <unicode/ucnv.h>
#include <unicode/uscript.h>

#include <algorithm>
#include <array>
#include <memory>
#include <vector>

namespace nivex {
namespace {

constexpr char32_t replacementCharacter = 0xFFFD;
constexpr std::string_view latin10Name = "ISO-8859-16";

// In the unit of plausibility.
constexpr double lettersWeight = 6;
constexpr double wordsWeight = 12;
constexpr double mostWords = 0.3; // a larger share of frequent words says no more
constexpr double trustInStatistics = 0.7;
constexpr double trustInAlphabets = 2.5;
constexpr double enoughEvidence = 8;          // letters beyond ASCII that make the statistics' word count in full
constexpr double presumedEvidence = 10;       // letters and words that halve what is presumed before they are looked at
constexpr std::size_t longestCompared = 4096; // bytes

struct NameRow {
    std::string_view detected;
    const char* converter; // by preference the wider set that makers of real files used under the narrower name
};

// clang-format off
constexpr NameRow names[] = {
    {"ISO-8859-1",        "windows-1252"},
    {"ISO-8859-9",        "windows-1254"},
    {"ISO-8859-11",       "windows-874"},
    {"TIS-620",           "windows-874"},
    {"EUC-KR",            "windows-949"},
    {"UHC",               "windows-949"},
    {"GB2312",            "GB18030"},
    {"ISO-8859-16",       "windows-1250"}, // the letters of Romanian stand alike; what differs is looked at by itself
    {"IBM852",            "cp852"},
    {"IBM866",            "cp866"},
    {"MAC-CENTRALEUROPE", "x-mac-centraleurroman"},
    {"MAC-CYRILLIC",      "x-mac-cyrillic"},
};
// clang-format on

struct CommonSet {
    std::string_view name;
    double head; // ahead of the others for being common, in the unit of plausibility
};

constexpr CommonSet commonSets[] = {{"windows-1252", 0.8}, {"ISO-8859-15", 0.7},  {"windows-1250", 0.3},
                                    {"windows-1251", 0.3}, {"windows-1254", 0.2}, {"windows-1257", 0.2},
                                    {"windows-1253", 0.2}, {"windows-1255", 0.2}};

// From 0xA0 on; ICU does not know this one.
constexpr std::string_view latin10 =
    "\u00A0ĄąŁ€„Š§š©Ș«Ź\u00ADźŻ°±ČłŽ”¶·žčș»ŒœŸżÀÁÂĂÄĆÆÇÈÉÊËÌÍÎÏĐŃÒÓÔŐÖŚŰÙÚÛÜĘȚßàáâăäćæçèéêëìíîïđńòóôőöśűùúûüęțÿ";

/// The converter's name of the set that statistics see; empty when they see none.
std::string detectedSet(std::string_view sample)
{
    const std::unique_ptr<uchardet, decltype(&uchardet_delete)> detector{uchardet_new(), uchardet_delete};
    uchardet_handle_data(detector.get(), sample.data(), sample.size());
    uchardet_data_end(detector.get());
    const std::string_view name = uchardet_get_charset(detector.get());
    // The text is known to be neither: an answer that statistics do give.
    if (name == "UTF-8" || name == "ASCII")
        return {};
    for (const NameRow& row : names)
        if (row.detected == name)
            return row.converter;
    for (const std::string_view set : languageSets())
        if (equalsIgnoringCase(set, name))
            return std::string{set};
    return std::string{name};
}

using Converter = std::unique_ptr<UConverter, decltype(&ucnv_close)>;

Converter openConverter(const char* name)
{
    UErrorCode status = U_ZERO_ERROR;
    return {ucnv_open(name, &status), ucnv_close};
}

/// What each byte means, in UTF-8.
class Meanings {
public:
    void set(std::size_t byte, char32_t scalar)
    {
        std::string meaning;
        appendScalar(meaning, scalar);
        std::copy(meaning.begin(), meaning.end(), rows_[byte].bytes);
        rows_[byte].length = static_cast<std::uint8_t>(meaning.size());
    }

    /// A text converted byte by byte.
    std::string of(std::string_view text) const
    {
        std::string result;
        // Three bytes are the longest meaning; one more lets every step write four.
        constexpr std::size_t chunk = 64 * 1024;
        std::vector<char> buffer(std::min(chunk, text.size()) * 3 + 4);
        for (std::size_t begin = 0; begin < text.size(); begin += chunk) {
            char* out = buffer.data();
            for (const char each : text.substr(begin, chunk)) {
                const Row& meaning = rows_[static_cast<unsigned char>(each)];
                std::copy_n(meaning.bytes, 4, out);
                out += meaning.length;
            }
            result.append(buffer.data(), out);
        }
        return result;
    }

private:
    struct Row {
        char bytes[4] = {};
        std::uint8_t length = 0;
    };
    std::array<Row, 256> rows_{};
};

Meanings meaningsIn(UConverter& from)
{
    Meanings meanings;
    for (std::size_t byte = 0; byte < 256; ++byte) {
        const char source = static_cast<char>(byte);
        UChar unit[2] = {};
        UErrorCode status = U_ZERO_ERROR;
        const std::int32_t units = ucnv_toUChars(&from, unit, 2, &source, 1, &status);
        meanings.set(byte, units == 1 ? unit[0] : replacementCharacter);
    }
    return meanings;
}

Meanings meaningsInLatin10()
{
    constexpr std::size_t firstOwn = 0xA0; // below it the bytes are their numbers
    Meanings meanings;
    for (std::size_t byte = 0; byte < firstOwn; ++byte)
        meanings.set(byte, static_cast<char32_t>(byte));
    std::size_t byte = firstOwn;
    for (std::size_t at = 0; at < latin10.size(); ++byte)
        meanings.set(byte, nextScalar(latin10, at));
    return meanings;
}

std::string convertedCharacters(std::string_view text, UConverter& from)
{
    const Converter to = openConverter("UTF-8");
    std::vector<char> buffer(64 * 1024);
    std::array<UChar, 4096> pivot{};
    UChar* pivotSource = pivot.data();
    UChar* pivotTarget = pivot.data();
    const char* source = text.data();
    std::string result;
    result.reserve(text.size() + text.size() / 2);
    UErrorCode status = U_BUFFER_OVERFLOW_ERROR;
    for (bool first = true; status == U_BUFFER_OVERFLOW_ERROR; first = false) {
        status = U_ZERO_ERROR;
        char* target = buffer.data();
        ucnv_convertEx(to.get(), &from, &target, buffer.data() + buffer.size(), &source, text.data() + text.size(),
                       pivot.data(), &pivotSource, &pivotTarget, pivot.data() + pivot.size(), first, true, &status);
        result.append(buffer.data(), target);
    }
    return result;
}

/// The script that a word is written in. Those that Japanese and Chinese mix count as one; -1 for what any text uses.
int scriptOf(char32_t scalar)
{
    UErrorCode status = U_ZERO_ERROR;
    const UScriptCode script = uscript_getScript(static_cast<UChar32>(scalar), &status);
    switch (script) {
    case USCRIPT_COMMON:
    case USCRIPT_INHERITED:
        return -1;
    case USCRIPT_HIRAGANA:
    case USCRIPT_KATAKANA:
    case USCRIPT_BOPOMOFO:
        return USCRIPT_HAN;
    default:
        return script;
    }
}

bool isLetter(char32_t scalar) { return u_isalpha(static_cast<UChar32>(scalar)) && scalar != U'ª' && scalar != U'º'; }
bool isUpper(char32_t scalar) { return u_isupper(static_cast<UChar32>(scalar)); }
bool isLower(char32_t scalar) { return u_islower(static_cast<UChar32>(scalar)) && isLetter(scalar); }
bool isGap(char32_t scalar)
{
    return u_isUWhiteSpace(static_cast<UChar32>(scalar)) || u_ispunct(static_cast<UChar32>(scalar));
}

bool isOneOf(char32_t scalar, std::u32string_view set) { return set.find(scalar) != std::u32string_view::npos; }

/// How well a letter fits between its neighbours.
int letterScore(char32_t before, char32_t scalar, char32_t after)
{
    const int script = scriptOf(scalar);
    for (const char32_t neighbour : {before, after})
        if (isLetter(neighbour) && scriptOf(neighbour) != script && scriptOf(neighbour) >= 0 && script >= 0)
            return script == USCRIPT_HAN || scriptOf(neighbour) == USCRIPT_HAN ? -4 : -6;
    if (isUpper(scalar)) {
        if (isLower(before))
            return -6;
        return isUpper(before) || isUpper(after) ? 4 : isLower(after) ? 5 : 1;
    }
    if (script == USCRIPT_LATIN) {
        if (isUpper(before) && isUpper(after))
            return -4;
        return 5;
    }
    return isLetter(before) || isLetter(after) ? 6 : 2;
}

/// How well a character that is no letter fits between its neighbours.
int symbolScore(char32_t before, char32_t scalar, char32_t after)
{
    const bool insideWord = isLetter(before) && isLetter(after);
    if (scalar == U'’')
        return insideWord ? 6 : isLetter(before) || isLetter(after) ? 3 : 1;
    if (isOneOf(scalar, U"«“‘„¿¡"))
        return isGap(before) && !isGap(after) ? 5 : isGap(before) ? 3 : -4;
    if (isOneOf(scalar, U"»”…"))
        return insideWord ? -4 : isGap(after) ? 4 : 1;
    if (isOneOf(scalar, U"–—·\u00A0\u00AD"))
        return insideWord ? -2 : 3;
    if (isOneOf(scalar, U"€£°§©®™½¼¾²³ªº×÷¥$"))
        return insideWord ? -6 : isLetter(before) && !isOneOf(scalar, U"°ªº®™²³") ? -3 : 2;
    return insideWord ? -6 : -4;
}

/// How much `text` looks like words, per doubtful character and in no unit; negative for what nobody writes.
double plausibility(std::string_view text)
{
    int total = 0;
    int count = 0;
    char32_t before = U' ';
    std::size_t position = 0;
    for (char32_t scalar = text.empty() ? U' ' : nextScalar(text, position); position <= text.size();) {
        const bool isLast = position == text.size();
        const char32_t after = isLast ? U' ' : nextScalar(text, position);
        if (scalar >= 0x80) {
            const int category = u_charType(static_cast<UChar32>(scalar));
            const bool isNothing = scalar == replacementCharacter || category == U_CONTROL_CHAR ||
                                   category == U_UNASSIGNED || category == U_PRIVATE_USE_CHAR;
            ++count;
            if (isNothing)
                total -= 16;
            else if (scriptOf(scalar) == USCRIPT_HAN || scriptOf(scalar) == USCRIPT_HANGUL)
                total += letterScore(before, scalar, after);
            else
                total += isLetter(scalar) ? letterScore(before, scalar, after) : symbolScore(before, scalar, after);
        }
        if (isLast)
            break;
        before = scalar;
        scalar = after;
    }
    return count == 0 ? 0.0 : static_cast<double>(total) / count;
}

bool isSingleByte(const std::string& name)
{
    const Converter converter = openConverter(name.c_str());
    return name == latin10Name || (converter && ucnv_getMaxCharSize(converter.get()) == 1);
}

/// How much `text` reads as words of some language that was written in the set. What is presumed of the set counts the
/// less the more there is to look at. Statistics tell alphabets apart more surely than languages of one alphabet.
double likelihood(std::string_view text, std::string_view set, bool isDetected)
{
    const LanguageFit fit = languageFit(text, set);
    const auto* common = std::ranges::find(commonSets, set, &CommonSet::name);
    double presumed = common == std::end(commonSets) ? 0.0 : common->head;
    if (isDetected)
        presumed += trustInStatistics * (0.5 + 0.5 * std::min(1.0, fit.evidence / enoughEvidence));
    return plausibility(text) + lettersWeight * fit.letters + wordsWeight * std::min(fit.words, mostWords) +
           presumed * presumedEvidence / (presumedEvidence + fit.evidence) +
           (isDetected && !fit.isLatin ? trustInAlphabets : 0.0);
}

} // namespace

std::optional<std::string> guessedCharacterSet(std::string_view sample)
{
    constexpr double leastPlausible = -3.0;
    const std::string detected = detectedSet(sample);
    std::string best;
    double bestScore = leastPlausible;
    const auto offer = [&](const std::string& name, double score) {
        if (score > bestScore) {
            bestScore = score;
            best = name;
        }
    };
    const auto sets = languageSets();
    const bool isKnown = std::ranges::find(sets, detected) != sets.end();
    if (const auto text = isKnown ? std::nullopt : converted(sample, detected)) {
        const double score = plausibility(*text);
        // Sets of several bytes a character have a grammar that chance rarely meets.
        if (!isSingleByte(detected) && score > 0)
            return detected;
        offer(detected, score + lettersWeight + trustInStatistics);
    }
    sample = sample.substr(0, longestCompared);
    for (const std::string_view name : sets)
        if (const auto text = converted(sample, std::string{name}))
            offer(std::string{name}, likelihood(*text, name, name == detected));
    return bestScore > leastPlausible ? std::optional{best} : std::nullopt;
}

std::optional<std::string> converted(std::string_view text, const std::string& characterSet)
{
    if (characterSet == latin10Name)
        return meaningsInLatin10().of(text);
    // The converter of an empty name would be that of the machine's own settings.
    const Converter from = characterSet.empty() ? Converter{nullptr, ucnv_close} : openConverter(characterSet.c_str());
    if (!from)
        return std::nullopt;
    return ucnv_getMaxCharSize(from.get()) == 1 ? meaningsIn(*from).of(text) : convertedCharacters(text, *from);
}

} // namespace nivex
