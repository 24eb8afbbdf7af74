#pragma once

#include "NivexKit/Execution/ConversionJob.hpp"
#include "NivexKit/Execution/History/HistoryChanges.hpp"
#include "NivexKit/Execution/History/HistoryEntry.hpp"
#include "NivexKit/Execution/History/HistoryRetention.hpp"
#include "NivexKit/Execution/History/StoredHistory.hpp"
#include "NivexKit/Foundation/Files/UserFolders.hpp"
#include "NivexKit/Foundation/Running/BlockingWork.hpp"
#include "NivexKit/Foundation/Running/MainLoop.hpp"
#include "NivexKit/Foundation/Running/Observers.hpp"
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
/// With a main loop the file is read and written on a thread of its own, and no member but `settle` and the destructor
/// waits for it: the list begins empty and is told of when it has been read. Without one the file is read and written
/// at once.
///
/// Where saving fails the list in memory stays as it is, and the next save writes what this one could not. While
/// another process holds the file's lock and does nothing, a store with a main loop tries again and again; one without
/// waits for `SharedFile::usualPatience` once, and then only tries.
class HistoryStore {
public:
    static constexpr std::size_t maxEntries = maxHistoryEntries;

    using Clock = std::function<HistoryDate()>;
    static HistoryDate systemClock();

    /// How long a recorded entry waits for others to be saved with it.
    static constexpr std::chrono::milliseconds saveDelay{250};

    /// Loads the file and forgets what is older than `retention` allows. With a main loop, which must outlive the
    /// store, what is recorded within `saveDelay` is saved by one write; without one each record is saved by itself.
    HistoryStore(std::filesystem::path fileURL, HistoryRetention retention, Clock clock = systemClock,
                 MainLoop* mainLoop = nullptr);
    HistoryStore(const HistoryStore&) = delete;
    HistoryStore& operator=(const HistoryStore&) = delete;
    /// Settles.
    ~HistoryStore();

    /// "History.json" in the user's data folder.
    static std::filesystem::path defaultFileURL(const Environment& environment);

    /// False until the file has been read: then `entries` are only what has been recorded since.
    bool isLoaded() const;
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

    /// Waits until the file has been read and holds every change, or another process has kept its lock in vain for
    /// `SharedFile::usualPatience`. For programs that show the history once and end.
    void settle();

    /// Tells an observer after each change of the entries or the retention, until what is returned is let go.
    [[nodiscard]] Observation observe(std::function<void()> observer);

private:
    struct Visit;

    bool forgetExpired(HistoryDate now);
    void saveSoon();
    void awaitSave();
    void save();
    void save(std::chrono::milliseconds patience);
    void begin(std::shared_ptr<Visit> visit);
    void finish(Visit& visit);
    void waitForVisits();

    ThreadConfinement mainThread_;
    std::filesystem::path fileURL_;
    HistoryRetention retention_;
    Clock clock_;
    MainLoop* mainLoop_;
    std::vector<HistoryEntry> entries_; // with all changes
    bool isLoaded_ = false;
    HistoryChanges unsaved_; // those that no visit has taken along
    Observers<> observers_;
    bool isLockHeld_ = false;                 // as the last visit found it
    bool isSaveDue_ = false;                  // as soon as the visit under way has ended
    std::shared_ptr<const bool> awaitedSave_; // there while the main loop is to save; a save at once takes it away
    std::shared_ptr<Visit> visit_;            // the one under way

    StoredHistory stored_;                // belongs to the visit under way
    SerialQueue thread_{"nivex.history"}; // the last member: its visits end before what they use
};

} // namespace nivex
