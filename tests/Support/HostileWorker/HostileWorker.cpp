// A worker program that misbehaves on request: the name of the engine is the name of the misdeed, and the base name of
// the outputs is its object where it needs one.
#include "NivexWorkers/Host/ForkServer.hpp"

#include <fcntl.h>
#include <linux/capability.h>
#include <sched.h>
#include <signal.h>
#include <spawn.h>
#include <sys/prctl.h>
#include <sys/ptrace.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <map>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace {

namespace fs = std::filesystem;
using nivex::EngineRequest;
using nivex::ProgressCallback;

/// What became of a system call.
std::string outcome(long result) { return result >= 0 ? "done" : ::strerrorname_np(errno); }

std::string opened(const fs::path& path, int flags) { return outcome(::open(path.c_str(), flags | O_CLOEXEC, 0600)); }

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
    fs::resize_file(folder / "a" / "b" / "copy", 1);
    fs::remove_all(folder / "a");
    if (const char* temporary = std::getenv("TMPDIR"); !temporary || folder != temporary)
        return "TMPDIR is elsewhere";
    if (::raise(0) != 0)
        return "no signal to itself";
    return "done";
}

using Attempt = std::function<std::string(const EngineRequest&)>;

const fs::path object(const EngineRequest& request) { return request.baseName; }

// clang-format off
const std::map<std::string, Attempt> attempts = {
    {"read elsewhere",   [](auto& request) { return opened(object(request), O_RDONLY); }},
    {"list elsewhere",   [](auto& request) { return opened(object(request).parent_path(), O_RDONLY | O_DIRECTORY); }},
    {"write elsewhere",  [](auto& request) { return opened(object(request), O_WRONLY); }},
    {"create elsewhere", [](auto& request) { return opened(object(request).string() + "-new", O_WRONLY | O_CREAT); }},
    {"remove elsewhere", [](auto& request) { return outcome(::unlink(object(request).c_str())); }},
    {"empty elsewhere",  [](auto& request) { return outcome(::truncate(object(request).c_str(), 0)); }},
    {"open to empty",    [](auto& request) { return opened(object(request), O_RDONLY | O_TRUNC); }},
    {"permit elsewhere", [](auto& request) { return outcome(::chmod(object(request).c_str(), 0777)); }},
    {"write input",      [](auto& request) { return opened(request.input, O_WRONLY); }},
    {"remove input",     [](auto& request) { return outcome(::unlink(request.input.c_str())); }},
    {"permit input",     [](auto& request) { return outcome(::chmod(request.input.c_str(), 0777)); }},
    {"take input",       [](auto& request) { return outcome(::rename(request.input.c_str(), "taken")); }},
    {"link input",       [](auto& request) { return outcome(::link(request.input.c_str(), "linked")); }},
    {"make link",        [](auto&) { return outcome(::symlink("/etc/passwd", "linked")); }},
    {"make pipe",        [](auto&) { return outcome(::mkfifo("pipe", 0600)); }},
    {"connect",          [](auto&) { return outcome(::socket(AF_INET, SOCK_STREAM, 0)); }},
    {"local socket",     [](auto&) { return outcome(::socket(AF_UNIX, SOCK_STREAM, 0)); }},
    {"start program",    [](auto&) { return startedProgram(); }},
    {"become program",   [](auto&) { return becameProgram(); }},
    {"fork",             [](auto&) { return forkedWithoutEnd(); }},
    {"signal parent",    [](auto&) { return outcome(::kill(::getppid(), SIGTERM)); }},
    {"signal group",     [](auto&) { return outcome(::kill(0, SIGTERM)); }},
    {"signal everybody", [](auto&) { return outcome(::kill(-1, SIGTERM)); }},
    {"signal object",    [](auto& request) { return outcome(::kill(std::stoi(request.baseName), SIGTERM)); }},
    {"trace parent",     [](auto&) { return outcome(::ptrace(PTRACE_ATTACH, ::getppid(), nullptr, nullptr)); }},
    {"parent's memory",  [](auto&) { return opened("/proc/" + std::to_string(::getppid()) + "/mem", O_RDONLY); }},
    {"outlive",          [](auto&) { return outcome(::prctl(PR_SET_PDEATHSIG, 0)); }},
    {"raise limit",      [](auto&) { return raisedLimit(); }},
    {"parent's limits",  [](auto&) { return loweredLimitOfParent(); }},
    {"namespace",        [](auto&) { return outcome(::unshare(CLONE_NEWUSER)); }},
    {"own ring",         [](auto&) { return outcome(::syscall(SYS_io_uring_setup, 1, nullptr)); }},
    {"counters",         [](auto&) { return outcome(::syscall(SYS_perf_event_open, nullptr, 0, -1, -1, 0)); }},
    {"keys",             [](auto&) { return outcome(::syscall(SYS_keyctl, 0, -3, 0)); }},
    {"limits",           [](auto&) { return limitsInForce(); }},
    {"codec",            [](auto& request) { return didWhatCodecsDo(request); }},
    {"parent",           [](auto&) { return std::to_string(::getppid()); }},
};
// clang-format on

