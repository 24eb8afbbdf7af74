#pragma once

#include "NivexKit/Contract/ConversionOptions.hpp"
#include "NivexKit/Formats/FileFormat.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"

#include <vector>

namespace nivex {

/// The settings that only some outputs can take, in the order in which they are told.
enum class OptionCombination {
    pageTransparency,
    cmyk,
    proResDefinition, // ProRes keeps the definition of the original, whatever the output
    audioBitRate,
    proResOutput,
    videoCodec,
    videoQuality,
    targetSize,
};

/// What to tell a person whose setting the output cannot take.
Text message(OptionCombination combination);

/// Whether an output of this format takes the setting. `proResDefinition` is taken by none.
bool isTaken(OptionCombination combination, const FileFormat& target);

/// The settings among `options` that differ from the defaults and that `target` cannot take.
std::vector<OptionCombination> settingsNotTaken(const ConversionOptions& options, const FileFormat& target);

} // namespace nivex
