#include "NivexWorkers/Host/Landlock.hpp"

#include "NivexKit/Foundation/Files/FileDescriptor.hpp"
#include "NivexKit/Foundation/Files/OpenFolder.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"

#include <fcntl.h>
#include <linux/landlock.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace nivex::worker {
namespace {

namespace fs = std::filesystem;

// The headers of Debian 12 know versions 1 and 2; the numbers are part of the kernel's interface and never change.
constexpr std::uint64_t fsTruncate = 1u << 14;    // since version 3
constexpr std::uint64_t fsDeviceIoctl = 1u << 15; // since version 5
constexpr std::uint64_t netBindTcp = 1u << 0;     // since version 4
constexpr std::uint64_t netConnectTcp = 1u << 1;
constexpr std::uint64_t scopeAbstractSockets = 1u << 0; // since version 6
constexpr std::uint64_t scopeSignals = 1u << 1;

struct RulesetAttributes {
    std::uint64_t handledFs;
    std::uint64_t handledNet;
    std::uint64_t scoped;
};

constexpr std::uint64_t readRights = LANDLOCK_ACCESS_FS_READ_FILE | LANDLOCK_ACCESS_FS_READ_DIR;
// Programs, devices, sockets and links are made nowhere.
constexpr std::uint64_t writeRights = readRights | LANDLOCK_ACCESS_FS_WRITE_FILE | LANDLOCK_ACCESS_FS_REMOVE_DIR |
                                      LANDLOCK_ACCESS_FS_REMOVE_FILE | LANDLOCK_ACCESS_FS_MAKE_DIR |
                                      LANDLOCK_ACCESS_FS_MAKE_REG | LANDLOCK_ACCESS_FS_REFER | fsTruncate;
constexpr std::uint64_t rightsOfVersion1 = (1u << 13) - 1;

// What libraries read that were installed by the system; what is missing is skipped. Of a process's own folder only
// what tells of the process: next to it the kernel shows the machine's connections and mounts.
constexpr const char* readablePlaces[] = {
    "/usr/lib",
    "/usr/lib64",
    "/usr/local/lib",
    "/usr/share",
    "/usr/local/share",
    "/lib",
    "/lib64",
    "/etc/ld.so.cache",
    "/etc/fonts",
    "/etc/localtime",
    "/var/cache/fontconfig",
    "/var/lib/ghostscript",
    "/dev/null",
    "/dev/zero",
    "/dev/random",
    "/dev/urandom",
    "/proc/self/auxv",
    "/proc/self/cgroup",
    "/proc/self/cmdline",
    "/proc/self/comm",
    "/proc/self/fd",
    "/proc/self/maps",
    "/proc/self/stat",
    "/proc/self/statm",
    "/proc/self/status",
    "/proc/cpuinfo",
    "/proc/meminfo",
    "/proc/stat",
    "/sys/devices/system/cpu",
};

// A person's own fonts, below the home folder.
constexpr const char* fontFolders[] = {".fonts", ".local/share/fonts", ".cache/fontconfig"};

std::uint64_t handledRights(int version)
{
    std::uint64_t rights = rightsOfVersion1;
    if (version >= 2)
        rights |= LANDLOCK_ACCESS_FS_REFER;
    if (version >= 3)
        rights |= fsTruncate;
    if (version >= 5)
        rights |= fsDeviceIoctl;
    return rights;
}

/// How much of the structure a version knows: each refuses what lies beyond.
std::size_t attributeBytes(int version)
{
    return sizeof(std::uint64_t) * (version >= landlockVersionOfSignals   ? 3u
                                    : version >= landlockVersionOfNetwork ? 2u
                                                                          : 1u);
}

class Ruleset {
public:
    explicit Ruleset(int version) : handledFs_{handledRights(version)}
    {
        const RulesetAttributes attributes{
            .handledFs = handledFs_,
            .handledNet = version >= landlockVersionOfNetwork ? netBindTcp | netConnectTcp : 0,
            .scoped = version >= landlockVersionOfSignals ? scopeAbstractSockets | scopeSignals : 0,
        };
        ruleset_ = FileDescriptor{
            static_cast<int>(::syscall(SYS_landlock_create_ruleset, &attributes, attributeBytes(version), 0))};
    }

    /// Allows `rights` on a file or below a folder. False when that fails, also because it is not there.
    bool allow(const fs::path& place, std::uint64_t rights)
    {
        return allow(FileDescriptor{::open(place.c_str(), O_PATH | O_CLOEXEC)}, rights);
    }

    bool allow(const FileDescriptor& opened, std::uint64_t rights)
    {
        struct stat status {};
        if (!opened.isOpen() || ::fstat(opened.get(), &status) != 0)
            return false;
        constexpr std::uint64_t rightsOnFiles =
            LANDLOCK_ACCESS_FS_READ_FILE | LANDLOCK_ACCESS_FS_WRITE_FILE | fsTruncate;
        const std::uint64_t possible = S_ISDIR(status.st_mode) ? handledFs_ : handledFs_ & rightsOnFiles;
        const landlock_path_beneath_attr rule{.allowed_access = rights & possible, .parent_fd = opened.get()};
        return ::syscall(SYS_landlock_add_rule, ruleset_.get(), LANDLOCK_RULE_PATH_BENEATH, &rule, 0) == 0;
    }

    bool restrictThisProcess() const { return ::syscall(SYS_landlock_restrict_self, ruleset_.get(), 0) == 0; }

private:
    std::uint64_t handledFs_;
    FileDescriptor ruleset_;
};

void allowSystemPlaces(Ruleset& rules)
{
    for (const char* place : readablePlaces)
        rules.allow(place, readRights);
    rules.allow("/dev/null", readRights | LANDLOCK_ACCESS_FS_WRITE_FILE);
    if (const char* home = std::getenv("HOME"); home && *home == '/')
        for (const char* folder : fontFolders)
            rules.allow(fs::path{home} / folder, readRights);
}

void allowCompanions(Ruleset& rules, const OpenedPlaces& places)
{
    if (places.companions.empty() || places.inputs.empty())
        return;
    const auto folder = OpenFolder::open(places.inputs.front().parent_path());
    for (const fs::path& each : places.companions)
        if (folder)
            rules.allow(folder->openBelow(each, O_PATH), LANDLOCK_ACCESS_FS_READ_FILE);
}

/// Why the process could not be restricted; none when it is.
std::string restrictionFailure(int version, const OpenedPlaces& places)
{
    if (version == 0)
        return "absent de ce noyau ou désactivé"_fr;
    Ruleset rules{version};
    allowSystemPlaces(rules);
    for (const fs::path& each : places.inputs)
        rules.allow(each, readRights); // an input that is gone is the work's to report
    allowCompanions(rules, places);
    if (!places.writable.empty() && !rules.allow(places.writable, writeRights))
        return std::strerror(errno);
    return rules.restrictThisProcess() ? std::string{} : std::string{std::strerror(errno)};
}

} // namespace

std::vector<SandboxLayerState> restrictFiles(int version, const OpenedPlaces& places)
{
    const std::string failure = restrictionFailure(version, places);
    const std::string name = "Landlock " + std::to_string(version);
    const auto state = [&](SandboxLayer layer, int needed) -> SandboxLayerState {
        if (!failure.empty())
            return {layer, false, failure};
        if (version < needed)
            return {layer, false, filled("{} ne le permet pas"_fr, {name})};
        return {layer, true, name};
    };
    return {state(SandboxLayer::files, 1), state(SandboxLayer::network, landlockVersionOfNetwork),
            state(SandboxLayer::signals, landlockVersionOfSignals)};
}

} // namespace nivex::worker
