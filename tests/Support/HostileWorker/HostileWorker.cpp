// A worker program that misbehaves on request: the name of the engine is the name of the misdeed, and the base name of
// the outputs is its object where it needs one.
#include "NivexWorkers/Host/ForkServer.hpp"

#include "tests/Support/HostileWorker/Attempts.hpp"

#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

#include <charconv>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <map>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace nivex::testing {
namespace {

namespace fs = std::filesystem;

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

/// As deaf as a process can be: every signal that can be is ignored and blocked.
[[noreturn]] void ignoreEverything(const EngineRequest& request, const ProgressCallback& progress)
{
    sigset_t all;
    ::sigfillset(&all);
    ::sigprocmask(SIG_BLOCK, &all, nullptr);
    for (int each = 1; each < NSIG; ++each)
        ::signal(each, SIG_IGN);
    stay(request, progress);
}

/// Stops itself as a terminal's user might, after telling who it is.
[[noreturn]] void stop(const EngineRequest& request, const ProgressCallback& progress)
{
    ::signal(SIGCONT, SIG_IGN);
    std::ofstream{request.workingDirectory / "processes"} << ::getpid() << ' ' << ::getppid();
    progress(0.5);
    for (;;)
        ::raise(SIGSTOP);
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
    {"ignore",          [](auto& request, auto& progress) { ignoreEverything(request, progress); }},
    {"stop",            [](auto& request, auto& progress) { stop(request, progress); }},
    {"spin",            [](auto&, auto&) { for (volatile bool forever = true; forever;) {} }},
    {"allocate",        [](auto&, auto&) { allocateWithoutEnd(); }},
    {"allocate abort",  [](auto&, auto&) { allocateAndAbort(); }},
    {"large file",      [](auto&, auto&) { writeWithoutEnd(); }},
    {"print",           [](auto&, auto&) { printWithoutEnd(); }},
    {"warn",            [](auto& request, auto&) { request.warn("Une ligne manque."); }},
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

fs::path writtenAs(const EngineRequest& request, const std::string& name, std::string_view contents)
{
    std::ofstream{request.workingDirectory / name} << contents;
    return request.workingDirectory / name;
}

std::vector<fs::path> writeThousandFiles(const EngineRequest& request)
{
    std::vector<fs::path> files;
    for (int number = 1; number <= 1'000; ++number)
        files.push_back(writtenAs(request, std::to_string(number) + ".png", "\x89PNG\r\n\x1A\n"));
    return files;
}

std::vector<fs::path> writeLauncher(const EngineRequest& request)
{
    return {writtenAs(request, "evil.desktop", "[Desktop Entry]\nType=Application\nExec=sh\n")};
}

std::vector<fs::path> writeScript(const EngineRequest& request)
{
    return {writtenAs(request, "photo.webp", "#!/bin/sh\n")};
}

using Forgery = std::vector<fs::path> (*)(const EngineRequest&);

/// Results that are not what was asked for.
const std::map<std::string, Forgery> forgeries = {
    {"hand back launcher", writeLauncher},
    {"hand back script", writeScript},
    {"hand back many", writeThousandFiles},
};

std::vector<fs::path> convert(const EngineID& engine, const EngineRequest& request, const ProgressCallback& progress)
{
    const fs::path output = request.workingDirectory / "output";
    for (const Attempts& attempts : {attemptsOnFiles(), attemptsOnProcesses(), attemptsOnMemory()}) {
        if (const auto attempt = attempts.find(engine.rawValue); attempt != attempts.end()) {
            std::ofstream{output} << attempt->second(request);
            return {output};
        }
    }
    if (const auto forgery = forgeries.find(engine.rawValue); forgery != forgeries.end())
        return forgery->second(request);
    if (const auto misdeed = misdeeds.find(engine.rawValue); misdeed != misdeeds.end())
        misdeed->second(request, progress);
    progress(1.0);
    fs::copy_file(request.input, request.outputLocation());
    return {request.outputLocation()};
}

/// The version of Landlock that the program's own name ends in: nivex-worker-hostile-landlock2 knows only the second.
std::optional<int> landlockVersionIn(std::string_view program)
{
    constexpr std::string_view label = "-landlock";
    const std::size_t found = program.rfind(label);
    if (found == std::string_view::npos)
        return std::nullopt;
    int version = 0;
    std::from_chars(program.data() + found + label.size(), program.data() + program.size(), version);
    return version;
}

SourceProperties measure(const EngineID& what, const EngineRequest& request)
{
    if (what == "damaged")
        throw ConversionError::unreadableSource("la fin manque");
    if (what == "too much")
        throw ConversionError::resourceLimit("trop de pages");
    if (what == "cannot")
        throw ConversionError::unsupported("autre chose");
    SourceProperties properties{.pixelWidth = static_cast<std::int64_t>(fs::file_size(request.input))};
    if (what == "locked")
        properties.isEncrypted = true;
    return properties;
}

int serveHostile(int argumentCount, char** arguments)
{
    const worker::Handlers handlers{
        .warmUp = {},
        .libraries =
            [] {
                return std::vector<LibraryVersion>{{"libhostile", "1.0"}};
            },
        .convert = convert,
        .probe = measure,
        .render = {},
        .maxLandlockVersion = landlockVersionIn(arguments[0]),
    };
    return worker::serve(argumentCount, arguments, handlers);
}

} // namespace
} // namespace nivex::testing

int main(int argumentCount, char** arguments) { return nivex::testing::serveHostile(argumentCount, arguments); }
