#include "NivexWorkers/Host/ForkServer.hpp"

#include "NivexWorkers/Host/Child.hpp"
#include "NivexWorkers/Host/JobByHand.hpp"
#include "NivexWorkers/Host/Sanitizers.hpp"

#include "NivexKit/Foundation/Files/FileDescriptor.hpp"
#include "NivexKit/Foundation/Files/StandardDescriptors.hpp"
#include "NivexKit/Workers/DescriptorPassing.hpp"

#include <dirent.h>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/signalfd.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <charconv>
#include <cstdio>
#include <cstring>
#include <map>
#include <optional>

namespace nivex::worker {
namespace {

/// Counts this process's threads; one thread cannot be overlooked, because the kernel does the counting.
int threadCount()
{
    DIR* tasks = ::opendir("/proc/self/task");
    if (!tasks)
        return 1;
    int count = 0;
    while (const dirent* entry = ::readdir(tasks))
        count += entry->d_name[0] != '.';
    ::closedir(tasks);
    return count;
}

class ForkServer {
public:
    ForkServer(const Handlers& handlers, int idleMilliseconds)
        : handlers_{handlers}, idleMilliseconds_{idleMilliseconds}
    {
        sigset_t childEnded;
        ::sigemptyset(&childEnded);
        ::sigaddset(&childEnded, SIGCHLD);
        ::sigprocmask(SIG_BLOCK, &childEnded, &maskOfChildren_);
        childEnds_ = FileDescriptor{::signalfd(-1, &childEnded, SFD_CLOEXEC | SFD_NONBLOCK)};
    }

    ~ForkServer()
    {
        for (const auto& [process, status] : children_)
            ::kill(process, SIGKILL);
    }

    /// Returns when the application has closed the control socket, or after a while without work. The first request
    /// is waited for however long it takes: a program is started for one, and one that left before it came would look
    /// like one that does not answer.
    void run()
    {
        for (;;) {
            pollfd waited[] = {{.fd = controlDescriptor, .events = POLLIN, .revents = 0},
                               {.fd = childEnds_.get(), .events = POLLIN, .revents = 0}};
            const int ready = ::poll(waited, 2, hasWorked_ && children_.empty() ? idleMilliseconds_ : -1);
            if (ready == 0)
                return;
            if (waited[1].revents != 0)
                collectChildren();
            if (waited[0].revents != 0 && !answerOnce())
                return;
        }
    }

private:
    bool answerOnce()
    {
        auto packet = receivePacket(controlDescriptor);
        if (!packet)
            return false;
        if (packet->text != forkPacket || packet->descriptors.size() != 2)
            return true;
        hasWorked_ = true;
        forkChild(std::move(packet->descriptors[0]), std::move(packet->descriptors[1]));
        return true;
    }

    void forkChild(FileDescriptor channel, FileDescriptor status)
    {
        const pid_t server = ::getpid();
        const pid_t process = ::fork();
        if (process == 0) {
            status = FileDescriptor{};
            becomeChild();
            runChild(channel.get(), server, handlers_);
        }
        if (process < 0)
            return; // the closed channels tell
        // The child is not collected before the next turn of the loop, so its number still means it.
        const FileDescriptor handle{static_cast<int>(::syscall(SYS_pidfd_open, process, 0))};
        const int passed[] = {handle.get()};
        if (!handle.isOpen() || !sendPacket(status.get(), startedPacket, passed))
            ::kill(process, SIGKILL); // nobody waits for it any more
        children_.emplace(process, std::move(status));
    }

    /// Closes what is the server's alone, and nothing else: libraries may hold open files since they were loaded.
    void becomeChild()
    {
        children_.clear();
        childEnds_ = FileDescriptor{};
        ::close(controlDescriptor);
        ::sigprocmask(SIG_SETMASK, &maskOfChildren_, nullptr);
    }

    void collectChildren()
    {
        signalfd_siginfo ignored;
        while (::read(childEnds_.get(), &ignored, sizeof ignored) > 0) {
        }
        int state = 0;
        for (pid_t process; (process = ::waitpid(-1, &state, WNOHANG)) > 0;) {
            const auto child = children_.find(process);
            if (child == children_.end())
                continue;
            const ChildEnd end{.exitCode = WIFEXITED(state) ? WEXITSTATUS(state) : 0,
                               .signal = WIFSIGNALED(state) ? WTERMSIG(state) : 0};
            sendPacket(child->second.get(), written(end));
            children_.erase(child);
        }
    }

    const Handlers& handlers_;
    int idleMilliseconds_;
    bool hasWorked_ = false;
    sigset_t maskOfChildren_{};
    FileDescriptor childEnds_;
    std::map<pid_t, FileDescriptor> children_; // each with the channel on which its end is told
};

/// How long to stay without work, from the only argument.
std::optional<int> idleTime(int argumentCount, char** arguments)
{
    if (argumentCount != 2)
        return std::nullopt;
    int milliseconds = 0;
    const char* end = arguments[1] + std::strlen(arguments[1]);
    if (std::from_chars(arguments[1], end, milliseconds).ptr != end || milliseconds < 0)
        return std::nullopt;
    return milliseconds;
}

bool hasControlSocket()
{
    int type = 0;
    socklen_t length = sizeof type;
    return ::getsockopt(controlDescriptor, SOL_SOCKET, SO_TYPE, &type, &length) == 0 && type == SOCK_SEQPACKET;
}

} // namespace

int serve(int argumentCount, char** arguments, const Handlers& handlers)
{
    openStandardDescriptors();
    if (argumentCount > 1 && std::string_view{arguments[1]} == byHandWord)
        return jobByHand({arguments + 2, arguments + argumentCount}, handlers);
    const auto idle = idleTime(argumentCount, arguments);
    if (!idle || !hasControlSocket()) {
        std::fputs("This program is started by NIVEX and is of no use alone, but for --by-hand.\n", stderr);
        return 2;
    }
    ::close_range(controlDescriptor + 1, ~0u, 0);
    ::fcntl(controlDescriptor, F_SETFD, FD_CLOEXEC);
    ::signal(SIGPIPE, SIG_IGN);
    if (handlers.warmUp)
        handlers.warmUp();
    // The thread sanitizer has a thread of its own, and takes care of it around a fork.
    if (!threadSanitized && threadCount() != 1) {
        std::fputs("A library started a thread before the first child was forked.\n", stderr);
        return 3;
    }
    ForkServer{handlers, *idle}.run();
    return 0;
}

} // namespace nivex::worker
