#include "NivexKit/Planning/SmartFormats.hpp"

#include "NivexKit/Foundation/Text/Words.hpp"

#include <algorithm>
#include <compare>
#include <iterator>
#include <string_view>

namespace nivex {
namespace {

using Family = FormatFamily;

bool isAny(const FileFormat&, const SourceProperties&) { return true; }

bool isTextDocument(const FileFormat& source, const SourceProperties&)
{
    return source.family == Family::document && !(source.id == "pdf");
}

template <Family family>
bool isOf(const FileFormat& source, const SourceProperties&)
{
    return source.family == family;
}

bool hasAlpha(const FileFormat&, const SourceProperties& properties) { return properties.hasAlpha.value_or(false); }

bool isPhotograph(const FileFormat& source, const SourceProperties&)
{
    return source.has(FormatTrait::raw) || source.id == "jpeg" || source.id == "heic" || source.id == "heif";
}

struct PreferenceRow {
    bool (*matches)(const FileFormat&, const SourceProperties&);
    std::string_view id; // when given, only this format
    std::string_view targets;
};

// The first matching row wins: a photograph with transparency is wanted as a picture that keeps it.
// clang-format off
constexpr PreferenceRow preferences[] = {
    {isTextDocument,            "",     "pdf docx md txt html rtf odt doc"},
    {isOf<Family::spreadsheet>, "",     "xlsx csv json tsv yaml plist"},
    {isOf<Family::audio>,       "",     "m4a wav flac alac aiff caf"},
    {isOf<Family::video>,       "",     "mp4 mov gif m4a m4v wav"},
    {isOf<Family::threeD>,      "",     "glb usdz obj gltf usd stl ply"},
    {isOf<Family::subtitle>,    "",     "srt vtt txt"},
    {isAny,                     "svg",  "png pdf jpeg heic tiff"},
    {isAny,                     "ai",   "svg png pdf jpeg tiff heic"},
    {isAny,                     "indd", "pdf png jpeg"},
    {isAny,                     "pdf",  "png jpeg tiff heic txt"},
    {hasAlpha,                  "",     "png jpeg pdf heic tiff avif"},
    {isPhotograph,              "",     "jpeg heic png pdf tiff avif"},
};
// clang-format on
constexpr std::string_view popular = "jpeg png heic pdf tiff avif gif bmp jp2 ico icns psd exr tga";

/// The place of an identifier in a list, and the length of the list when it is not there.
std::ptrdiff_t placeIn(std::span<const FormatID> list, const FormatID& id)
{
    return std::distance(list.begin(), std::ranges::find(list, id));
}

/// The members are compared in their order, smaller first.
struct ProposalKey {
    bool isOther; // not among the preferred targets
    std::ptrdiff_t group;
    std::ptrdiff_t popularity;
    std::size_t steps;
    std::string_view name;
    std::string_view id;
    std::size_t plan;

    auto operator<=>(const ProposalKey&) const = default;
};

ProposalKey proposalKey(const ConversionPlan& plan, std::size_t index, std::span<const FormatID> preferred)
{
    const std::size_t steps = plan.steps.size();
    const FileFormat& target = plan.target;
    const std::ptrdiff_t place = placeIn(preferred, target.id);
    if (place < std::ssize(preferred))
        return {false, place, 0, steps, target.name, target.id.rawValue, index};
    return {true,  plan.hasMajorLosses(), placeIn(SmartFormats::popularity(), target.id),
            steps, target.name,           target.id.rawValue,
            index};
}

} // namespace

std::vector<FormatID> SmartFormats::preferredOrder(const FileFormat& source, const SourceProperties& properties)
{
    for (const PreferenceRow& row : preferences)
        if ((row.id.empty() || source.id == row.id) && row.matches(source, properties))
            return wordsAs<FormatID>(row.targets);
    return {};
}

std::span<const FormatID> SmartFormats::popularity()
{
    static const std::vector<FormatID> list = wordsAs<FormatID>(popular);
    return list;
}

std::vector<ConversionPlan> SmartFormats::rank(std::vector<ConversionPlan> plans, const FileFormat& source,
                                               const SourceProperties& properties)
{
    const std::vector<FormatID> preferred = preferredOrder(source, properties);
    std::vector<ProposalKey> keys;
    keys.reserve(plans.size());
    for (const ConversionPlan& plan : plans)
        keys.push_back(proposalKey(plan, keys.size(), preferred));
    std::ranges::sort(keys);

    std::vector<ConversionPlan> ranked;
    ranked.reserve(plans.size());
    for (const ProposalKey& key : keys)
        ranked.push_back(std::move(plans[key.plan]));
    return ranked;
}

} // namespace nivex
