#include "NivexKit/Execution/History/HistoryStore.hpp"

#include "NivexKit/Foundation/Bytes/Base64.hpp"
#include "NivexKit/Foundation/Text/Unicode.hpp"

#include <algorithm>
#include <future>
#include <optional>

namespace nivex {

namespace fs = std::filesystem;

namespace {

/// A path as the history keeps it: it must still lead to the file when the program runs in another folder.
fs::path fullPath(const fs::path& path)
{
    std::error_code failure;
    const fs::path absolute = fs::absolute(path, failure);
    return failure ? path : absolute.lexically_normal();
}

/// What tells the path where its text cannot.
std::string bytesBeside(const fs::path& path)
{
    return isValidUtf8(path.native()) ? std::string{} : base64(path.native());
}

struct FinishedState {
    HistoryEntry& entry;

    void operator()(const ConversionJob::Succeeded& state) const
    {
        entry.status = HistoryEntry::Status::succeeded;
        for (const fs::path& output : state.outcome.outputs) {
            const fs::path path = fullPath(output);
            entry.outputPaths.push_back(shownPath(path));
            entry.outputPathsBytes.push_back(bytesBeside(path));
        }
        if (std::ranges::all_of(entry.outputPathsBytes, &std::string::empty))
            entry.outputPathsBytes.clear();
        entry.outputBytes = state.outcome.totalBytes;
        entry.warnings = state.outcome.warnings;
    }
    void operator()(const ConversionJob::Failed& state) const
    {
        entry.status = HistoryEntry::Status::failed;
        entry.message = state.message;
    }
    template <class Other>
    void operator()(const Other&) const
    {
        entry.status = HistoryEntry::Status::cancelled;
    }
};

HistoryDate historyDate(std::chrono::system_clock::time_point time)
{
    return std::chrono::floor<HistoryDate::duration>(time);
}

} // namespace

/// One visit to the file: reading it the first time, else writing the changes.
struct HistoryStore::Visit {
    bool isFirst = false;
    HistoryChanges changes = {};
    std::chrono::milliseconds patience{0};

    // What came of it:
    StoredHistory::Saved saved = StoredHistory::Saved::yes;
    std::optional<std::vector<HistoryEntry>> entries = {}; // where they are other than was known
    std::promise<void> ended = {};

