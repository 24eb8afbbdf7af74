#include "NivexKit/Foundation/Text/Json.hpp"
#include "tests/NivexKit/Workers/WorkerTestSupport.hpp"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <vector>

namespace nivex::testing {
namespace {

namespace fs = std::filesystem;

/// Every promise holds whatever version of Landlock the kernel speaks.
class Sandbox : public ::testing::TestWithParam<const char*> {
protected:
    Sandbox() { house.program = GetParam(); }

    HostileHouse house;
};

std::string suiteName(std::string program)
{
    std::erase(program, '-');
    return program;
}

TEST_P(Sandbox, RefusesWhatNoDecoderNeeds)
{
    const std::string secret = house.foreign;
    const bool seesEmptying = house.program != "hostile-landlock2" && landlockVersion() >= landlockVersionOfTruncation;
    const struct {
        const char* attempt;
        std::string object;
        std::string expected;
    } cases[] = {
        {"read elsewhere", secret, "EACCES"},
        {"list elsewhere", secret, "EACCES"},
        {"read elsewhere", "/etc/passwd", "EACCES"},
        {"read elsewhere", "/proc/1/environ", "EACCES"},
        {"read elsewhere", "/proc/self/net/tcp", "EACCES"},
        {"read elsewhere", "/proc/thread-self/net/tcp", "EACCES"},
        {"read elsewhere", "/proc/self/mountinfo", "EACCES"},
        {"write elsewhere", secret, "EACCES"},
        {"create elsewhere", secret, "EACCES"},
        {"remove elsewhere", secret, "EACCES"},
        {"empty elsewhere", secret, seesEmptying ? "EACCES" : "EPERM"},
        {"open to empty", secret, "EPERM"},
        {"open to empty", house.input, "EPERM"},
        {"open for nothing", secret, "EPERM"},
        {"open for nothing", house.input, "EPERM"},
        {"old open", secret, "EPERM"},
        {"attribute", house.input, "ENOSYS"},
        {"attribute", secret, "ENOSYS"},
        {"read attribute", secret, "EOPNOTSUPP"},
        {"list attributes", secret, "EOPNOTSUPP"},
        {"read link", house.link, "EINVAL"},
        {"watch", secret, "EPERM"},
        {"flag input", {}, "ENOTTY"},
        {"number input", {}, "ENOTTY"},
        {"lease input", {}, "EPERM"},
        {"write input", {}, "EACCES"},
        {"remove input", {}, "EACCES"},
        {"take input", {}, "EACCES"},
        {"link input", {}, "EPERM"},
        {"make link", {}, "EPERM"},
        {"make pipe", {}, "EPERM"},
        {"connect", {}, "EPERM"},
        {"local socket", {}, "EPERM"},
        {"start program", {}, "EPERM"},
        {"become program", {}, "EPERM"},
        {"fork", {}, "EPERM"},
        {"old fork", {}, "EPERM"},
        {"signal parent", {}, "EPERM"},
        {"signal group", {}, "EPERM"},
        {"signal everybody", {}, "EPERM"},
        {"signal object", std::to_string(::getpid()), "EPERM"},
        {"own", {}, "EPERM"},
        {"own by type", {}, "EPERM"},
        {"own by device", {}, "ENOTTY"},
        {"own by socket", {}, "ENOTTY"},
        {"choose signal", {}, "EPERM"},
        {"tell", {}, "EPERM"},
        {"tell by device", {}, "ENOTTY"},
        {"tell from opening", {}, "EPERM"},
        {"tell of folder", {}, "EPERM"},
        {"trace parent", {}, "EPERM"},
        {"parent's memory", {}, "EACCES"},
        {"outlive", {}, "EPERM"},
        {"raise limit", {}, "EPERM"},
        {"parent's limits", {}, "EPERM"},
        {"part thread", {}, "EPERM"},
        {"part descriptors", {}, "EPERM"},
        {"namespace", {}, "EPERM"},
        {"own ring", {}, "EPERM"},
        {"counters", {}, "EPERM"},
        {"keys", {}, "EPERM"},
        {"call of the future", {}, "ENOSYS"},
        {"file in memory", {}, "EPERM"},
        {"secret memory", {}, "EPERM"},
        {"named memory", {}, "EACCES"},
        {"shared memory", {}, "EPERM"},
        {"messages", {}, "EPERM"},
        {"semaphores", {}, "EPERM"},
        {"message queue", {}, "EPERM"},
        {"large pipe", {}, "EPERM"},
        {"queue of reads", {}, "EPERM"},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.attempt);
        EXPECT_EQ(house.attempt(each.attempt, each.object), each.expected);
    }
    EXPECT_EQ(contentsOf(house.foreign), "secret");
    EXPECT_EQ(contentsOf(house.input), "hello");
}

/// Calls that an honest kernel would refuse to this child for another reason, or whose misuse takes more than a line:
/// what is refused here never reaches their code.
TEST_P(Sandbox, KeepsCallsFromTheKernel)
{
    const struct {
        std::vector<long> calls;
        const char* expected;
    } cases[] = {
        {{SYS_connect, SYS_sendmsg, SYS_recvmsg}, "EPERM"},
        {{SYS_ptrace, SYS_process_vm_readv, SYS_process_vm_writev, SYS_pidfd_open, SYS_pidfd_getfd,
          SYS_pidfd_send_signal, SYS_tkill, SYS_tgkill, SYS_rt_sigqueueinfo, SYS_rt_tgsigqueueinfo, SYS_setpriority,
          SYS_sched_setaffinity, SYS_kcmp},
         "EPERM"},
        {{SYS_setxattr, SYS_fsetxattr, SYS_removexattr, SYS_linkat, SYS_symlinkat, SYS_mknodat, SYS_open_by_handle_at},
         "EPERM"},
        {{SYS_inotify_init1, SYS_inotify_add_watch, SYS_fanotify_init}, "EPERM"},
        {{SYS_setns, SYS_mount, SYS_umount2, SYS_pivot_root, SYS_chroot, SYS_fsopen, SYS_quotactl, SYS_personality,
          SYS_bpf, SYS_userfaultfd, SYS_add_key, SYS_request_key, SYS_io_uring_enter},
         "EPERM"},
        {{SYS_fchmod, SYS_fchmodat, SYS_fchown, SYS_fchownat, SYS_utimensat, SYS_flock}, "done"},
        {{SYS_lgetxattr, SYS_fgetxattr, SYS_llistxattr}, "EOPNOTSUPP"},
        {{SYS_clone3, SYS_openat2}, "ENOSYS"},
#if defined(__x86_64__)
        {{SYS_inotify_init, SYS_mknod, SYS_modify_ldt, SYS_ioperm}, "EPERM"},
        {{SYS_chmod, SYS_utimes}, "done"},
#endif
    };
    for (const auto& each : cases)
        for (const long call : each.calls)
            EXPECT_EQ(house.attempt("call", std::to_string(call)), each.expected) << "call " << call;
}

INSTANTIATE_TEST_SUITE_P(Landlock, Sandbox, ::testing::ValuesIn(hostilePrograms),
                         [](const auto& each) { return suiteName(each.param); });

TEST_P(Sandbox, LeavesWhatDecodersNeed)
{
    EXPECT_EQ(house.attempt("codec"), "done");
    EXPECT_EQ(house.attempt("read elsewhere", house.input), "done");
    EXPECT_EQ(house.attempt("create elsewhere", house.workingDirectory / "more"), "done");
}

TEST_P(Sandbox, OpensTheCompanionsOfTheInputAndNothingElseOfItsFolder)
{
    house.folder.write("scene.bin", "buffer");
    house.folder.write("maps/wood.png", "wood");
    house.folder.write("maps/private.png", "private");
    house.folder.write("scene.bin2", "neighbour");
    fs::create_symlink(house.foreign, house.folder / "linked.bin");
    house.folder.write("second/b.pdf", "second");
    house.folder.write("second/c.pdf", "third");
    const struct {
        const char* attempt;
        fs::path object;
        std::string expected;
    } cases[] = {
        {"read elsewhere", "scene.bin", "done"},       {"read elsewhere", "maps/wood.png", "done"},
        {"read elsewhere", "second/b.pdf", "done"},    {"read elsewhere", "scene.bin2", "EACCES"},
        {"read elsewhere", "second/c.pdf", "EACCES"},  {"read elsewhere", "maps/private.png", "EACCES"},
        {"read elsewhere", "linked.bin", "EACCES"},    {"read elsewhere", "foreign/secret", "EACCES"},
        {"write elsewhere", "scene.bin", "EACCES"},    {"write elsewhere", "second/b.pdf", "EACCES"},
        {"remove elsewhere", "scene.bin", "EACCES"},   {"list elsewhere", "scene.bin", "EACCES"},
        {"list elsewhere", "maps/wood.png", "EACCES"},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(std::string{each.attempt} + " " + each.object.string());
        WorkerCall call = house.call(each.attempt, house.folder.path() / each.object);
        call.request.companions = {"scene.bin", "maps/wood.png", "linked.bin", "../foreign", "gone.bin"};
        call.request.furtherInputs = {{house.folder / "second/b.pdf", "pdf", {}}};
        EXPECT_EQ(house.attempt(call), each.expected);
    }
    EXPECT_EQ(contentsOf(house.folder / "scene.bin"), "buffer");
}

TEST_P(Sandbox, ChangesNoPermissionsAndTakesNoLockThoughItSaysSo)
{
    for (const auto& [misdeed, file] : {std::pair{"permit input", house.input}, {"permit elsewhere", house.foreign}}) {
        const fs::perms before = fs::status(file).permissions();
        EXPECT_EQ(house.attempt(misdeed, file), "done");
        EXPECT_EQ(fs::status(file).permissions(), before);
    }
    EXPECT_EQ(house.attempt("lock input"), "done") << "a lock of the child's stands in the way of others";
}

TEST_P(Sandbox, LimitsMemoryTimeFilesAndCores)
{
    WorkerCall call = house.call("limits");
    call.timeLimit = std::chrono::milliseconds{41'500};
    const auto outputs = house.pool.convert(call, {}, {});
    EXPECT_EQ(contentsOf(outputs.at(0)), "536870912 42 16777216 0 ");
}

TEST_P(Sandbox, SaysWhichVersionOfLandlockHolds)
{
    const SandboxPosture posture = house.pool.describe(house.program).posture;
    EXPECT_TRUE(posture.missing().empty()) << writeJson(toJson(posture));
    const std::string asked = house.program.substr(house.program.size() - 1);
    const int version = house.program == "hostile" ? landlockVersion() : std::min(std::stoi(asked), landlockVersion());
    const auto files = std::find_if(posture.layers.begin(), posture.layers.end(),
                                    [](const auto& state) { return state.layer == SandboxLayer::files; });
    EXPECT_EQ(files->detail, "Landlock " + std::to_string(version));
}

TEST(SandboxPosture, GivesAChildWhatTheKernelPromises)
{
    HostileHouse house;
    const WorkerDescription description = house.pool.describe("hostile");
    EXPECT_EQ(description.posture, SandboxPosture::ofThisKernel());
    EXPECT_TRUE(description.posture.missing().empty()) << writeJson(toJson(description.posture));
    EXPECT_EQ(description.libraries, (std::vector<LibraryVersion>{{"libhostile", "1.0"}}));
}

TEST(SandboxPosture, MissesOnlyWhatIsRequired)
{
    SandboxPosture posture = SandboxPosture::ofThisKernel();
    for (SandboxLayerState& state : posture.layers)
        state.granted = state.layer != SandboxLayer::files && state.layer != SandboxLayer::network;
    EXPECT_EQ(posture.missing(), std::vector{label(SandboxLayer::files)});
    posture.layers.clear();
    EXPECT_EQ(posture.missing().size(), 5u) << "a layer that nobody mentions is not granted";
}

} // namespace
} // namespace nivex::testing
