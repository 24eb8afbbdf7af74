#include "NivexKit/Workers/WorkerFolders.hpp"

#include <sys/auxv.h>

namespace nivex {

namespace fs = std::filesystem;

fs::path runningProgram()
{
    std::error_code ignored;
    fs::path program = fs::read_symlink("/proc/self/exe", ignored);
    if (program.empty())
        if (const auto* started = reinterpret_cast<const char*>(::getauxval(AT_EXECFN)))
            program = fs::canonical(*started == '/' ? started : "", ignored);
    return program;
}

std::vector<fs::path> workerFolders(const fs::path& program)
{
    if (!program.is_absolute()) // relative folders would mean whatever folder is the current one
        return {NIVEX_INSTALLED_WORKERS};
    const fs::path beside = program.parent_path();
    return {beside / "workers", beside.parent_path() / "libexec/nivex"};
}

} // namespace nivex
