#include "NivexKit/Foundation/StringTable.hpp"

#include "NivexKit/Foundation/EnumTable.hpp"

#include <algorithm>
#include <atomic>

namespace nivex {
namespace {

std::atomic<Language> languageInUse = Language::french;

struct LanguageRow {
    Language value;
    std::string_view stored;
};
constexpr LanguageRow languages[] = {
    {Language::french, "fr"},
    {Language::english, "en"},
};
static_assert(inCaseOrder(languages, Language::english));

std::string_view wording(std::string_view french)
{
    if (StringTable::language() == Language::french)
        return french;
    const auto rows = StringTable::english();
    const auto row =
        std::lower_bound(rows.begin(), rows.end(), french,
                         [](const StringTable::Row& each, std::string_view key) { return each.french < key; });
    return row != rows.end() && row->french == french ? row->english : french;
}

} // namespace

std::string_view storedName(Language language) { return rowOf(languages, language).stored; }

std::optional<Language> languageStoredAs(std::string_view stored)
{
    return caseStoredAs(languages, stored.substr(0, stored.find_first_of("_-.@")));
}

void StringTable::use(Language language) { languageInUse.store(language, std::memory_order_relaxed); }

Language StringTable::language() { return languageInUse.load(std::memory_order_relaxed); }

std::string Text::localized() const { return std::string{wording(french)}; }

std::string filled(Text pattern, std::initializer_list<std::string_view> values)
{
    const std::string_view text = wording(pattern.french);
    std::string result;
    std::size_t position = 0;
    for (const std::string_view value : values) {
        const std::size_t gap = text.find("{}", position);
        if (gap == std::string_view::npos)
            break;
        result.append(text, position, gap - position).append(value);
        position = gap + 2;
    }
    return result.append(text, position, std::string_view::npos);
}

} // namespace nivex
