#pragma once

#include "NivexKit/Execution/Placing/ExclusiveMove.hpp"
#include "NivexKit/Execution/Placing/NameNumbers.hpp"

#include <filesystem>
#include <string>
#include <string_view>
#include <unordered_set>

namespace nivex {

/// Names that are promised already, compared without regard to case.
class AvoidedLocations {
public:
    void insert(const std::filesystem::path& location);
    bool contains(const std::filesystem::path& location) const;

private:
    std::unordered_set<std::string> lowercased_;
};

/// Finds names for results and puts the results there. Nothing that exists is ever replaced.
namespace OutputNaming {

/// A file name without extension that every volume accepts, of at most 240 bytes: control characters become spaces,
/// separators hyphens, dots in front go. The bytes of a name that is not UTF-8 are read as Windows-1252.
std::string sanitizedBaseName(std::string_view name);

/// The first of "name.ext", "name 2.ext", "name 3.ext"… in `folder` that neither exists nor is avoided. A base name
/// that would make a name of more than 255 bytes is cut. `pathExtension` stands without its dot and may be empty.
/// `numbers` spares asking for names that were taken a moment ago.
std::filesystem::path uniqueURL(const std::filesystem::path& folder, std::string_view baseName,
                                std::string_view pathExtension, const AvoidedLocations& avoiding,
                                NameNumbers* numbers = nullptr);

/// Moves a file or folder into `folder` under a free name made from its own, and returns where it stands now.
/// Throws ConversionError::destinationUnavailable; the file is then where it was and nothing stands in the folder.
std::filesystem::path moveIntoPlace(const Place& file, const OpenFolder& folder, const AvoidedLocations& avoiding,
                                    NameNumbers* numbers = nullptr);
/// The same under a free name made from a base name and an extension.
std::filesystem::path moveIntoPlace(const Place& file, const OpenFolder& folder, std::string_view baseName,
                                    std::string_view pathExtension, const AvoidedLocations& avoiding,
                                    NameNumbers* numbers = nullptr);

} // namespace OutputNaming
} // namespace nivex
