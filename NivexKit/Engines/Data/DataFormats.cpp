#include "NivexKit/Engines/Data/DataFormats.hpp"

#include <algorithm>

namespace nivex {
namespace {

// clang-format off
constexpr DataFormat formats[] = {
    {.id = "xls", .isWritten = false, .isTabular = true, .isWorkbook = true},
    {.id = "xlsx", .isTabular = true, .isWorkbook = true},
    {.id = "xlsm", .isWritten = false, .isTabular = true, .isWorkbook = true},
    {.id = "csv", .isTabular = true, .hasTypes = false},
    {.id = "tsv", .isTabular = true, .hasTypes = false},
    {.id = "ods", .isTabular = true, .isWorkbook = true},
    {.id = "json"},
    {.id = "xml"},
    {.id = "yaml"},
    {.id = "toml"},
    {.id = "plist"},
};
// clang-format on

} // namespace

std::span<const DataFormat> dataFormats() { return formats; }

const DataFormat* dataFormat(std::string_view id)
{
    const auto found = std::ranges::find(formats, id, &DataFormat::id);
    return found == std::end(formats) ? nullptr : &*found;
}

} // namespace nivex
