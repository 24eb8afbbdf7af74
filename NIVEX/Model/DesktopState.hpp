#pragma once

#include "NIVEX/Model/TargetOffer.hpp"

#include "NivexKit/Contract/ConversionSettings.hpp"
#include "NivexKit/Foundation/Files/SharedFile.hpp"
#include "NivexKit/Foundation/Files/UserFolders.hpp"

#include <filesystem>
#include <map>
#include <string>
#include <system_error>

namespace nivex {

/// What the window remembers from one day to the next.
struct DesktopState {
    std::string windowGeometry;                      // the toolkit's own text; empty before the first time
    std::map<std::string, OptionOverrides> settings; // of each offer, as they were used last
    bool keepsDate = false;                          // results get the date of their sources
    bool notifies = true;                            // when a batch has ended behind other windows
    bool floatsSphere = false;                       // above all windows
    bool hasSeenTutorial = false;

    /// Under which name the settings of an offer are remembered.
    static std::string keyOf(const OfferID& offer);

    bool operator==(const DesktopState&) const = default;
};

/// Where that is kept.
class DesktopStateFile {
public:
    explicit DesktopStateFile(std::filesystem::path location) : file_{std::move(location)} {}

    /// "Desktop.json" in the user's configuration folder.
    static std::filesystem::path defaultLocation(const Environment& environment);

    /// What the file says. A member that is missing or of no use is as at the first time, and so is all of a file that
    /// is missing or damaged.
    DesktopState load();
    /// Writes it anew. On failure the file stays as it is.
    std::error_code save(const DesktopState& state);

private:
    SharedFile file_;
};

} // namespace nivex
