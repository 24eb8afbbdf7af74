#include "NivexKit/Foundation/Text/StringTable.hpp"

#include <algorithm>
#include <atomic>

namespace nivex {
namespace {

std::atomic<const StringTable::Translation*> translationInUse = nullptr;

std::string_view wording(std::string_view french)
{
    const auto* rows = StringTable::inUse();
    if (rows == nullptr)
        return french;
    const auto row =
        std::lower_bound(rows->begin(), rows->end(), french,
                         [](const StringTable::Row& each, std::string_view key) { return each.french < key; });
    return row != rows->end() && row->french == french ? row->translation : french;
}

} // namespace

void StringTable::use(const Translation* translation)
{
    translationInUse.store(translation, std::memory_order_release);
}

const StringTable::Translation* StringTable::inUse() { return translationInUse.load(std::memory_order_acquire); }

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
