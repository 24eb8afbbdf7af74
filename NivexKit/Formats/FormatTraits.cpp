#include "NivexKit/Formats/FormatTraits.hpp"

namespace nivex {
namespace {

struct TraitRow {
    FormatTrait trait;
    std::string_view name;
};

using enum FormatTrait;
// clang-format off
constexpr TraitRow traitRows[] = {
    {lossy,               "lossy"},
    {lossless,            "lossless"},
    {transparency,        "transparency"},
    {animation,           "animation"},
    {multiPage,           "multiPage"},
    {vector,              "vector"},
    {layers,              "layers"},
    {raw,                 "raw"},
    {highDynamicRange,    "highDynamicRange"},
    {container,           "container"},
    {text,                "text"},
    {proprietary,         "proprietary"},
    {executable,          "executable"},
    {bundle,              "bundle"},
    {contentDetectedOnly, "contentDetectedOnly"},
};
// clang-format on

} // namespace

std::vector<std::string_view> FormatTraits::names() const
{
    std::vector<std::string_view> names;
    for (const TraitRow& row : traitRows)
        if (has(row.trait))
            names.push_back(row.name);
    return names;
}

} // namespace nivex
