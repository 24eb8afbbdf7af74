#include "NivexKit/Foundation/Files/LockedFolder.hpp"

#include "NivexKit/Foundation/Files/TreeRemoval.hpp"
#include "NivexKit/Foundation/Text/Uuid.hpp"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <exception>
#include <string>
#include <thread>

namespace nivex {

namespace fs = std::filesystem;

namespace {

using namespace std::chrono_literals;

/// A file carries the lock, because network volumes do not share locks on folders.
const std::string lockName = "lock";

/// How often another name is tried where a sweep cannot be kept away, because the folder cannot be locked.
constexpr int creationAttempts = 16;

/// How long a sweep that removes an empty folder is waited for. Somebody who only wants to be in the way gets no more.
constexpr auto longestWaitForSweep = 200ms;

bool isFolderName(std::string_view name, std::string_view prefix)
{
    if (!name.starts_with(prefix))
        return false;
    const std::string_view identifier = name.substr(prefix.size());
    const auto uuid = Uuid::parse(identifier);
    return uuid && uuid->text() == identifier;
}

/// Between the making of a folder and its lock a sweep must take it for a leftover, were it not for this: whoever makes
/// a folder holds the parent shared, and who removes one without a lock file holds it alone.
class ParentHold {
public:
    enum class Purpose { making, removing };

