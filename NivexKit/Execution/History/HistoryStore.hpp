#pragma once

#include "NivexKit/Execution/ConversionJob.hpp"
#include "NivexKit/Execution/History/HistoryEntry.hpp"
#include "NivexKit/Execution/History/HistoryRetention.hpp"
#include "NivexKit/Foundation/Files/SharedFile.hpp"
#include "NivexKit/Foundation/Files/UserFolders.hpp"
#include "NivexKit/Foundation/Running/MainLoop.hpp"
#include "NivexKit/Foundation/Running/ThreadConfinement.hpp"

#include <chrono>
#include <cstddef>
#include <filesystem>
#include <functional>
#include <memory>
#include <unordered_set>
#include <vector>

namespace nivex {

/// Past conversions, newest first, kept in one file that other processes of the user may write as well: no entry of
/// theirs is lost, and `entries` shows theirs after the next change. Main thread only: every member checks it and stops
/// the program otherwise.
///
/// A missing or damaged file is an empty history; a damaged one is set aside under another name before a new one is
/// written. Where saving fails the list in memory stays as it is, and the next save writes what this one could not.
/// Another process that holds the file's lock and does nothing delays a store without a main loop once, and the end of
/// each, by `SharedFile::usualPatience`; a store with a main loop tries again later instead.
class HistoryStore {
public:
    static constexpr std::size_t maxEntries = 5'000;

    using Clock = std::function<HistoryDate()>;
    static HistoryDate systemClock();

    /// How long a recorded entry waits for others to be saved with it.
    static constexpr std::chrono::milliseconds saveDelay{250};

    /// Loads the file and forgets what is older than `retention` allows. With a main loop, which must outlive the
    /// store, what is recorded within `saveDelay` is saved at once by one write; without one each record is saved by
    /// itself.
    HistoryStore(std::filesystem::path fileURL, HistoryRetention retention, Clock clock = systemClock,
                 MainLoop* mainLoop = nullptr);
    HistoryStore(const HistoryStore&) = delete;
    HistoryStore& operator=(const HistoryStore&) = delete;
    /// Saves what still waits.
    ~HistoryStore();

    /// "History.json" in the user's data folder.
    static std::filesystem::path defaultFileURL(const Environment& environment);

    const std::vector<HistoryEntry>& entries() const;
    const std::filesystem::path& fileURL() const { return fileURL_; }

    HistoryRetention retention() const;
    /// Applies at once to what is there.
    void setRetention(HistoryRetention retention);

    /// Puts an entry in front and drops the oldest ones over `maxEntries`; nothing while the retention is `off`.
    void record(HistoryEntry entry);
    /// The same for a finished job, under the identifier of the job.
    void record(const ConversionJob& job);

    /// Forgets the entries that lie further before `now` than the retention allows.
    void prune(HistoryDate now);
    void remove(const std::unordered_set<Uuid>& ids);
    void clear();

    /// Called after each change of the entries or the retention.
    std::function<void()> onChange;

private:
    /// What happened here since the file was last written.
    struct Unsaved {
        std::vector<HistoryEntry> added; // newest first
        std::unordered_set<Uuid> removed;
        bool cleared = false; // before the others

        bool isEmpty() const { return added.empty() && removed.empty() && !cleared; }
    };

    void load();
    void forgetExpired(HistoryDate now);
    void dropOverflow();
    void saveSoon();
    void awaitSave();
    void save();
    void save(std::chrono::milliseconds patience);
    bool takeOver(const SharedFile::Lock& lock);
    void merge(std::vector<HistoryEntry> stored);
    void changed();

    ThreadConfinement mainThread_;
    std::filesystem::path fileURL_;
    SharedFile file_;
    bool isFileSound_ = false; // missing counts as sound; a damaged one must be set aside
    HistoryRetention retention_;
    Clock clock_;
    MainLoop* mainLoop_;
    std::vector<HistoryEntry> entries_;
    Unsaved unsaved_;
    bool isLockStuck_ = false;                // the last wait for the lock was in vain
    std::shared_ptr<const bool> awaitedSave_; // there while the main loop is to save; a save at once takes it away
};

} // namespace nivex
