#include "NivexKit/Contract/OptionCombinations.hpp"

#include "NivexKit/Contract/OutputBudget.hpp"
#include "NivexKit/Foundation/EnumTable.hpp"

#include <algorithm>

namespace nivex {
namespace {

struct CombinationRow {
    OptionCombination value;
    bool (*isAsked)(const ConversionOptions&);
    bool (*isTaken)(const FileFormat&);
    Text message;
};

bool isProRes(VideoCodec codec) { return codec == VideoCodec::prores422 || codec == VideoCodec::prores4444; }

bool isOneOf(const FormatID& id, std::initializer_list<std::string_view> ids)
{
    return std::ranges::any_of(ids, [&](std::string_view each) { return id == each; });
}

using Options = ConversionOptions;
constexpr ConversionOptions defaults;

using enum OptionCombination;
// clang-format off
constexpr CombinationRow combinations[] = {
    {pageTransparency, [](const Options& o) { return o.pageBackground == PageBackground::transparent; },
                       [](const FileFormat& f) { return f.has(FormatTrait::transparency); },
                       "Ce format de sortie ne conserve pas la transparence des pages."_fr},
    {cmyk,             [](const Options& o) { return o.colorProfile == ColorProfilePolicy::cmyk; },
                       [](const FileFormat& f) { return isOneOf(f.id, {"jpeg", "tiff", "psd", "pdf"}); },
                       "Le CMJN nécessite une sortie JPEG, TIFF, PSD ou PDF."_fr},
    {proResDefinition, [](const Options& o) { return isProRes(o.videoCodec) && o.videoQuality != defaults.videoQuality; },
                       [](const FileFormat&) { return false; },
                       "ProRes conserve la définition originale : retirez le redimensionnement vidéo."_fr},
    {audioBitRate,     [](const Options& o) { return o.audioBitRate != defaults.audioBitRate; },
                       [](const FileFormat& f) { return f.id == "m4a"; },
                       "Le débit AAC nécessite une sortie M4A."_fr},
    {proResOutput,     [](const Options& o) { return isProRes(o.videoCodec); },
                       [](const FileFormat& f) { return f.id == "mov"; },
                       "ProRes nécessite une sortie MOV."_fr},
    {videoCodec,       [](const Options& o) { return o.videoCodec != defaults.videoCodec; },
                       [](const FileFormat& f) { return f.family == FormatFamily::video; },
                       "Le codec vidéo nécessite une sortie vidéo."_fr},
    {videoQuality,     [](const Options& o) { return o.videoQuality != defaults.videoQuality; },
                       [](const FileFormat& f) { return f.family == FormatFamily::video; },
                       "La définition vidéo nécessite une sortie vidéo."_fr},
    {targetSize,       [](const Options& o) { return o.maxFileBytes.has_value(); },
                       [](const FileFormat& f) { return OutputBudget::isOffered(f.id); },
                       "Le poids cible nécessite une sortie image avec perte, PDF ou vidéo compatible."_fr},
};
// clang-format on
static_assert(inCaseOrder(combinations, OptionCombination::targetSize));

} // namespace

Text message(OptionCombination combination) { return rowOf(combinations, combination).message; }

bool isTaken(OptionCombination combination, const FileFormat& target)
{
    return rowOf(combinations, combination).isTaken(target);
}

std::vector<OptionCombination> settingsNotTaken(const ConversionOptions& options, const FileFormat& target)
{
    std::vector<OptionCombination> result;
    for (const CombinationRow& row : combinations)
        if (row.isAsked(options) && !row.isTaken(target))
            result.push_back(row.value);
    return result;
}

} // namespace nivex
