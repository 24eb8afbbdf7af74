#include "NivexKit/Contract/ConversionWarnings.hpp"

#include "NivexKit/Foundation/Text/StringTable.hpp"

#include <algorithm>
#include <utility>

namespace nivex {

void ConversionWarnings::add(std::string warning)
{
    const std::lock_guard lock{mutex_};
    if (std::ranges::find(warnings_, warning) != warnings_.end())
        return;
    if (warnings_.size() < most)
        warnings_.push_back(std::move(warning));
    else
        ++dropped_;
}

std::vector<std::string> ConversionWarnings::all() const
{
    const std::lock_guard lock{mutex_};
    std::vector<std::string> warnings = warnings_;
    if (dropped_ > 0)
        warnings.push_back(filled("Autres avertissements : {}."_fr, {std::to_string(dropped_)}));
    return warnings;
}

} // namespace nivex
