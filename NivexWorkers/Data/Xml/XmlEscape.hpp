#pragma once

#include "NivexWorkers/Data/Model/Input.hpp"

#include <string>
#include <string_view>

namespace nivex::data {

/// A text as it stands in XML, between tags or, with its quotes and white space kept, in an attribute. What XML cannot
/// hold is replaced and remarked on.
std::string escapedXml(std::string_view text, Remarks& remarks, bool isAttribute = false);

} // namespace nivex::data
