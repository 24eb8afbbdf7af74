#include "NivexKit/Texts/Language.hpp"

#include "NivexKit/Foundation/EnumTable.hpp"
#include "NivexKit/Texts/EnglishTexts.hpp"

namespace nivex {
namespace {

struct LanguageRow {
    Language value;
    std::string_view stored;
};
constexpr LanguageRow languages[] = {
    {Language::french, "fr"},
    {Language::english, "en"},
};
static_assert(inCaseOrder(languages, Language::english));

} // namespace

std::string_view storedName(Language language) { return rowOf(languages, language).stored; }

std::optional<Language> languageStoredAs(std::string_view stored)
{
    return caseStoredAs(languages, stored.substr(0, stored.find_first_of("_-.@")));
}

void showTextsIn(Language language) { StringTable::use(language == Language::english ? &englishTexts() : nullptr); }

Language shownLanguage() { return StringTable::inUse() == &englishTexts() ? Language::english : Language::french; }

} // namespace nivex
