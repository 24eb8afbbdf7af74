#include "NivexKit/Planning/ConversionVerdict.hpp"

#include "NivexKit/Contract/OptionCombinations.hpp"

#include <algorithm>

namespace nivex {
namespace {

using Kind = ConversionOptionKind;

enum class Voice { typed, recipe, preferences };

/// The settings of the preferences that somebody has chosen.
OptionOverrides chosen(const ConversionOptions& preferences)
{
    OptionOverrides result;
    forEachSetting([&](const auto& setting) {
        if (preferences.*setting.field != ConversionOptions{}.*setting.field)
            result.set(setting.field, preferences.*setting.field);
    });
    return result;
}

/// Builds one verdict, setting by setting.
class Judge {
public:
    Judge(const ConversionPlan& plan, const ConversionPlanner& planner, const DetectionResult& file,
          const AskedOptions& asked)
        : planner_{planner}, file_{file}, asked_{asked}, preferences_{chosen(asked.preferences)}, verdict_{
                                                                                                      .plan = plan,
                                                                                                      .options = {}}
    {
    }

    ConversionVerdict judge() &&
    {
        forEachSetting([this](const auto& setting) { settle(setting); });
        settleProRes();
        verdict_.plan.losses = planner_.losses(verdict_.plan, file_.properties, verdict_.options);
        if (staysAsItIs())
            keepAsItIs();
        else if (fits())
            verdict_.plan.losses = verdict_.plan.losses.without(resolutionKept());
        std::vector<std::string> warnings = verdict_.plan.warnings();
        std::ranges::move(settingWarnings_, std::back_inserter(warnings));
        verdict_.warnings = std::move(warnings);
        return std::move(verdict_);
    }

private:
    /// The strongest voice whose value the route takes is heard; those above it are answered.
    template <class Field>
    void settle(const ConversionSetting<Field>& setting)
    {
        for (const Voice voice : {Voice::typed, Voice::recipe, Voice::preferences}) {
            const OptionOverrides& settings = settingsOf(voice);
            if (!settings.has(setting.field))
                continue;
            ConversionOptions alone;
            alone.*setting.field = settings.values().*setting.field;
            const auto notTaken = settingsNotTaken(alone, verdict_.plan.target);
            if (notTaken.empty() && verdict_.plan.options.contains(setting.kind) &&
                !isRefused(setting.kind, alone.*setting.field)) {
                verdict_.options.*setting.field = alone.*setting.field;
                return;
            }
            answer(voice, setting, notTaken.empty() ? std::nullopt : std::optional{message(notTaken.front())},
                   alone.*setting.field);
        }
    }

    template <class Field>
    void answer(Voice voice, const ConversionSetting<Field>& setting, std::optional<Text> why, const Field& value)
    {
        const bool isRefusal = isRefused(setting.kind, value);
        if (voice == Voice::typed && isRefusal)
            verdict_.refusal = refusalOf(setting.kind);
        else if (voice == Voice::typed)
            warnTyped(setting, why);
        else if (voice == Voice::preferences && isRefusal)
            settingWarnings_.push_back(why ? *why
                                           : "L'arrière-plan reste : cette conversion ne sait pas le retirer."_fr);
        else if (voice == Voice::preferences && why && verdict_.plan.options.contains(setting.kind))
            settingWarnings_.push_back(*why);
    }

    template <class Field>
    void warnTyped(const ConversionSetting<Field>& setting, std::optional<Text> why)
    {
        settingWarnings_.push_back(
            why ? why->localized()
                : filled("L'option {} est sans effet sur cette conversion."_fr, {"--" + std::string{setting.typed}}));
    }

    template <class Field>
    bool isRefused(Kind kind, const Field& value) const
    {
        return verdict_.plan.refused.contains(kind) && value != Field{};
    }

    static ConversionError refusalOf(Kind kind)
    {
        return ConversionError::unsupported(
            kind == Kind::targetSize ? "ce format ne propose pas de poids cible"_fr
                                     : "le retrait de l'arrière-plan n'est pas disponible sur cette machine"_fr);
    }

    /// Two settings that exclude each other wherever they come from.
    void settleProRes()
    {
        const auto notTaken = settingsNotTaken(verdict_.options, verdict_.plan.target);
        if (std::ranges::find(notTaken, OptionCombination::proResDefinition) == notTaken.end())
            return;
        verdict_.options.videoQuality = VideoQuality::original;
        settingWarnings_.push_back(message(OptionCombination::proResDefinition));
    }

    bool isOptimization() const { return verdict_.plan.source.id == verdict_.plan.target.id; }

    bool fits() const
    {
        return isOptimization() && verdict_.options.maxFileBytes && file_.fileSize <= *verdict_.options.maxFileBytes;
    }

    bool isSmallEnoughInPixels() const
    {
        const auto& [width, height] = std::pair{file_.properties.pixelWidth, file_.properties.pixelHeight};
        const auto& longest = verdict_.options.maxPixelDimension;
        return !longest || (width && height && std::max(*width, *height) <= *longest);
    }

    ConversionLoss resolutionKept() const
    {
        return isSmallEnoughInPixels() ? ConversionLoss::resolution : ConversionLoss{};
    }

    /// True for a file that is only to become smaller, and is small enough: encoding it again could only harm it.
    bool staysAsItIs() const
    {
        return fits() && isSmallEnoughInPixels() && verdict_.options.metadata == MetadataPolicy::keep &&
               verdict_.options.colorProfile == ColorProfilePolicy::preserve;
    }

    void keepAsItIs()
    {
        verdict_.plan.losses = {};
        settingWarnings_.push_back("Le fichier tient déjà dans le poids cible : il est repris à l'identique."_fr);
        asked_.typed.forEachGiven([this](const auto& setting) {
            if (setting.kind == Kind::quality || setting.kind == Kind::background)
                warnTyped(setting, std::nullopt);
        });
    }

    const OptionOverrides& settingsOf(Voice voice) const
    {
        return voice == Voice::typed ? asked_.typed : voice == Voice::recipe ? asked_.recipe : preferences_;
    }

    const ConversionPlanner& planner_;
    const DetectionResult& file_;
    const AskedOptions& asked_;
    const OptionOverrides preferences_;
    ConversionVerdict verdict_;
    std::vector<std::string> settingWarnings_;
};

} // namespace

ConversionVerdict verdictOn(const ConversionPlan& plan, const ConversionPlanner& planner, const DetectionResult& file,
                            const AskedOptions& asked)
{
    return Judge{plan, planner, file, asked}.judge();
}

} // namespace nivex
