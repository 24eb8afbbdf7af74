#include "tests/Support/TemporaryFolder.hpp"

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <system_error>

namespace nivex::testing {

namespace fs = std::filesystem;

TemporaryFolder::TemporaryFolder()
{
    std::string name = (fs::temp_directory_path() / "nivex-test-XXXXXX").string();
    if (!::mkdtemp(name.data()))
        throw std::runtime_error{"no temporary folder for the test"};
    path_ = name;
}

TemporaryFolder::~TemporaryFolder()
{
    std::error_code ignored;
    fs::permissions(path_, fs::perms::owner_all, ignored);
    fs::remove_all(path_, ignored);
}

fs::path TemporaryFolder::write(std::string_view name, std::string_view contents) const
{
    const fs::path file = path_ / name;
    fs::create_directories(file.parent_path());
    std::ofstream{file, std::ios::binary} << contents;
    return file;
}

std::string contentsOf(const fs::path& file)
{
    std::ifstream stream{file, std::ios::binary};
    if (!stream)
        throw std::runtime_error{"cannot read " + file.string()};
    return {std::istreambuf_iterator<char>{stream}, {}};
}

} // namespace nivex::testing
