#include "NivexKit/Formats/FormatFamily.hpp"

#include "NivexKit/Foundation/EnumTable.hpp"

#include <array>

namespace nivex {
namespace {

struct FamilyRow {
    FormatFamily value;
    std::string_view stored;
    Text label;
    std::string_view symbol;
};

// clang-format off
constexpr FamilyRow families[] = {
    // case                        stored as        shown as                     symbol
    {FormatFamily::image,         "image",         "Images"_fr,                 "photo"},
    {FormatFamily::graphics,      "graphics",      "Graphisme"_fr,              "paintbrush.pointed"},
    {FormatFamily::document,      "document",      "Documents"_fr,              "doc.text"},
    {FormatFamily::spreadsheet,   "spreadsheet",   "Tableurs et données"_fr,    "tablecells"},
    {FormatFamily::presentation,  "presentation",  "Présentations"_fr,          "play.rectangle"},
    {FormatFamily::audio,         "audio",         "Audio"_fr,                  "waveform"},
    {FormatFamily::video,         "video",         "Vidéo"_fr,                  "film"},
    {FormatFamily::threeD,        "threeD",        "3D et CAO"_fr,              "cube"},
    {FormatFamily::archive,       "archive",       "Archives"_fr,               "archivebox"},
    {FormatFamily::font,          "font",          "Polices"_fr,                "textformat"},
    {FormatFamily::publication,   "publication",   "Publications"_fr,           "book"},
    {FormatFamily::subtitle,      "subtitle",      "Sous-titres"_fr,            "captions.bubble"},
    {FormatFamily::geo,           "geo",           "Géographie"_fr,             "map"},
    {FormatFamily::scientific,    "scientific",    "Scientifique"_fr,           "atom"},
    {FormatFamily::communication, "communication", "Communication"_fr,          "envelope"},
    {FormatFamily::code,          "code",          "Développement"_fr,          "chevron.left.forwardslash.chevron.right"},
    {FormatFamily::system,        "system",        "Système"_fr,                "gearshape"},
    {FormatFamily::project,       "project",       "Projets professionnels"_fr, "folder.badge.gearshape"},
};
// clang-format on
static_assert(inCaseOrder(families, FormatFamily::project));

constexpr auto everyFamily = [] {
    std::array<FormatFamily, std::size(families)> all{};
    for (std::size_t i = 0; i < all.size(); ++i)
        all[i] = families[i].value;
    return all;
}();

} // namespace

std::span<const FormatFamily> allFamilies() { return everyFamily; }

std::string_view storedName(FormatFamily family) { return rowOf(families, family).stored; }

std::optional<FormatFamily> familyStoredAs(std::string_view stored) { return caseStoredAs(families, stored); }

std::string displayName(FormatFamily family) { return rowOf(families, family).label; }

std::string_view symbolName(FormatFamily family) { return rowOf(families, family).symbol; }

} // namespace nivex
