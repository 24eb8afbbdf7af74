#pragma once

#include "NivexKit/Formats/FormatRegistry.hpp"

#include <string>
#include <string_view>
#include <vector>

namespace nivex::commandline {

/// The format that a word names: its identifier, or one of its extensions with or without the dot; null for none.
const FileFormat* formatNamed(const FormatRegistry& registry, std::string_view word);

/// The identifiers of all formats.
std::vector<std::string> formatIdentifiers(const FormatRegistry& registry);

/// The sentence for a word that names none, with the nearest one that does.
std::string unknownFormat(const FormatRegistry& registry, const std::string& word);

} // namespace nivex::commandline
