#include "NivexKit/Execution/History/StoredHistory.hpp"

#include "NivexKit/Execution/History/HistoryFile.hpp"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <optional>
#include <system_error>
#include <unordered_set>

namespace nivex {
namespace {

/// Many times what a full history takes: a file beyond that is not ours to load into memory.
constexpr std::size_t maxFileBytes = 64 * 1024 * 1024;

using Entries = std::vector<HistoryEntry>;

std::unordered_set<Uuid> idsOf(const Entries& entries)
{
    std::unordered_set<Uuid> ids;
    for (const HistoryEntry& each : entries)
        ids.insert(each.id);
    return ids;
}

/// The new entries among those that are stored: in front of all that were known, and among the others by date.
Entries merged(Entries stored, const Entries& added, const std::unordered_set<Uuid>& known)
{
    Entries all;
    all.reserve(stored.size() + added.size());
    auto next = stored.begin();
    for (const HistoryEntry& entry : added) {
        while (next != stored.end() && next->date > entry.date && !known.contains(next->id))
            all.push_back(std::move(*next++));
        all.push_back(entry);
    }
    all.insert(all.end(), std::move_iterator{next}, std::move_iterator{stored.end()});
    return all;
}

} // namespace

void StoredHistory::load() { isSound_ = read(entries_) == Reading::done; }

StoredHistory::Saved StoredHistory::save(const HistoryChanges& changes, std::chrono::milliseconds patience)
{
    std::error_code failure;
    const auto lock = file_.lock(failure, patience);
    if (!lock)
        return failure == std::errc::timed_out ? Saved::lockIsHeld : Saved::no;
    Entries next = entries_;
    if (!isSound_ || file_.hasChanged()) {
        if (!takeOver(*lock, next))
            return Saved::no;
        hasNews_ = true;
        const std::unordered_set<Uuid> known = idsOf(entries_);
        HistoryChanges withoutNew{.cleared = changes.cleared, .removed = changes.removed, .added = {}};
        withoutNew.removed.merge(idsOf(changes.added)); // an entry stands once
        withoutNew.applyTo(next);
        next = merged(std::move(next), changes.added, known);
        next.resize(std::min(next.size(), maxHistoryEntries));
    } else {
        changes.applyTo(next);
    }
    if (file_.replace(*lock, historyText(next)))
        return Saved::no;
    isSound_ = true;
    entries_ = std::move(next);
    return Saved::yes;
}

/// Puts what the file holds now in place of what was known; of one that is gone or damaged the known stays. False where
/// the file must not be replaced.
bool StoredHistory::takeOver(const SharedFile::Lock& lock, Entries& stored)
{
    switch (read(stored)) {
    case Reading::done:
        return true;
    case Reading::damaged:
        return !file_.setAside(lock);
    case Reading::impossible:
        return false;
    }
    return false;
}

StoredHistory::Reading StoredHistory::read(Entries& entries)
{
    std::error_code failure;
    const auto text = file_.read(maxFileBytes, failure);
    auto stored = text ? historyEntries(*text) : std::nullopt;
    if (stored)
        entries = *std::move(stored);
    if (failure == std::errc::file_too_large || (text && !stored))
        return Reading::damaged;
    return failure ? Reading::impossible : Reading::done;
}

} // namespace nivex
