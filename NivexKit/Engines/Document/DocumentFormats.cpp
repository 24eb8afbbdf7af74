#include "NivexKit/Engines/Document/DocumentFormats.hpp"

#include <algorithm>

namespace nivex {
namespace {

using enum DocumentFormat::Holds;

// clang-format off
constexpr DocumentFormat formats[] = {
    {.id = "txt", .holds = words},
    {.id = "md", .holds = structure},
    {.id = "html"},
    {.id = "docx"},
    {.id = "pdf", .isRead = false},
    {.id = "epub"},
};
// clang-format on

} // namespace

std::span<const DocumentFormat> documentFormats() { return formats; }

const DocumentFormat* documentFormat(std::string_view id)
{
    const auto found = std::ranges::find(formats, id, &DocumentFormat::id);
    return found == std::end(formats) ? nullptr : &*found;
}

} // namespace nivex
