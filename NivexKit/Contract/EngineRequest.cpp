#include "NivexKit/Contract/EngineRequest.hpp"

#include "NivexKit/Foundation/Text/Unicode.hpp"

#include <string_view>

namespace nivex {

namespace fs = std::filesystem;

std::optional<fs::path> EngineRequest::companion(const fs::path& name) const
{
    const fs::path wanted = name.lexically_normal();
    auto found = std::ranges::find(companions, wanted);
    if (found == companions.end())
        found = std::ranges::find(companions, lowercased(wanted.native()),
                                  [](const fs::path& each) { return lowercased(each.native()); });
    return found == companions.end() ? std::nullopt : std::optional{input.parent_path() / *found};
}

} // namespace nivex
