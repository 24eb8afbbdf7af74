#include "NivexKit/Workers/WorkerServer.hpp"

#include "NivexKit/Workers/DescriptorPassing.hpp"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>

#include <cstdlib>
#include <string>
#include <vector>

namespace nivex {
namespace {

using namespace std::chrono_literals;

constexpr auto startTime = 20s; // for the first child, which waits until the program has loaded its libraries
constexpr auto waitInterval = 20ms;
constexpr auto leavingTime = 2s; // for a program that is told to end

/// What a worker program sees of the environment: enough to find fonts and to name times, nothing that could turn a
/// library's head. The options of the sanitizers are for those who develop NIVEX.
std::vector<std::string> workerEnvironment()
{
    std::vector<std::string> result{"LANG=C.UTF-8", "LC_ALL=C.UTF-8"};
    for (const char* name : {"HOME", "TZ", "ASAN_OPTIONS", "UBSAN_OPTIONS", "TSAN_OPTIONS"})
        if (const char* value = std::getenv(name))
            result.push_back(std::string{name} + "=" + value);
    return result;
}

std::vector<char*> pointers(std::vector<std::string>& texts)
{
    std::vector<char*> result;
    for (std::string& text : texts)
        result.push_back(text.data());
    result.push_back(nullptr);
    return result;
}

/// What the new process does before it becomes the program: it keeps the control socket and the three standard
/// descriptors, and leaves this program's session, so that a terminal's signals do not reach it.
class SpawnPlan {
public:
    SpawnPlan(int control, bool showsErrors)
    {
        ::posix_spawn_file_actions_init(&files_);
        ::posix_spawn_file_actions_adddup2(&files_, control, controlDescriptor);
        ::posix_spawn_file_actions_addopen(&files_, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
        ::posix_spawn_file_actions_addopen(&files_, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
        if (!showsErrors)
            ::posix_spawn_file_actions_addopen(&files_, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
        ::posix_spawn_file_actions_addclosefrom_np(&files_, controlDescriptor + 1);
        sigset_t none;
        sigset_t all;
        ::sigemptyset(&none);
        ::sigfillset(&all);
        ::posix_spawnattr_init(&attributes_);
        ::posix_spawnattr_setsigmask(&attributes_, &none);
        ::posix_spawnattr_setsigdefault(&attributes_, &all);
        ::posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSID | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    }
    SpawnPlan(const SpawnPlan&) = delete;
    SpawnPlan& operator=(const SpawnPlan&) = delete;
    ~SpawnPlan()
    {
        ::posix_spawnattr_destroy(&attributes_);
        ::posix_spawn_file_actions_destroy(&files_);
    }

    pid_t spawn(std::vector<std::string> arguments) const
    {
        std::vector<std::string> environment = workerEnvironment();
        pid_t process = -1;
        const bool started = ::posix_spawn(&process, arguments.front().c_str(), &files_, &attributes_,
                                           pointers(arguments).data(), pointers(environment).data()) == 0;
        return started ? process : -1;
    }

private:
    posix_spawn_file_actions_t files_;
    posix_spawnattr_t attributes_;
};

} // namespace

std::unique_ptr<WorkerServer> WorkerServer::start(const std::filesystem::path& program, const Start& how)
{
    auto control = packetSockets();
    if (!control)
        return nullptr;
    const SpawnPlan plan{control->second.get(), how.showsErrors};
    const pid_t process = plan.spawn({program.native(), std::to_string(how.idleTime.count())});
    if (process < 0)
        return nullptr;
    // Nobody else waits for this process, so its number still means it.
    FileDescriptor descriptor{static_cast<int>(::syscall(SYS_pidfd_open, process, 0))};
    if (!descriptor.isOpen()) {
        ::kill(process, SIGKILL);
        ::waitpid(process, nullptr, 0);
        return nullptr;
    }
    return std::unique_ptr<WorkerServer>{
        new WorkerServer{std::move(control->first), ProcessHandle{std::move(descriptor)}, how.endingTime}};
}

WorkerServer::~WorkerServer()
{
    control_ = FileDescriptor{}; // which tells it to end
    if (!process_.waitForEnd(leavingTime) && process_.kill())
        process_.waitForEnd(endingTime_);
    siginfo_t ignored; // one that the kernel holds longer is left to it
    ::waitid(P_PIDFD, static_cast<id_t>(process_.descriptor()), &ignored, WEXITED | WNOHANG);
}

bool WorkerServer::hasEnded() const { return process_.waitForEnd(0ms); }

std::unique_ptr<WorkerChild> WorkerServer::fork(const CancellationFlag& cancellation) const
{
    auto channel = streamSockets();
    auto status = packetSockets();
    if (!channel || !status)
        return nullptr;
    const int passed[] = {channel->second.get(), status->second.get()};
    if (!sendPacket(control_.get(), forkPacket, passed))
        return nullptr;
    channel->second = FileDescriptor{};
    status->second = FileDescriptor{};
    for (auto waited = 0ms; !waitReadable(status->first.get(), waitInterval); waited += waitInterval) {
        cancellation.check();
        if (waited > startTime)
            return nullptr;
    }
    auto answer = receivePacket(status->first.get());
    if (!answer || answer->text != startedPacket || answer->descriptors.size() != 1)
        return nullptr;
    return std::make_unique<WorkerChild>(std::move(channel->first), std::move(status->first),
                                         ProcessHandle{std::move(answer->descriptors.front())}, endingTime_);
}

} // namespace nivex