/// The stream socket among the open descriptors.
int channel()
{
    for (int descriptor = 3; descriptor < 64; ++descriptor) {
        int type = 0;
        socklen_t length = sizeof type;
        if (::getsockopt(descriptor, SOL_SOCKET, SO_TYPE, &type, &length) == 0 && type == SOCK_STREAM)
            return descriptor;
    }
    throw std::logic_error{"no channel"};
}

/// Says something on the channel behind the host's back.
void say(std::string_view text)
{
    while (!text.empty()) {
        const ssize_t count = ::write(channel(), text.data(), text.size());
        if (count <= 0)
            ::_exit(0);
        text.remove_prefix(static_cast<std::size_t>(count));
    }
}

/// Tells who it is and then stays for ever.
[[noreturn]] void stay(const EngineRequest& request, const ProgressCallback& progress)
{
    std::ofstream{request.workingDirectory / "processes"} << ::getpid() << ' ' << ::getppid();
    progress(0.5);
    for (;;)
        ::pause();
}

[[noreturn]] void allocateWithoutEnd()
{
    for (;;) // lost on purpose: only the limit ends this
        *static_cast<volatile char*>(::operator new(16 << 20)) = 1;
}

/// As C libraries do: they find no memory and abort.
[[noreturn]] void allocateAndAbort()
{
    while (void* block = std::malloc(1 << 20))
        *static_cast<volatile char*>(block) = 1;
    std::abort();
}

void writeWithoutEnd()
{
    const std::string block(1 << 20, 'x');
    std::ofstream file{"large"};
    while (file << block) {
    }
}

void printWithoutEnd()
{
    const std::string block(1 << 20, 'x');
    for (int i = 0; i < 64; ++i)
        for (const int stream : {STDOUT_FILENO, STDERR_FILENO})
            if (::write(stream, block.data(), block.size()) < 0)
                return;
}

using Misdeed = std::function<void(const EngineRequest&, const ProgressCallback&)>;

// clang-format off
const std::map<std::string, Misdeed> misdeeds = {
    {"crash",           [](auto&, auto&) { ::raise(SIGSEGV); }},
    {"crash writing",   [](auto&, auto&) { std::ofstream{"partial"} << "half"; ::raise(SIGSEGV); }},
    {"leave",           [](auto&, auto&) { ::_exit(0); }},
    {"stay",            [](auto& request, auto& progress) { stay(request, progress); }},
    {"spin",            [](auto&, auto&) { for (volatile bool forever = true; forever;) {} }},
    {"allocate",        [](auto&, auto&) { allocateWithoutEnd(); }},
    {"allocate abort",  [](auto&, auto&) { allocateAndAbort(); }},
    {"large file",      [](auto&, auto&) { writeWithoutEnd(); }},
    {"print",           [](auto&, auto&) { printWithoutEnd(); }},
    {"throw",           [](auto&, auto&) { throw std::runtime_error{"jargon of a library"}; }},
    {"close",           [](auto&, auto&) { ::close(channel()); for (;;) ::pause(); }},
    {"flood of lines",  [](auto&, auto&) { for (;;) say("{\"progress\":0.5}\n"); }},
    {"flood of bytes",  [](auto&, auto&) { for (;;) say(std::string(65536, 'x')); }},
    {"partial message", [](auto&, auto&) { say("{\"result\":{\"outp"); ::_exit(0); }},
    {"bad UTF-8",       [](auto&, auto&) { say("{\"error\":{\"kind\":\"unsupported\",\"detail\":\"\xFF\"}}\n"); }},
    {"nonsense",        [](auto&, auto&) { say("hello\n"); }},
    {"other result",    [](auto&, auto&) { say("{\"result\":{\"properties\":{}}}\n"); }},
    {"outside",         [](auto&, auto&) { say("{\"result\":{\"outputs\":[\"../input\"]}}\n"); }},
    {"missing file",    [](auto&, auto&) { say("{\"result\":{\"outputs\":[\"nothing\"]}}\n"); }},
};
// clang-format on

std::vector<fs::path> convert(const nivex::EngineID& engine, const EngineRequest& request,
                              const ProgressCallback& progress)
{
    const fs::path output = request.workingDirectory / "output";
    if (const auto attempt = attempts.find(engine.rawValue); attempt != attempts.end()) {
        std::ofstream{output} << attempt->second(request);
        return {output};
    }
    if (const auto misdeed = misdeeds.find(engine.rawValue); misdeed != misdeeds.end())
        misdeed->second(request, progress);
    progress(1.0);
    fs::copy_file(request.input, request.outputLocation());
    return {request.outputLocation()};
}

} // namespace

int main(int argumentCount, char** arguments)
{
    return nivex::worker::serve(argumentCount, arguments,
                                {
                                    .warmUp = {},
                                    .libraries =
                                        [] {
                                            return std::vector<nivex::LibraryVersion>{{"libhostile", "1.0"}};
                                        },
                                    .convert = convert,
                                    .probe =
                                        [](const auto&, const auto& request) {
                                            return nivex::SourceProperties{
                                                .pixelWidth = static_cast<std::int64_t>(fs::file_size(request.input))};
                                        },
                                    .render = {},
                                });
}
