#pragma once

#include "NivexKit/Workers/WorkerPool.hpp"
#include "tests/Support/TemporaryFolder.hpp"

#include <string>
#include <string_view>
#include <vector>

namespace nivex::testing {

/// A pool that finds the worker that misbehaves on request, an input of 5 bytes, a folder to work in, and a file that
/// is none of the worker's business.
class HostileHouse {
public:
    static WorkerPool::Settings settings();

    explicit HostileHouse(WorkerPool::Settings settings = HostileHouse::settings()) : pool{std::move(settings)}
    {
        std::filesystem::create_symlink(foreign, link);
    }

    /// A call that asks for a misdeed; `object` is what it is done to.
    WorkerCall call(std::string misdeed, std::string object = "result") const;

    /// Asks for an attempt and returns what became of it: "done" or the name of the error.
    std::string attempt(std::string misdeed, std::string object = "result");
    std::string attempt(const WorkerCall& call);

    /// Asks for a misdeed and returns the error that it ends in; fails the test when there is none.
    ConversionError failure(const WorkerCall& call, const ProgressCallback& progress = {},
                            const CancellationFlag& cancellation = {});

    /// Does an honest conversion and says whether its result is right.
    bool worksOn();

    std::string program = "hostile";
    WorkerPool pool;
    TemporaryFolder folder;
    std::filesystem::path input = folder.write("input", "hello");
    std::filesystem::path foreign = folder.write("foreign/secret", "secret");
    std::filesystem::path link = folder / "foreign/link"; // to the secret
    std::filesystem::path workingDirectory = folder / "work";
};

/// The test worker as the kernel lets it be, and speaking the older versions of Landlock.
inline constexpr const char* hostilePrograms[] = {"hostile", "hostile-landlock2", "hostile-landlock3",
                                                  "hostile-landlock5", "hostile-landlock6"};

/// Opens a process so that its end can be waited for, however soon its number is used again.
ProcessHandle processOf(int number);

/// The numbers that a staying worker has written down: its own and that of its server.
std::vector<int> writtenProcesses(const std::filesystem::path& workingDirectory);

} // namespace nivex::testing
