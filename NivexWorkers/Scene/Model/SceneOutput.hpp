#pragma once

#include <filesystem>
#include <functional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace nivex::scene {

/// Where a writer of a format puts its files.
class SceneOutput {
public:
    using Warn = std::function<void(std::string)>;

    /// location  of the file of the target format; further files stand beside it
    SceneOutput(std::filesystem::path location, Warn warn) : location_{std::move(location)}, warn_{std::move(warn)}
    {
        files_.push_back(location_);
    }

    const std::filesystem::path& location() const { return location_; }
    std::string baseName() const { return location_.stem(); }

    /// The location of a further file, whose name begins with that of the output: "model-wood.png" beside "model.obj".
    /// Each name is given once, whatever the case of its letters. Throws ConversionError::resourceLimit beyond a
    /// thousand.
    std::filesystem::path further(std::string_view name, std::string_view extension);

    /// All files, that of the target format first.
    const std::vector<std::filesystem::path>& files() const { return files_; }

    /// Tells the person in one sentence what the format does not keep.
    void warn(std::string sentence) const { warn_(std::move(sentence)); }

private:
    std::filesystem::path location_;
    std::vector<std::filesystem::path> files_;
    std::set<std::string> takenNames_;
    Warn warn_;
};

} // namespace nivex::scene
