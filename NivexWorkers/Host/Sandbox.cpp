#include "NivexWorkers/Host/Sandbox.hpp"

#include "NivexWorkers/Host/CallFilter.hpp"
#include "NivexWorkers/Host/Sanitizers.hpp"

#include <linux/capability.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace nivex::worker {
namespace {

constexpr rlim_t maxOpenFiles = 512;

SandboxLayerState stateOf(SandboxLayer layer, bool granted)
{
    return {layer, granted, granted ? std::string{} : std::string{std::strerror(errno)}};
}

/// Lowers a limit; one that is lower already stays.
bool lower(__rlimit_resource_t resource, rlim_t soft, rlim_t hard)
{
    rlimit current{};
    if (::getrlimit(resource, &current) != 0)
        return false;
    const rlimit wanted{.rlim_cur = std::min(soft, current.rlim_max), .rlim_max = std::min(hard, current.rlim_max)};
    return ::setrlimit(resource, &wanted) == 0;
}

bool setLimits(const WorkerLimits& limits)
{
    const auto memory = static_cast<rlim_t>(limits.memoryBytes);
    const auto file = static_cast<rlim_t>(limits.fileBytes);
    const auto time = static_cast<rlim_t>(limits.processorTime.count());
    // A second between the two limits of time lets the kernel say by its signal what the matter was.
    return (!limitsAddressSpace || lower(RLIMIT_AS, memory, memory)) && lower(RLIMIT_CPU, time, time + 1) &&
           lower(RLIMIT_FSIZE, file, file) && lower(RLIMIT_NOFILE, maxOpenFiles, maxOpenFiles) &&
           lower(RLIMIT_CORE, 0, 0);
}

/// Gives up what an administrator's process can do, save reading and writing files of others where Landlock lets it:
/// NIVEX run by the administrator must read what the administrator can.
bool dropPrivileges()
{
    if (::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0)
        return false;
    __user_cap_header_struct header{.version = _LINUX_CAPABILITY_VERSION_3, .pid = 0};
    __user_cap_data_struct sets[_LINUX_CAPABILITY_U32S_3]{};
    if (::syscall(SYS_capget, &header, sets) != 0)
        return false;
    constexpr __u32 files = (1u << CAP_DAC_OVERRIDE) | (1u << CAP_DAC_READ_SEARCH);
    const __u32 kept = sets[0].permitted & files;
    sets[0] = {.effective = kept, .permitted = kept, .inheritable = 0};
    sets[1] = {};
    return ::syscall(SYS_capset, &header, sets) == 0;
}

} // namespace

SandboxLayerState endWith(pid_t parent)
{
    const bool granted = ::prctl(PR_SET_PDEATHSIG, SIGKILL, 0, 0, 0) == 0;
    if (::getppid() != parent)
        ::_exit(0); // it ended before the kernel knew that we care
    return stateOf(SandboxLayer::endsWithParent, granted);
}

std::vector<SandboxLayerState> enterSandbox(const SandboxPolicy& policy)
{
    std::vector<SandboxLayerState> states;
    states.push_back(stateOf(SandboxLayer::noNewPrivileges, dropPrivileges()));
    states.push_back(stateOf(SandboxLayer::limits, setLimits(policy.limits)));
    for (SandboxLayerState& state : restrictFiles(policy.landlockVersion, policy.places))
        states.push_back(std::move(state));
    states.push_back(stateOf(SandboxLayer::calls, refuseCalls(policy.landlockVersion)));
    return states;
}

} // namespace nivex::worker
