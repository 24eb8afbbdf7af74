#pragma once

#include "NivexKit/Contract/ConversionOptions.hpp"
#include "NivexKit/Execution/History/HistoryRetention.hpp"
#include "NivexKit/Foundation/Files/SharedFile.hpp"
#include "NivexKit/Foundation/Files/UserFolders.hpp"
#include "NivexKit/Texts/Language.hpp"

#include <functional>
#include <optional>
#include <string_view>
#include <system_error>

namespace nivex {

/// What engines that decode foreign files do where the system cannot isolate them fully.
enum class IncompleteSandbox {
    refuse,  // they are unavailable and say why
    proceed, // a person has decided to go on without
};

std::string_view storedName(IncompleteSandbox choice);
std::optional<IncompleteSandbox> incompleteSandboxStoredAs(std::string_view stored);

/// What a person has chosen once for all conversions.
struct Preferences {
    ConversionOptions options;
    OutputDestination destination = SameFolderAsSource{};
    HistoryRetention retention = HistoryRetention::thirtyDays;
    Language language = Language::french;
    IncompleteSandbox incompleteSandbox = IncompleteSandbox::refuse;
    /// How many conversions run at once, 1 to maxJobs; absent leaves it to the program.
    std::optional<int> jobs = {};

    static constexpr int maxJobs = 256;

    /// The language to show: NIVEX_LANG where it names one, else the preference.
    Language shownLanguage(const Environment& environment) const;

    bool operator==(const Preferences&) const = default;
};

/// Where the preferences are kept.
class PreferencesFile {
public:
    explicit PreferencesFile(std::filesystem::path location) : file_{std::move(location)} {}

    /// "Preferences.json" in the user's configuration folder.
    static std::filesystem::path defaultLocation(const Environment& environment);

    /// What the file says. A value that is missing, of the wrong type, unknown or out of its range is the standard one,
    /// and so is every value of a file that is missing or damaged.
    Preferences load();

    /// Changes the preferences as they stand in the file now, and keeps members that this version does not know. A
    /// damaged file is set aside first. On failure the file stays as it is.
    std::error_code update(const std::function<void(Preferences&)>& change);

private:
    SharedFile file_;
};

} // namespace nivex
