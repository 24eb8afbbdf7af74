#include "NIVEX/CommandLine/Interrupts.hpp"

#include "NivexKit/Foundation/Running/MainLoop.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <string>
#include <thread>

namespace nivex::commandline {
namespace {

// A signal handler may do next to nothing: it writes one byte, and a thread that waits for the byte does the rest.
std::atomic<int> wakeDescriptor{-1};
std::atomic<int> signalsSeen{0};
int pipeEnds[2] = {-1, -1};
std::thread waiter;

constexpr char stopByte = 's';
constexpr char endByte = 'e';

void onSignal(int)
{
    const int descriptor = wakeDescriptor.load();
    if (descriptor < 0 || signalsSeen.fetch_add(1) > 0)
        ::_exit(interruptedStatus);
    // The only failure left is a full pipe, and this is its only byte.
    [[maybe_unused]] const ssize_t written = ::write(descriptor, &stopByte, 1);
}

void waitForSignal(MainLoop& loop, const std::function<void()>& stop, const std::string& announcement)
{
    char byte = 0;
    while (::read(pipeEnds[0], &byte, 1) == 1 && byte == stopByte) {
        [[maybe_unused]] const ssize_t written = ::write(STDERR_FILENO, announcement.data(), announcement.size());
        loop.post(stop);
    }
}

} // namespace

void leaveOnInterrupt()
{
    struct sigaction action {};
    action.sa_handler = onSignal;
    action.sa_flags = SA_RESTART;
    for (const int signal : {SIGINT, SIGTERM, SIGHUP})
        ::sigaction(signal, &action, nullptr);
    ::signal(SIGPIPE, SIG_IGN); // a closed standard output must not leave workspaces behind,
    ::signal(SIGXFSZ, SIG_IGN); // nor a file that may grow no further: both are errors of the one who writes
}

InterruptHandler::InterruptHandler(MainLoop& loop, std::function<void()> stop)
{
    if (::pipe2(pipeEnds, O_CLOEXEC) != 0)
        return;
    const std::string announcement = "\n" + "Interruption : les conversions en cours s'arrêtent…"_fr.localized() + "\n";
    waiter = std::thread{[&loop, stop = std::move(stop), announcement] { waitForSignal(loop, stop, announcement); }};
    signalsSeen = 0;
    wakeDescriptor = pipeEnds[1];
}

InterruptHandler::~InterruptHandler()
{
    wakeDescriptor = -1;
    if (!waiter.joinable())
        return;
    [[maybe_unused]] const ssize_t written = ::write(pipeEnds[1], &endByte, 1);
    waiter.join();
    ::close(pipeEnds[0]);
    ::close(pipeEnds[1]);
}

bool InterruptHandler::wasInterrupted() const { return signalsSeen > 0; }

} // namespace nivex::commandline
