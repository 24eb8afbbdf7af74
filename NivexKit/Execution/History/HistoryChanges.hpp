#pragma once

#include "NivexKit/Execution/History/HistoryEntry.hpp"
#include "NivexKit/Foundation/Text/Uuid.hpp"

#include <cstddef>
#include <unordered_set>
#include <vector>

namespace nivex {

/// A history holds no more entries; the oldest go first.
inline constexpr std::size_t maxHistoryEntries = 5'000;

/// What has happened to a history and its file does not show yet.
struct HistoryChanges {
    bool cleared = false; // before the others
    std::unordered_set<Uuid> removed;
    std::vector<HistoryEntry> added; // newest first

    bool isEmpty() const { return !cleared && removed.empty() && added.empty(); }

    void add(HistoryEntry entry);
    void remove(const std::unordered_set<Uuid>& ids);

    /// Makes them in a list, newest first.
    void applyTo(std::vector<HistoryEntry>& entries) const;
};

/// All changes, where one lot came after the other.
HistoryChanges inOrder(HistoryChanges earlier, HistoryChanges later);

} // namespace nivex
