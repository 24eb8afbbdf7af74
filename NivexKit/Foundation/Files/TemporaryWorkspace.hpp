#pragma once

#include "NivexKit/Foundation/Files/LockedFolder.hpp"

#include <filesystem>
#include <string_view>
#include <vector>

namespace nivex {

/// A folder of one run's own, on the volume where its result will stand where that is possible, so that placing the
/// result is a rename. Removed with everything in it at the end of the scope.
class TemporaryWorkspace {
public:
    /// Makes a hidden folder in `folder`. Where that is refused, or where another user could rename it there, a private
    /// folder of this user on the same volume is taken; without one, the system's temporary folder.
    /// Throws ConversionError::destinationUnavailable when nothing of this is possible.
    static TemporaryWorkspace create(const std::filesystem::path& folder);

    /// Removes what killed runs have left in `folder` or, without one, in the private folders, and gives what could not
    /// be removed. Never throws, and leaves the workspaces of running processes alone.
    static std::vector<std::filesystem::path> removeLeftovers(const std::filesystem::path& folder);
    static std::vector<std::filesystem::path> removeLeftovers();

    TemporaryWorkspace(TemporaryWorkspace&& other) noexcept = default;
    TemporaryWorkspace& operator=(TemporaryWorkspace&&) = delete;
    ~TemporaryWorkspace() { remove(); }

    const std::filesystem::path& root() const { return locked_.location(); }
    /// The root itself, whatever stands at its location by now.
    const OpenFolder& folder() const { return locked_.folder(); }

    /// Makes the folder of that name below the root. Throws ConversionError::destinationUnavailable.
    std::filesystem::path subfolder(std::string_view name) const;

    /// Deletes the root and everything below it. Never throws, ignores failures, may be called again.
    void remove() noexcept { locked_.remove(); }

private:
    explicit TemporaryWorkspace(LockedFolder locked) : locked_{std::move(locked)} {}

    LockedFolder locked_;
};

} // namespace nivex
