#include "tests/NivexKit/Workers/WorkerTestSupport.hpp"

#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <sstream>

namespace nivex::testing {

namespace fs = std::filesystem;

WorkerPool::Settings HostileHouse::settings()
{
    WorkerPool::Settings settings;
    settings.folders = {NIVEX_TEST_WORKERS_FOLDER};
    settings.memoryBytes = 512 << 20;
    settings.fileBytes = 16 << 20;
    return settings;
}

WorkerCall HostileHouse::call(std::string misdeed, std::string object) const
{
    fs::remove_all(workingDirectory);
    fs::create_directory(workingDirectory);
    WorkerCall result{.program = program, .engine = misdeed};
    result.timeLimit = std::chrono::seconds{60}; // so that a fault in the sandbox is a failed test, not a hanging one
    result.request.input = input;
    result.request.workingDirectory = workingDirectory;
    result.request.baseName = std::move(object);
    result.request.targetFormat.extensions = {"txt"};
    return result;
}

std::string HostileHouse::attempt(std::string misdeed, std::string object)
{
    return attempt(call(std::move(misdeed), std::move(object)));
}

std::string HostileHouse::attempt(const WorkerCall& call) { return contentsOf(pool.convert(call, {}, {}).at(0)); }

ConversionError HostileHouse::failure(const WorkerCall& call, const ProgressCallback& progress,
                                      const CancellationFlag& cancellation)
{
    try {
        pool.convert(call, progress, cancellation);
    } catch (const ConversionError& error) {
        return error;
    }
    ADD_FAILURE() << "no error";
    return ConversionError::cancelled();
}

bool HostileHouse::worksOn()
{
    const auto outputs = pool.convert(call("copy"), {}, {});
    return outputs == std::vector{workingDirectory / "result.txt"} && contentsOf(outputs[0]) == "hello";
}

ProcessHandle processOf(int number)
{
    FileDescriptor descriptor{static_cast<int>(::syscall(SYS_pidfd_open, number, 0))};
    EXPECT_TRUE(descriptor.isOpen()) << "no process " << number;
    return ProcessHandle{std::move(descriptor)};
}

std::vector<int> writtenProcesses(const fs::path& workingDirectory)
{
    std::istringstream text{contentsOf(workingDirectory / "processes")};
    int child = 0;
    int server = 0;
    text >> child >> server;
    return {child, server};
}

} // namespace nivex::testing
