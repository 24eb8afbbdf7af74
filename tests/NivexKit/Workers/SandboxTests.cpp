#include "tests/NivexKit/Workers/WorkerTestSupport.hpp"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

namespace nivex::testing {
namespace {

namespace fs = std::filesystem;

TEST(Sandbox, RefusesWhatNoDecoderNeeds)
{
    HostileHouse house;
    const std::string secret = house.foreign;
    const struct {
        const char* attempt;
        std::string object;
        const char* expected;
    } cases[] = {
        {"read elsewhere", secret, "EACCES"},
        {"list elsewhere", secret, "EACCES"},
        {"read elsewhere", "/etc/passwd", "EACCES"},
        {"read elsewhere", "/proc/1/environ", "EACCES"},
        {"write elsewhere", secret, "EACCES"},
        {"create elsewhere", secret, "EACCES"},
        {"remove elsewhere", secret, "EACCES"},
        {"empty elsewhere", secret, "EACCES"},
        {"open to empty", secret, "EPERM"},
        {"open to empty", house.input, "EPERM"},
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
        {"signal parent", {}, "EPERM"},
        {"signal group", {}, "EPERM"},
        {"signal everybody", {}, "EPERM"},
        {"signal object", std::to_string(::getpid()), "EPERM"},
        {"trace parent", {}, "EPERM"},
        {"parent's memory", {}, "EACCES"},
        {"outlive", {}, "EPERM"},
        {"raise limit", {}, "EPERM"},
        {"parent's limits", {}, "EPERM"},
        {"namespace", {}, "EPERM"},
        {"own ring", {}, "EPERM"},
        {"counters", {}, "EPERM"},
        {"keys", {}, "EPERM"},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.attempt);
        EXPECT_EQ(house.attempt(each.attempt, each.object), each.expected);
    }
    EXPECT_EQ(contentsOf(house.foreign), "secret");
    EXPECT_EQ(contentsOf(house.input), "hello");
}

TEST(Sandbox, LeavesWhatDecodersNeed)
{
    HostileHouse house;
    EXPECT_EQ(house.attempt("codec"), "done");
    EXPECT_EQ(house.attempt("read elsewhere", house.input), "done");
    EXPECT_EQ(house.attempt("create elsewhere", house.workingDirectory / "more"), "done");
}

TEST(Sandbox, ChangesNoPermissionsThoughItSaysSo)
{
    HostileHouse house;
    for (const auto& [misdeed, file] : {std::pair{"permit input", house.input}, {"permit elsewhere", house.foreign}}) {
        const fs::perms before = fs::status(file).permissions();
        EXPECT_EQ(house.attempt(misdeed, file), "done");
        EXPECT_EQ(fs::status(file).permissions(), before);
    }
}

TEST(Sandbox, LimitsMemoryTimeFilesAndCores)
{
    HostileHouse house;
    WorkerCall call = house.call("limits");
    call.timeLimit = std::chrono::milliseconds{41'500};
    const auto outputs = house.pool.convert(call, {}, {});
    EXPECT_EQ(contentsOf(outputs.at(0)), "536870912 42 16777216 0 ");
}

TEST(Sandbox, GivesAChildWhatTheKernelPromises)
{
    HostileHouse house;
    const WorkerDescription description = house.pool.describe("hostile");
    EXPECT_EQ(description.posture, SandboxPosture::ofThisKernel());
    EXPECT_TRUE(description.posture.missing().empty()) << writeJson(toJson(description.posture));
    EXPECT_EQ(description.libraries, (std::vector<LibraryVersion>{{"libhostile", "1.0"}}));
}

TEST(Sandbox, MissesOnlyWhatIsRequired)
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
