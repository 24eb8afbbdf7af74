#include "NivexKit/Foundation/Files/SharedFile.hpp"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <thread>

namespace nivex {

namespace fs = std::filesystem;

namespace {

constexpr mode_t ownerOnly = 0600;

std::error_code lastError() { return {errno, std::generic_category()}; }

bool writeAll(int descriptor, std::string_view contents)
{
    while (!contents.empty()) {
        const ssize_t written = ::write(descriptor, contents.data(), contents.size());
        if (written < 0 && errno == EINTR)
            continue;
        if (written < 0)
            return false;
        contents.remove_prefix(static_cast<std::size_t>(written));
    }
    return true;
}

/// Forces the entries of a folder to the disk. File systems that cannot do that are taken as they are.
void syncFolder(const fs::path& folder)
{
    const FileDescriptor descriptor{::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)};
    if (descriptor.isOpen())
        ::fsync(descriptor.get());
}

bool sameVersion(const struct stat& a, const struct stat& b)
{
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino && a.st_size == b.st_size &&
           a.st_mtim.tv_sec == b.st_mtim.tv_sec && a.st_mtim.tv_nsec == b.st_mtim.tv_nsec;
}

/// Waits for those who hold a file's lock as long as the file shows that they get on.
class Patience {
public:
    Patience(const fs::path& file, std::chrono::milliseconds longest)
        : file_{file}, longest_{longest}, seen_{status()}, end_{Clock::now() + longest}
    {
    }

    /// Lets some time pass; false at once when there is none left. Leaves errno as it is.
    bool waits()
    {
        const int error = errno;
        const struct stat current = status();
        const Clock::time_point now = Clock::now();
        if (!sameVersion(current, seen_)) {
            seen_ = current;
            end_ = now + longest_;
        }
        const bool isLeft = now < end_;
        if (isLeft)
            std::this_thread::sleep_for(std::min<Clock::duration>(step, end_ - now));
        errno = error;
        return isLeft;
    }

private:
    using Clock = std::chrono::steady_clock;
    static constexpr std::chrono::milliseconds step{5};

    /// All zero when there is no file.
    struct stat status() const
    {
        struct stat status {};
        if (::stat(file_.c_str(), &status) != 0)
            status = {};
        return status;
    }

    const fs::path& file_;
    std::chrono::milliseconds longest_;
    struct stat seen_;
    Clock::time_point end_;
};

} // namespace

SharedFile::Lock::~Lock()
{
    // Closing alone would leave the lock with a child that was forked meanwhile.
    if (descriptor_.isOpen())
        ::flock(descriptor_.get(), LOCK_UN);
}

SharedFile::SharedFile(fs::path location) : location_{std::move(location)}
{
    std::error_code failure;
    if (fs::is_symlink(location_, failure))
        if (fs::path target = fs::weakly_canonical(location_, failure); !failure)
            location_ = std::move(target);
}

std::optional<SharedFile::Lock> SharedFile::lock(std::error_code& failure, std::chrono::milliseconds patience) const
{
    fs::create_directories(location_.parent_path(), failure);
    if (failure)
        return std::nullopt;
    FileDescriptor descriptor{::open(beside(".lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, ownerOnly)};
    if (!descriptor.isOpen()) {
        failure = lastError();
        return std::nullopt;
    }
    Patience holder{location_, patience};
    while (::flock(descriptor.get(), LOCK_EX | LOCK_NB) != 0) {
        if (errno == EINTR || (errno == EWOULDBLOCK && holder.waits()))
            continue;
        failure = errno == EWOULDBLOCK ? std::make_error_code(std::errc::timed_out) : lastError();
        return std::nullopt;
    }
    return Lock{std::move(descriptor)};
}

std::optional<std::string> SharedFile::read(std::size_t maxBytes, std::error_code& failure)
{
    failure.clear();
    known_ = {};
    // Without O_NONBLOCK a pipe in place of the file would hold us here.
    FileDescriptor descriptor{::open(location_.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK)};
    if (!descriptor.isOpen()) {
        if (errno != ENOENT)
            failure = lastError();
        return std::nullopt;
    }
    struct stat status {};
    if (::fstat(descriptor.get(), &status) != 0 || !S_ISREG(status.st_mode)) {
        failure = std::make_error_code(std::errc::invalid_argument);
        return std::nullopt;
    }
    if (static_cast<std::uintmax_t>(status.st_size) > maxBytes) {
        failure = std::make_error_code(std::errc::file_too_large);
        return std::nullopt;
    }
    std::string contents(static_cast<std::size_t>(status.st_size), '\0');
    std::size_t filled = 0;
    while (filled < contents.size()) {
        const ssize_t count = ::read(descriptor.get(), contents.data() + filled, contents.size() - filled);
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0) {
            failure = lastError();
            return std::nullopt;
        }
        if (count == 0)
            break;
        filled += static_cast<std::size_t>(count);
    }
    contents.resize(filled);
    remember(std::move(descriptor));
    return contents;
}

bool SharedFile::hasChanged() const
{
    struct stat current {};
    if (::stat(location_.c_str(), &current) != 0)
        return known_.isOpen() || errno != ENOENT;
    return !known_.isOpen() || !sameVersion(current, knownStatus_);
}

std::error_code SharedFile::replace(const Lock&, std::string_view contents)
{
    // The lock makes us the only writer, so a fixed name will do: what a killed process left there is overwritten.
    const fs::path next = beside(".new");
    FileDescriptor descriptor{::open(next.c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOFOLLOW, ownerOnly)};
    if (!descriptor.isOpen())
        return lastError();
    if (!writeAll(descriptor.get(), contents) || ::fsync(descriptor.get()) != 0 ||
        ::rename(next.c_str(), location_.c_str()) != 0) {
        const std::error_code failure = lastError();
        ::unlink(next.c_str());
        return failure;
    }
    syncFolder(location_.parent_path());
    remember(std::move(descriptor));
    return {};
}

std::error_code SharedFile::setAside(const Lock&)
{
    for (int number = 1;; ++number) {
        fs::path free = location_.parent_path() / location_.stem();
        free += ".damaged-" + std::to_string(number);
        free += location_.extension();
        // A link refuses a name that is taken, which a rename would overwrite.
        if (::link(location_.c_str(), free.c_str()) == 0)
            break;
        if (errno != EEXIST)
            return lastError();
    }
    known_ = {};
    return ::unlink(location_.c_str()) == 0 ? std::error_code{} : lastError();
}

fs::path SharedFile::beside(std::string_view suffix) const
{
    fs::path name = "." + location_.filename().native();
    name += suffix;
    return location_.parent_path() / name;
}

void SharedFile::remember(FileDescriptor descriptor)
{
    known_ = {};
    if (::fstat(descriptor.get(), &knownStatus_) == 0)
        known_ = std::move(descriptor);
}

} // namespace nivex
