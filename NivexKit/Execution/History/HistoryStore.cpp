#include "NivexKit/Execution/History/HistoryStore.hpp"

#include "NivexKit/Execution/History/HistoryFile.hpp"
#include "NivexKit/Foundation/Bytes/Base64.hpp"
#include "NivexKit/Foundation/Text/Unicode.hpp"

#include <algorithm>
#include <iterator>

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

/// Many times what 5,000 entries take: a file beyond that is not ours to load into memory.
constexpr std::size_t maxFileBytes = 64 * 1024 * 1024;

using Entries = std::vector<HistoryEntry>;

std::unordered_set<Uuid> idsOf(const Entries& entries)
{
    std::unordered_set<Uuid> ids;
    for (const HistoryEntry& each : entries)
        ids.insert(each.id);
    return ids;
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

HistoryDate HistoryStore::systemClock() { return historyDate(std::chrono::system_clock::now()); }

HistoryStore::HistoryStore(fs::path fileURL, HistoryRetention retention, Clock clock, MainLoop* mainLoop)
    : fileURL_{std::move(fileURL)}, file_{fileURL_}, retention_{retention}, clock_{std::move(clock)}, mainLoop_{
                                                                                                          mainLoop}
{
    load();
    prune(clock_());
}

HistoryStore::~HistoryStore()
{
    mainThread_.check();
    if (awaitedSave_)
        save(SharedFile::usualPatience);
}

fs::path HistoryStore::defaultFileURL(const Environment& environment)
{
    return UserFolders::of(environment).data / "History.json";
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
    prune(clock_());
    changed();
}

void HistoryStore::record(HistoryEntry entry)
{
    mainThread_.check();
    if (retention_ == HistoryRetention::off)
        return;
    unsaved_.added.insert(unsaved_.added.begin(), entry);
    entries_.insert(entries_.begin(), std::move(entry));
    dropOverflow();
    saveSoon();
    changed();
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
    const std::size_t before = entries_.size();
    forgetExpired(now);
    if (entries_.size() == before)
        return;
    save();
    changed();
}

void HistoryStore::remove(const std::unordered_set<Uuid>& ids)
{
    mainThread_.check();
    const auto isGone = [&](const HistoryEntry& entry) { return ids.contains(entry.id); };
    unsaved_.removed.insert(ids.begin(), ids.end());
    std::erase_if(unsaved_.added, isGone);
    std::erase_if(entries_, isGone);
    save();
    changed();
}

void HistoryStore::clear()
{
    mainThread_.check();
    unsaved_ = {.added = {}, .removed = {}, .cleared = true};
    entries_.clear();
    save();
    changed();
}

void HistoryStore::load()
{
    std::error_code failure;
    const auto text = file_.read(maxFileBytes, failure);
    auto stored = text ? historyEntries(*text) : std::nullopt;
    isFileSound_ = stored || (!text && !failure);
    if (stored)
        entries_ = std::move(*stored);
}

void HistoryStore::forgetExpired(HistoryDate now)
{
    const std::optional<std::chrono::seconds> age = maximumAge(retention_);
    if (!age)
        return;
    std::erase_if(entries_, [&](const HistoryEntry& entry) {
        const bool isExpired = now - entry.date > *age;
        if (isExpired)
            unsaved_.removed.insert(entry.id);
        return isExpired;
    });
    std::erase_if(unsaved_.added, [&](const HistoryEntry& entry) { return unsaved_.removed.contains(entry.id); });
}

void HistoryStore::dropOverflow()
{
    if (entries_.size() > maxEntries)
        entries_.resize(maxEntries);
    if (unsaved_.added.size() > maxEntries)
        unsaved_.added.resize(maxEntries);
}

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
        if (awaited.expired())
            return;
        save();
        changed(); // with what other processes have added
    });
}

void HistoryStore::save()
{
    const bool tryOnly = mainLoop_ || isLockStuck_;
    save(tryOnly ? std::chrono::milliseconds{0} : SharedFile::usualPatience);
    if (isLockStuck_ && mainLoop_)
        awaitSave();
}

void HistoryStore::save(std::chrono::milliseconds patience)
{
    awaitedSave_.reset();
    dropOverflow();
    std::error_code failure;
    const auto lock = file_.lock(failure, patience);
    isLockStuck_ = failure == std::errc::timed_out;
    if (!lock || !takeOver(*lock) || file_.replace(*lock, historyText(entries_)))
        return;
    isFileSound_ = true;
    unsaved_ = {};
}

/// Brings what other processes have stored meanwhile into the list. False where the file must not be replaced.
bool HistoryStore::takeOver(const SharedFile::Lock& lock)
{
    if (isFileSound_ && !file_.hasChanged())
        return true;
    std::error_code failure;
    const auto text = file_.read(maxFileBytes, failure);
    if (failure && failure != std::errc::file_too_large)
        return false;
    auto stored = text ? historyEntries(*text) : std::nullopt;
    const bool isDamaged = (text && !stored) || failure;
    if (isDamaged && file_.setAside(lock))
        return false;
    if (stored)
        merge(std::move(*stored));
    return true;
}

/// Makes the list of what is stored and of what happened here. A new entry goes in front of all that was known here;
/// among those that other processes added meanwhile it takes its place by date.
void HistoryStore::merge(Entries stored)
{
    if (unsaved_.cleared)
        stored.clear();
    std::erase_if(stored, [&](const HistoryEntry& entry) { return unsaved_.removed.contains(entry.id); });
    const std::unordered_set<Uuid> known = idsOf(entries_);
    std::erase_if(unsaved_.added, [&](const HistoryEntry& entry) { return !known.contains(entry.id); });
    const std::unordered_set<Uuid> added = idsOf(unsaved_.added);
    std::erase_if(stored, [&](const HistoryEntry& entry) { return added.contains(entry.id); });

    Entries merged;
    merged.reserve(stored.size() + unsaved_.added.size());
    auto next = stored.begin();
    for (const HistoryEntry& entry : unsaved_.added) {
        while (next != stored.end() && next->date > entry.date && !known.contains(next->id))
            merged.push_back(std::move(*next++));
        merged.push_back(entry);
    }
    merged.insert(merged.end(), std::make_move_iterator(next), std::make_move_iterator(stored.end()));
    if (merged.size() > maxEntries)
        merged.resize(maxEntries);
    entries_ = std::move(merged);
}

void HistoryStore::changed()
{
    if (onChange)
        onChange();
}

} // namespace nivex
