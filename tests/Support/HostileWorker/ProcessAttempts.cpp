#include "tests/Support/HostileWorker/Attempts.hpp"

#include <fcntl.h>
#include <linux/close_range.h>
#include <linux/sockios.h>
#include <sched.h>
#include <signal.h>
#include <spawn.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/ptrace.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <thread>

namespace nivex::testing {
namespace {

namespace fs = std::filesystem;

std::string startedProgram()
{
    char name[] = "/bin/true";
    char* const arguments[] = {name, nullptr};
    errno = ::posix_spawn(nullptr, name, nullptr, nullptr, arguments, nullptr);
    return outcome(errno == 0 ? 0 : -1);
}

std::string becameProgram()
{
    char name[] = "/bin/true";
    char* const arguments[] = {name, nullptr};
    return outcome(::execv(name, arguments));
}

/// By the call that the C library no longer makes.
std::string forkedTheOldWay()
{
#if defined(__x86_64__)
    const long child = ::syscall(SYS_fork);
    if (child == 0)
        ::_exit(0);
    return outcome(child);
#else
    return "EPERM"; // there is none
#endif
}

/// Forks without end, children included; "done" when a single fork works.
std::string forkedWithoutEnd()
{
    std::string last = "done";
    for (int i = 0; i < 1'000; ++i) {
        const pid_t child = ::fork();
        if (child == 0)
            ::_exit(0);
        if (child > 0)
            return "done";
        last = outcome(child);
    }
    return last;
}

std::string raisedLimit()
{
    const rlimit none{.rlim_cur = RLIM_INFINITY, .rlim_max = RLIM_INFINITY};
    return outcome(::setrlimit(RLIMIT_FSIZE, &none));
}

std::string loweredLimitOfParent()
{
    const rlimit none{.rlim_cur = 0, .rlim_max = 0};
    return outcome(::prlimit(::getppid(), RLIMIT_NOFILE, &none, nullptr));
}

std::string limitsInForce()
{
    std::string text;
    for (const auto resource : {RLIMIT_AS, RLIMIT_CPU, RLIMIT_FSIZE, RLIMIT_CORE}) {
        rlimit limit{};
        ::getrlimit(resource, &limit);
        text += std::to_string(limit.rlim_cur) + " ";
    }
    return text;
}

/// What a codec does in a normal day; "done" when all of it works.
std::string didWhatCodecsDo(const EngineRequest& request)
{
    const fs::path folder = request.workingDirectory;
    int sum = 0;
    std::thread{[&sum] { sum = 1; }}.join();
    if (sum != 1)
        return "no thread";
    for (const char* path :
         {"/usr/lib", "/usr/share", "/etc/ld.so.cache", "/dev/urandom", "/proc/self/status", "/dev/null"})
        if (const std::string result = opened(path, O_RDONLY); result != "done")
            return std::string{path} + ": " + result;
    if (opened("/dev/null", O_WRONLY) != "done")
        return "no /dev/null";
    fs::create_directories(folder / "a" / "b");
    fs::copy_file(request.input, folder / "a" / "copy");
    fs::rename(folder / "a" / "copy", folder / "a" / "b" / "copy");
    const int copy = ::open("a/b/copy", O_RDWR | O_CLOEXEC);
    if (::ftruncate(copy, 1) != 0 || ::isatty(copy) || errno != ENOTTY || ::fcntl(copy, F_SETFL, O_APPEND) != 0)
        return "a file of its own does not obey";
    ::close(copy);
    fs::remove_all(folder / "a");
    if (const char* temporary = std::getenv("TMPDIR"); !temporary || folder != temporary)
        return "TMPDIR is elsewhere";
    if (::raise(0) != 0)
        return "no signal to itself";
    return "done";
}

/// A descriptor that could tell a process by a signal that there is something to read.
int telling()
{
    int ends[2];
    return ::pipe(ends) == 0 ? ends[0] : -1;
}

std::string ownedByParent()
{
    f_owner_ex owner{.type = F_OWNER_PID, .pid = ::getppid()};
    return outcome(::fcntl(telling(), F_SETOWN_EX, &owner));
}

std::string ownedByParentThroughDevice(unsigned long command)
{
    pid_t owner = ::getppid();
    return outcome(::ioctl(telling(), command, &owner));
}

std::string tellingStarted()
{
    int on = 1;
    return outcome(::ioctl(telling(), FIOASYNC, &on));
}

/// A system call by its number, with arguments that the kernel would refuse for a reason of its own.
std::string called(long number) { return outcome(::syscall(number, -1L, -1L, -1L, -1L, -1L, -1L)); }

/// A thread with a table of descriptors of its own, which no limit would count together with the first.
std::string partedThread()
{
    static char stack[4096];
    const auto leave = [](void*) { return 0; };
    return outcome(::clone(leave, stack + sizeof stack, CLONE_VM | CLONE_SIGHAND | CLONE_THREAD, nullptr));
}

} // namespace

std::string outcome(long result) { return result >= 0 ? "done" : ::strerrorname_np(errno); }

Attempts attemptsOnProcesses()
{
    // clang-format off
    return {
        {"connect",           [](auto&) { return outcome(::socket(AF_INET, SOCK_STREAM, 0)); }},
        {"local socket",      [](auto&) { return outcome(::socket(AF_UNIX, SOCK_STREAM, 0)); }},
        {"start program",     [](auto&) { return startedProgram(); }},
        {"become program",    [](auto&) { return becameProgram(); }},
        {"fork",              [](auto&) { return forkedWithoutEnd(); }},
        {"old fork",          [](auto&) { return forkedTheOldWay(); }},
        {"signal parent",     [](auto&) { return outcome(::kill(::getppid(), SIGTERM)); }},
        {"signal group",      [](auto&) { return outcome(::kill(0, SIGTERM)); }},
        {"signal everybody",  [](auto&) { return outcome(::kill(-1, SIGTERM)); }},
        {"signal object",     [](auto& request) { return outcome(::kill(std::stoi(request.baseName), SIGTERM)); }},
        {"own",               [](auto&) { return outcome(::fcntl(telling(), F_SETOWN, ::getppid())); }},
        {"own by type",       [](auto&) { return ownedByParent(); }},
        {"own by device",     [](auto&) { return ownedByParentThroughDevice(FIOSETOWN); }},
        {"own by socket",     [](auto&) { return ownedByParentThroughDevice(SIOCSPGRP); }},
        {"choose signal",     [](auto&) { return outcome(::fcntl(telling(), F_SETSIG, SIGKILL)); }},
        {"tell",              [](auto&) { return outcome(::fcntl(telling(), F_SETFL, O_ASYNC)); }},
        {"tell by device",    [](auto&) { return tellingStarted(); }},
        {"tell from opening", [](auto&) { return opened("/dev/null", O_RDONLY | O_ASYNC); }},
        {"tell of folder",    [](auto&) { return outcome(::fcntl(::open(".", O_RDONLY), F_NOTIFY, DN_CREATE)); }},
        {"trace parent",      [](auto&) { return outcome(::ptrace(PTRACE_ATTACH, ::getppid(), nullptr, nullptr)); }},
        {"parent's memory",   [](auto&) { return opened("/proc/" + std::to_string(::getppid()) + "/mem", O_RDONLY); }},
        {"outlive",           [](auto&) { return outcome(::prctl(PR_SET_PDEATHSIG, 0)); }},
        {"raise limit",       [](auto&) { return raisedLimit(); }},
        {"parent's limits",   [](auto&) { return loweredLimitOfParent(); }},
        {"part thread",       [](auto&) { return partedThread(); }},
        {"part descriptors",  [](auto&) { return outcome(::syscall(SYS_close_range, 900, 901, CLOSE_RANGE_UNSHARE)); }},
        {"namespace",         [](auto&) { return outcome(::unshare(CLONE_NEWUSER)); }},
        {"own ring",          [](auto&) { return outcome(::syscall(SYS_io_uring_setup, 1, nullptr)); }},
        {"counters",          [](auto&) { return outcome(::syscall(SYS_perf_event_open, nullptr, 0, -1, -1, 0)); }},
        {"keys",              [](auto&) { return outcome(::syscall(SYS_keyctl, 0, -3, 0)); }},
        {"call",              [](auto& request) { return called(std::stol(request.baseName)); }},
        {"call of the future", [](auto&) { return outcome(::syscall(463, 0, 0, 0)); }},
        {"limits",            [](auto&) { return limitsInForce(); }},
        {"codec",             [](auto& request) { return didWhatCodecsDo(request); }},
        {"parent",            [](auto&) { return std::to_string(::getppid()); }},
    };
    // clang-format on
}

} // namespace nivex::testing
