#include "NivexWorkers/Scene/Model/SceneOutput.hpp"

#include "NivexKit/Foundation/ConversionError.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"
#include "NivexKit/Foundation/Text/Unicode.hpp"

namespace nivex::scene {
namespace {

constexpr std::size_t longestName = 60;
constexpr std::size_t mostFiles = 1'000; // beside the output

/// The letters, digits, dashes and underscores of a name: programs that read lists of materials split names at blanks.
std::string plain(std::string_view name)
{
    std::string text;
    for (const char each : name.substr(0, longestName)) {
        const bool isKept = (each >= 'a' && each <= 'z') || (each >= 'A' && each <= 'Z') ||
                            (each >= '0' && each <= '9') || each == '-' || each == '_';
        if (isKept || (!text.empty() && text.back() != '_'))
            text += isKept ? each : '_';
    }
    return text;
}

} // namespace

std::filesystem::path SceneOutput::further(std::string_view name, std::string_view extension)
{
    const std::string stem = name.empty() ? baseName() : baseName() + "-" + plain(name);
    const std::string suffix = "." + std::string{extension};
    std::string fileName = stem + suffix;
    for (int number = 2; !takenNames_.insert(lowercased(fileName)).second; ++number)
        fileName = stem + "-" + std::to_string(number) + suffix;
    if (files_.size() > mostFiles)
        throw ConversionError::resourceLimit("le modèle a trop de textures"_fr);
    files_.push_back(location_.parent_path() / fileName);
    return files_.back();
}

} // namespace nivex::scene
