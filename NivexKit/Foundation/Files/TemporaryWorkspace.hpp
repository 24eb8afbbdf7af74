#pragma once

#include "NivexKit/Foundation/Files/WorkspaceEntry.hpp"

#include <filesystem>
#include <string_view>

namespace nivex {

/// A folder of one run's own, on the volume where its result will stand, so that placing the result is a rename.
/// Removed with everything in it at the end of the scope.
class TemporaryWorkspace {
public:
    /// Makes a hidden folder in `folder`; where that is refused, a folder in the system's temporary folder.
    /// Throws ConversionError::destinationUnavailable when both are impossible.
    static TemporaryWorkspace create(const std::filesystem::path& folder);

    /// Removes what killed runs have left in `folder` or, without one, in the system's temporary folder. Never throws,
    /// and leaves the workspaces of running processes alone.
    static void removeLeftovers(const std::filesystem::path& folder);
    static void removeLeftovers();

    TemporaryWorkspace(TemporaryWorkspace&& other) noexcept = default;
    TemporaryWorkspace& operator=(TemporaryWorkspace&&) = delete;
    ~TemporaryWorkspace() { remove(); }

    const std::filesystem::path& root() const { return entry_.location(); }

    /// Makes the folder of that name below the root. Throws ConversionError::destinationUnavailable.
    std::filesystem::path subfolder(std::string_view name) const;

    /// Deletes the root and everything below it. Never throws, ignores failures, may be called again.
    void remove() noexcept;

private:
    explicit TemporaryWorkspace(WorkspaceEntry entry) : entry_{std::move(entry)} {}

    WorkspaceEntry entry_;
};

} // namespace nivex
