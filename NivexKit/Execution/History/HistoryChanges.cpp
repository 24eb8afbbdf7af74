#include "NivexKit/Execution/History/HistoryChanges.hpp"

#include <algorithm>
#include <utility>

namespace nivex {

void HistoryChanges::add(HistoryEntry entry)
{
    added.insert(added.begin(), std::move(entry));
    if (added.size() > maxHistoryEntries)
        added.pop_back();
}

void HistoryChanges::remove(const std::unordered_set<Uuid>& ids)
{
    removed.insert(ids.begin(), ids.end());
    std::erase_if(added, [&](const HistoryEntry& entry) { return ids.contains(entry.id); });
}

void HistoryChanges::applyTo(std::vector<HistoryEntry>& entries) const
{
    if (cleared)
        entries.clear();
    std::erase_if(entries, [this](const HistoryEntry& entry) { return removed.contains(entry.id); });
    entries.insert(entries.begin(), added.begin(), added.end());
    entries.resize(std::min(entries.size(), maxHistoryEntries));
}

HistoryChanges inOrder(HistoryChanges earlier, HistoryChanges later)
{
    if (later.cleared)
        return later;
    earlier.remove(later.removed);
    later.applyTo(earlier.added);
    return earlier;
}

} // namespace nivex
