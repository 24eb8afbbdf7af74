#include "NivexKit/Foundation/Files/TreeRemoval.hpp"

#include "NivexKit/Foundation/Text/Uuid.hpp"

#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>
#include <exception>

namespace nivex {
namespace {

/// Sets the permissions of what a descriptor stands for, which may have been opened as a mere path.
void setMode(int of, mode_t mode) { ::chmod(("/proc/self/fd/" + std::to_string(of)).c_str(), mode); }

void makeMutable(const OpenFolder& folder, const std::string& name)
{
    const FileDescriptor entry = folder.openBelow(name, O_RDONLY | O_NOFOLLOW | O_NONBLOCK);
    int flags = 0;
    if (!entry.isOpen() || ::ioctl(entry.get(), FS_IOC_GETFLAGS, &flags) != 0)
        return;
    flags &= ~(FS_IMMUTABLE_FL | FS_APPEND_FL);
    ::ioctl(entry.get(), FS_IOC_SETFLAGS, &flags);
}

/// Does something to an entry, and once more with the obstacles out of the way.
template <class Act>
bool insistently(const OpenFolder& folder, const std::string& name, Act act)
{
    if (act() == 0 || errno == ENOENT)
        return true;
    if (errno != EPERM)
        return false;
    makeMutable(folder, ".");
    makeMutable(folder, name);
    return act() == 0;
}

bool unlinkEntry(const OpenFolder& folder, const std::string& name, int flags)
{
    return insistently(folder, name, [&] { return ::unlinkat(folder.descriptor(), name.c_str(), flags); });
}

/// A folder below, made accessible to its owner.
std::optional<OpenFolder> accessible(const OpenFolder& parent, const std::string& name)
{
    const FileDescriptor path = parent.openBelow(name, O_PATH | O_DIRECTORY | O_NOFOLLOW);
    struct stat status {};
    if (!path.isOpen() || ::fstat(path.get(), &status) != 0)
        return std::nullopt;
    if ((status.st_mode & S_IRWXU) != S_IRWXU)
        setMode(path.get(), S_IRWXU);
    return parent.folderBelow(name);
}

/// Empties a folder tree by lifting each folder of it to the top before it is removed: no depth is ever walked down.
class Flattening {
public:
    Flattening(const OpenFolder& top, std::string_view except) : top_{top}, except_{except} {}

    bool run()
    {
        lift(top_);
        while (!folders_.empty()) {
            const std::string name = std::move(folders_.back());
            folders_.pop_back();
            if (const auto folder = accessible(top_, name))
                lift(*folder);
            isComplete_ = unlinkEntry(top_, name, AT_REMOVEDIR) && isComplete_;
        }
        return isComplete_;
    }

private:
    /// Removes the files of a folder, and moves its folders to the top.
    void lift(const OpenFolder& from)
    {
        for (const std::string& name : from.names()) {
            const auto status = from.entry(name);
            if (!status || (&from == &top_ && name == except_))
                continue;
            if (!S_ISDIR(status->st_mode))
                isComplete_ = unlinkEntry(from, name, 0) && isComplete_;
            else if (&from == &top_)
                folders_.push_back(name);
            else
                raise(from, name);
        }
    }

    void raise(const OpenFolder& from, const std::string& name)
    {
        accessible(from, name); // moving a folder changes its way up, for which it must be writable
        std::string raised = Uuid::random().text();
        const auto move = [&] {
            return ::renameat(from.descriptor(), name.c_str(), top_.descriptor(), raised.c_str());
        };
        if (insistently(from, name, move))
            folders_.push_back(std::move(raised));
        else
            isComplete_ = false;
    }

    const OpenFolder& top_;
    std::string_view except_;
    std::vector<std::string> folders_; // at the top, not yet removed
    bool isComplete_ = true;
};

} // namespace

bool emptyFolder(const OpenFolder& folder, std::string_view except) noexcept
{
    try {
        struct stat status {};
        if (::fstat(folder.descriptor(), &status) == 0 && (status.st_mode & S_IRWXU) != S_IRWXU)
            setMode(folder.descriptor(), S_IRWXU);
        return Flattening{folder, except}.run();
    } catch (const std::exception&) { // no memory for the names
        return false;
    }
}

bool removeTree(const OpenFolder& parent, const std::string& name) noexcept
{
    try {
        const auto status = parent.entry(name);
        if (!status)
            return errno == ENOENT;
        if (!S_ISDIR(status->st_mode))
            return unlinkEntry(parent, name, 0);
        const auto folder = accessible(parent, name);
        return folder && emptyFolder(*folder) && unlinkEntry(parent, name, AT_REMOVEDIR);
    } catch (const std::exception&) {
        return false;
    }
}

} // namespace nivex
