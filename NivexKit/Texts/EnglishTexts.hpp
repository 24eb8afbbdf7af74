#pragma once

#include "NivexKit/Foundation/Text/StringTable.hpp"

namespace nivex {

/// Every text of NIVEX with its English wording, sorted by the bytes of the French one.
const StringTable::Translation& englishTexts();

} // namespace nivex
