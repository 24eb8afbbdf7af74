#include "NivexKit/Contract/OptionCombinations.hpp"
#include "NivexKit/Formats/FormatRegistry.hpp"
#include "NivexKit/Recipes/ConversionRecipe.hpp"
#include "NivexKit/Recipes/TargetCapabilities.hpp"

namespace nivex {
namespace {

using Kind = RecipeBlockKind;

bool isProRes(VideoCodec codec) { return codec == VideoCodec::prores422 || codec == VideoCodec::prores4444; }

/// Collects the warnings of one recipe, at most one a block.
class Warnings {
public:
    Warnings(const ConversionRecipe& recipe, const FileFormat& target, const TargetCapabilities& capabilities)
        : recipe_{recipe}, target_{target}, capabilities_{capabilities}
    {
    }

    std::vector<std::string> collect() &&
    {
        warnOfCombinations();
        // Where nothing writes the target the conversion itself will say so; every block would be warned of here.
        if (capabilities_.isReachable)
            warnOfUnsupportedOptions();
        return std::move(messages_);
    }

private:
    /// The value of the block of that type; null when the recipe has none.
    template <class Block>
    const auto* value() const
    {
        for (const RecipeStep& each : recipe_.steps)
            if (const auto* block = std::get_if<Block>(&each))
                return &block->value;
        return static_cast<const decltype(Block::value)*>(nullptr);
    }

    template <class Block, class Value>
    bool asksFor(Value wanted) const
    {
        const auto* found = value<Block>();
        return found && *found == wanted;
    }

    void warnOfCombinations()
    {
        using enum OptionCombination;
        const auto* definition = value<step::VideoDefinition>();
        const auto* codec = value<step::Codec>();
        const bool proRes = codec && isProRes(*codec);

        warn(pageTransparency, Kind::pageBackground, asksFor<step::Page>(PageBackground::transparent));
        warn(cmyk, Kind::colorProfile, asksFor<step::ColorProfile>(ColorProfilePolicy::cmyk));
        warn(proResDefinition, Kind::videoQuality, proRes && definition && *definition != VideoQuality::original);
        warn(audioBitRate, Kind::audioBitRate, value<step::AudioBitRate>());
        warn(proResOutput, Kind::videoCodec, proRes);
        warn(videoCodec, Kind::videoCodec, codec && !proRes);
        warn(videoQuality, Kind::videoQuality, definition);
        warn(targetSize, Kind::maxFileBytes, value<step::MaxFileBytes>());
    }

    void warn(OptionCombination combination, Kind kind, bool isAsked)
    {
        if (isAsked && !isTaken(combination, target_))
            add(kind, message(combination));
    }

    void warnOfUnsupportedOptions()
    {
        for (const Kind kind : allBlockKinds()) {
            const auto option = requiredOption(kind);
            if (option && hasEffect(kind) && !capabilities_.options.contains(*option))
                add(kind, unsupported(kind));
        }
    }

    bool hasEffect(Kind kind) const
    {
        if (kind == Kind::removeBackground)
            return asksFor<step::RemoveBackground>(true);
        // The runner sees to a target size whatever the engines say.
        if (kind == Kind::maxFileBytes)
            return false;
        for (const RecipeStep& each : recipe_.steps)
            if (blockKind(each) == kind)
                return true;
        return false;
    }

    static std::string unsupported(Kind kind)
    {
        switch (kind) {
        case Kind::videoQuality:
            return message(OptionCombination::videoQuality);
        case Kind::videoCodec:
            return message(OptionCombination::videoCodec);
        case Kind::audioBitRate:
            return message(OptionCombination::audioBitRate);
        default:
            return title(kind) + " : réservé aux conversions d’images compatibles."_fr.localized();
        }
    }

    void add(Kind kind, std::string message)
    {
        bool& warned = warned_[static_cast<std::size_t>(kind)];
        if (!warned)
            messages_.push_back(std::move(message));
        warned = true;
    }

    const ConversionRecipe& recipe_;
    const FileFormat& target_;
    const TargetCapabilities& capabilities_;
    bool warned_[std::variant_size_v<RecipeStep>] = {};
    std::vector<std::string> messages_;
};

} // namespace

TargetCapabilities TargetCapabilities::of(const FormatID& target, const EngineList& engines)
{
    TargetCapabilities result;
    for (const auto& engine : engines) {
        if (!engine->availability().isAvailable())
            continue;
        for (const EngineCapability& edge : engine->capabilities()) {
            if (edge.target != target)
                continue;
            result.isReachable = true;
            result.options |= edge.options;
        }
    }
    return result;
}

std::vector<std::string> ConversionRecipe::compatibilityWarnings(const TargetCapabilities& capabilities) const
{
    const std::optional<FormatID> known = target();
    const FileFormat* format = known ? FormatRegistry::standard().format(*known) : nullptr;
    return format ? Warnings{*this, *format, capabilities}.collect() : std::vector<std::string>{};
}

} // namespace nivex
