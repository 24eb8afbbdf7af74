#pragma once

#include "NivexKit/Execution/History/HistoryChanges.hpp"
#include "NivexKit/Foundation/Files/SharedFile.hpp"

#include <chrono>
#include <filesystem>
#include <utility>
#include <vector>

namespace nivex {

/// A history as its file holds it, which other processes of the user may change as well: no entry of theirs is lost.
/// A missing or damaged file is an empty history; a damaged one is set aside under another name before a new one is
/// written. One thread at a time; every member waits for the disk.
class StoredHistory {
public:
    enum class Saved { yes, lockIsHeld, no };

    explicit StoredHistory(std::filesystem::path location) : file_{std::move(location)} {}

    /// Reads the file. To be called once, before anything is saved.
    void load();
    /// As last read or written, newest first.
    const std::vector<HistoryEntry>& entries() const { return entries_; }

    /// Makes the changes in the file. A new entry goes in front of all that was known here; among those that other
    /// processes added meanwhile it takes its place by date. Where it does not succeed the file is as it was.
    ///
    /// patience  how long another process may hold the lock and do nothing
    Saved save(const HistoryChanges& changes, std::chrono::milliseconds patience);

    /// True, once, when a save has brought what other processes have done into the list.
    bool takeNews() { return std::exchange(hasNews_, false); }

private:
    using Entries = std::vector<HistoryEntry>;

    enum class Reading { done, damaged, impossible };

    Reading read(Entries& entries);
    bool takeOver(const SharedFile::Lock& lock, Entries& stored);

    SharedFile file_;
    bool isSound_ = false; // missing counts as sound; a damaged file must be set aside
    Entries entries_;
    bool hasNews_ = false;
};

} // namespace nivex
