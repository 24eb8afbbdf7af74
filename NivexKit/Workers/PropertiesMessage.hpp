#pragma once

#include "NivexKit/Formats/SourceProperties.hpp"
#include "NivexKit/Workers/MessageFields.hpp"

#include <string>
#include <string_view>

namespace nivex {

/// What was measured of a file, as `toJson` writes it. Throws WorkerMessageError for a measurement below zero or of
/// another kind than its field.
///
/// text  is given each text that the fields hold
SourceProperties propertiesOf(const MessageFields& fields, std::string (*text)(std::string_view));

} // namespace nivex
