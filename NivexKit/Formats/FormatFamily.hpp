#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace nivex {

/// The 18 families, in the order of the catalogue.
enum class FormatFamily {
    image,
    graphics,
    document,
    spreadsheet,
    presentation,
    audio,
    video,
    threeD,
    archive,
    font,
    publication,
    subtitle,
    geo,
    scientific,
    communication,
    code,
    system,
    project,
};

/// All families in case order.
std::span<const FormatFamily> allFamilies();

/// The stored text ("threeD"), and the family that a stored text names.
std::string_view storedName(FormatFamily family);
std::optional<FormatFamily> familyStoredAs(std::string_view stored);

/// The name that users read ("3D et CAO").
std::string displayName(FormatFamily family);

/// The name of the symbol that pictures the family ("cube").
std::string_view symbolName(FormatFamily family);

} // namespace nivex