    /// On the thread that visits.
    void run(StoredHistory& stored)
    {
        if (isFirst)
            stored.load();
        else
            saved = stored.save(changes, patience);
        if (isFirst || (saved == StoredHistory::Saved::yes && stored.takeNews()))
            entries = stored.entries();
    }
};

HistoryDate HistoryStore::systemClock() { return historyDate(std::chrono::system_clock::now()); }

HistoryStore::HistoryStore(fs::path fileURL, HistoryRetention retention, Clock clock, MainLoop* mainLoop)
    : fileURL_{std::move(fileURL)}, retention_{retention}, clock_{std::move(clock)}, mainLoop_{mainLoop}, stored_{
                                                                                                              fileURL_}
{
    begin(std::make_shared<Visit>(Visit{.isFirst = true}));
}

HistoryStore::~HistoryStore()
{
    observers_ = {};
    settle();
}

fs::path HistoryStore::defaultFileURL(const Environment& environment)
{
    return UserFolders::of(environment).data / "History.json";
}

bool HistoryStore::isLoaded() const
{
    mainThread_.check();
    return isLoaded_;
}

const std::vector<HistoryEntry>& HistoryStore::entries() const
{
    mainThread_.check();
    return entries_;
}

HistoryRetention HistoryStore::retention() const
{
    mainThread_.check();
    return retention_;
}

void HistoryStore::setRetention(HistoryRetention retention)
{
    mainThread_.check();
    retention_ = retention;
    if (forgetExpired(clock_()))
        save();
    observers_.tell();
}

void HistoryStore::record(HistoryEntry entry)
{
    mainThread_.check();
    if (retention_ == HistoryRetention::off)
        return;
    unsaved_.add(entry);
    entries_.insert(entries_.begin(), std::move(entry));
    entries_.resize(std::min(entries_.size(), maxEntries));
    saveSoon();
    observers_.tell();
}

void HistoryStore::record(const ConversionJob& job)
{
    mainThread_.check();
    if (retention_ == HistoryRetention::off || !job.isFinished())
        return;
    HistoryEntry entry;
    entry.id = job.id;
    entry.date = job.finishedAt ? historyDate(*job.finishedAt) : clock_();
    entry.sourceName = shownPath(job.source.fileName());
    if (!job.others.empty())
        entry.sourceName += " + " + std::to_string(job.others.size());
    const fs::path sourcePath = fullPath(job.source.url);
    entry.sourcePath = shownPath(sourcePath);
    entry.sourcePathBytes = bytesBeside(sourcePath);
    entry.sourceFormat = job.source.format ? job.source.format->id : job.plan.source.id;
    entry.targetFormat = job.plan.target.id;
    std::visit(FinishedState{entry}, job.state);
    record(std::move(entry));
}

void HistoryStore::prune(HistoryDate now)
{
    mainThread_.check();
    if (!forgetExpired(now))
        return;
    save();
    observers_.tell();
}

void HistoryStore::remove(const std::unordered_set<Uuid>& ids)
{
    mainThread_.check();
    unsaved_.remove(ids);
    std::erase_if(entries_, [&](const HistoryEntry& entry) { return ids.contains(entry.id); });
    save();
    observers_.tell();
}

void HistoryStore::clear()
{
    mainThread_.check();
    unsaved_ = {.cleared = true, .removed = {}, .added = {}};
    entries_.clear();
    save();
    observers_.tell();
}

void HistoryStore::settle()
{
    mainThread_.check();
    waitForVisits();
    if (unsaved_.isEmpty())
        return;
    save(SharedFile::usualPatience);
    waitForVisits();
}

Observation HistoryStore::observe(std::function<void()> observer)
{
    mainThread_.check();
    return observers_.add(std::move(observer));
}

/// True when there was anything to forget.
bool HistoryStore::forgetExpired(HistoryDate now)
{
    const std::optional<std::chrono::seconds> age = maximumAge(retention_);
    if (!age)
        return false;
    std::unordered_set<Uuid> expired;
    for (const HistoryEntry& each : entries_)
        if (now - each.date > *age)
            expired.insert(each.id);
    if (expired.empty())
        return false;
    unsaved_.remove(expired);
    std::erase_if(entries_, [&](const HistoryEntry& entry) { return expired.contains(entry.id); });
    return true;
}

// Saving

/// Writing the whole list takes longer than many conversions, so a batch must not pay for it with each of its files.
void HistoryStore::saveSoon()
{
    if (mainLoop_)
        awaitSave();
    else
        save();
}

void HistoryStore::awaitSave()
{
    if (awaitedSave_)
        return;
    awaitedSave_ = std::make_shared<const bool>();
    mainLoop_->postAfter(saveDelay, [this, awaited = std::weak_ptr{awaitedSave_}] {
        if (!awaited.expired())
            save();
    });
}

void HistoryStore::save()
{
    const bool tryOnly = mainLoop_ || isLockHeld_;
    save(tryOnly ? std::chrono::milliseconds{0} : SharedFile::usualPatience);
}

void HistoryStore::save(std::chrono::milliseconds patience)
{
    awaitedSave_.reset();
    isSaveDue_ = visit_ != nullptr;
    if (!isSaveDue_ && !unsaved_.isEmpty())
        begin(std::make_shared<Visit>(Visit{.changes = std::exchange(unsaved_, {}), .patience = patience}));
}

void HistoryStore::begin(std::shared_ptr<Visit> visit)
{
    visit_ = visit;
    if (!mainLoop_) {
        visit->run(stored_);
        return finish(*visit);
    }
    thread_.post([this, visit = std::move(visit)] {
        visit->run(stored_);
        mainLoop_->post([this, weak = std::weak_ptr{visit}] {
            if (const auto ended = weak.lock(); ended && ended == visit_) // not when somebody has waited for it
                finish(*ended);
        });
        visit->ended.set_value();
    });
}

void HistoryStore::finish(Visit& visit)
{
    visit_.reset();
    isLockHeld_ = visit.saved == StoredHistory::Saved::lockIsHeld;
    if (visit.saved != StoredHistory::Saved::yes)
        unsaved_ = inOrder(std::move(visit.changes), std::move(unsaved_));
    else if (visit.entries)
        unsaved_.applyTo(entries_ = *std::move(visit.entries));
    if (visit.isFirst) {
        isLoaded_ = true;
        isSaveDue_ = forgetExpired(clock_()) || isSaveDue_;
    }
    if (std::exchange(isSaveDue_, false))
        save();
    else if (isLockHeld_ && mainLoop_)
        awaitSave();
    observers_.tell();
}

/// Finishes each as the main loop would.
void HistoryStore::waitForVisits()
{
    while (const auto visit = visit_) {
        visit->ended.get_future().wait();
        finish(*visit);
    }
}

} // namespace nivex
