#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace nivex::testing {

/// A folder of the test's own, removed with everything in it at the end of the scope.
class TemporaryFolder {
public:
    TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    ~TemporaryFolder();

    const std::filesystem::path& path() const { return path_; }
    std::filesystem::path operator/(std::string_view name) const { return path_ / name; }

    /// Writes a file of that name, making the folders above it, and returns its location.
    std::filesystem::path write(std::string_view name, std::string_view contents) const;

private:
    std::filesystem::path path_;
};

/// The whole contents of a file; fails the test when it cannot be read.
std::string contentsOf(const std::filesystem::path& file);

} // namespace nivex::testing