    ParentHold(const OpenFolder& parent, Purpose purpose)
        : descriptor_{::openat(parent.descriptor(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC)}
    {
        const int kind = (purpose == Purpose::making ? LOCK_SH : LOCK_EX) | LOCK_NB;
        const auto deadline = std::chrono::steady_clock::now() + longestWaitForSweep;
        while (!(isHeld_ = ::flock(descriptor_.get(), kind) == 0) && errno == EWOULDBLOCK &&
               purpose == Purpose::making && std::chrono::steady_clock::now() < deadline)
            std::this_thread::sleep_for(1ms);
    }
    ParentHold(const ParentHold&) = delete;
    ParentHold& operator=(const ParentHold&) = delete;
    ~ParentHold()
    {
        // Closing alone would leave the lock with a child that was forked meanwhile.
        if (isHeld_)
            ::flock(descriptor_.get(), LOCK_UN);
    }

    bool isHeld() const { return isHeld_; }

private:
    FileDescriptor descriptor_;
    bool isHeld_ = false;
};

/// Makes the lock file of a new folder and locks it. A volume without locks keeps its folders unlocked: there no sweep
/// can take a lock either, so nothing is ever removed.
FileDescriptor newLock(const OpenFolder& folder, const std::string& name)
{
    FileDescriptor file{
        ::openat(folder.descriptor(), lockName.c_str(), O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600)};
    if (!file.isOpen())
        return file;
    ::flock(file.get(), LOCK_EX | LOCK_NB);
    // Last, because it is what makes a sweep look at the lock.
    if (::write(file.get(), name.data(), name.size()) != static_cast<ssize_t>(name.size()))
        return {};
    return file;
}

bool isOwn(const struct stat& status) { return status.st_uid == ::geteuid(); }

/// What a lock file in a folder says of the folder.
struct LockFile {
    enum class Meaning {
        none,       // there is none, or it is not one that this user made for a folder of this very name
        unreadable, // the folder lets nobody look
        unwritten,  // whoever made it was killed before the name stood in it
        own,
    };
    Meaning meaning = Meaning::none;
    FileDescriptor file = {};
};

LockFile lockFile(const OpenFolder& folder, const std::string& name)
{
    FileDescriptor file = folder.openBelow(lockName, O_RDWR | O_NOFOLLOW | O_NONBLOCK);
    if (!file.isOpen())
        return {errno == EACCES ? LockFile::Meaning::unreadable : LockFile::Meaning::none};
    struct stat status {};
    if (::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode) || !isOwn(status) || status.st_nlink != 1)
        return {};
    if (status.st_size == 0)
        return {LockFile::Meaning::unwritten, std::move(file)};
    std::array<char, 64> text{};
    const ssize_t length = ::pread(file.get(), text.data(), text.size(), 0);
    if (length < 0 || std::string_view{text.data(), static_cast<std::size_t>(length)} != name)
        return {};
    return {LockFile::Meaning::own, std::move(file)};
}

/// False when the folder still stands under its name.
bool removeEntry(const OpenFolder& parent, const OpenFolder& folder, const std::string& name)
{
    const auto identity = folder.identity();
    return !identity || !parent.holds(name, *identity) ||
           ::unlinkat(parent.descriptor(), name.c_str(), AT_REMOVEDIR) == 0;
}

/// The lock file goes last: without it nobody would know the rest as ours. False when the folder stays.
bool removeWhole(const OpenFolder& parent, const OpenFolder& folder, const std::string& name) noexcept
{
    if (emptyFolder(folder, lockName))
        ::unlinkat(folder.descriptor(), lockName.c_str(), 0);
    return removeEntry(parent, folder, name);
}

/// False when it is a leftover and stays.
bool removeIfLeftover(const OpenFolder& parent, const std::string& name)
{
    const auto status = parent.entry(name);
    if (!status || !isOwn(*status) || !S_ISDIR(status->st_mode))
        return true;
    const auto folder = parent.folderBelow(name);
    if (!folder)
        return errno == ENOENT;
    const LockFile lock = lockFile(*folder, name);
    if (lock.meaning == LockFile::Meaning::own)
        return ::flock(lock.file.get(), LOCK_EX | LOCK_NB) != 0 || removeWhole(parent, *folder, name);
    if (const ParentHold hold{parent, ParentHold::Purpose::removing}; hold.isHeld()) {
        if (lock.meaning == LockFile::Meaning::unwritten && folder->names() == std::vector{lockName})
            ::unlinkat(folder->descriptor(), lockName.c_str(), 0);
        removeEntry(parent, *folder, name);
    }
    return lock.meaning != LockFile::Meaning::unreadable;
}

} // namespace

std::optional<LockedFolder> LockedFolder::create(const fs::path& parent, std::string_view prefix)
{
    const auto opened = OpenFolder::open(parent);
    return opened ? create(*opened, prefix) : std::nullopt;
}

std::optional<LockedFolder> LockedFolder::create(const OpenFolder& parent, std::string_view prefix)
{
    auto opened = parent.folderBelow({});
    if (!opened)
        return std::nullopt;
    const ParentHold hold{*opened, ParentHold::Purpose::making};
    for (int attempt = 0; attempt < creationAttempts; ++attempt) {
        const std::string name = std::string{prefix} + Uuid::random().text();
        if (::mkdirat(opened->descriptor(), name.c_str(), 0700) != 0)
            return std::nullopt;
        auto folder = opened->folderBelow(name);
        FileDescriptor lock = folder ? newLock(*folder, name) : FileDescriptor{};
        if (lock.isOpen())
            return LockedFolder{*std::move(opened), *std::move(folder), std::move(lock)};
        if (errno != ENOENT) {
            const int failure = errno;
            removeTree(*opened, name);
            errno = failure;
            return std::nullopt;
        }
    }
    errno = EBUSY;
    return std::nullopt;
}

void LockedFolder::remove() noexcept { removeWhole(parent_, folder_, folder_.location().filename()); }

std::vector<fs::path> LockedFolder::removeLeftovers(const fs::path& parent, std::string_view prefix)
{
    std::vector<fs::path> remaining;
    try {
        if (const auto opened = OpenFolder::open(parent))
            for (const std::string& name : opened->names())
                if (isFolderName(name, prefix) && !removeIfLeftover(*opened, name))
                    remaining.push_back(parent / name);
    } catch (const std::exception&) { // no memory for the names
    }
    return remaining;
}

} // namespace nivex
