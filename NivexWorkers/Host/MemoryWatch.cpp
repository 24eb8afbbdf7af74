#include "NivexWorkers/Host/MemoryWatch.hpp"

#include "NivexWorkers/Host/Sanitizers.hpp"

#include "NivexKit/Workers/WorkerProtocol.hpp"

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <cstddef>
#include <string_view>

namespace nivex::worker {
namespace {

int statusFile = -1;
std::int64_t limitKibibytes = 0;

/// The number behind a label in the kernel's report on this process; 0 when there is none.
std::int64_t reported(std::string_view report, std::string_view label) noexcept
{
    std::size_t position = report.find(label);
    if (position == std::string_view::npos)
        return 0;
    std::int64_t number = 0;
    for (position += label.size(); position < report.size() && report[position] != '\n'; ++position)
        if (report[position] >= '0' && report[position] <= '9')
            number = number * 10 + (report[position] - '0');
    return number;
}

/// Ends a child whose memory was used up with the exit code that says so, any other with the signal it got.
void crashed(int signal)
{
    if (memoryWasShort())
        ::_exit(exitCodeOutOfMemory);
    ::signal(signal, SIG_DFL);
    ::raise(signal);
}

} // namespace

void watchMemory(std::int64_t limitBytes)
{
    if (!limitsAddressSpace)
        return; // sanitizers use address space without end, and report crashes themselves
    statusFile = ::open("/proc/self/status", O_RDONLY | O_CLOEXEC);
    limitKibibytes = limitBytes / 1024;
    for (const int each : {SIGABRT, SIGSEGV, SIGBUS})
        ::signal(each, crashed);
}

bool memoryWasShort() noexcept
{
    char report[4096];
    const ssize_t length = ::pread(statusFile, report, sizeof report, 0);
    if (length <= 0)
        return false;
    return reported({report, static_cast<std::size_t>(length)}, "VmPeak:") >= limitKibibytes / 4 * 3;
}

} // namespace nivex::worker
