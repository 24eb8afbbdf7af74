#include "NivexKit/Formats/FileFormat.hpp"

#include <algorithm>

namespace nivex {

bool FileFormat::belongs(FormatFamily to) const
{
    return family == to || std::ranges::find(otherFamilies, to) != otherFamilies.end();
}

} // namespace nivex
