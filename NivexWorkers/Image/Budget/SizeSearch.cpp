#include "NivexWorkers/Image/Budget/SizeSearch.hpp"

#include <algorithm>
#include <cmath>

namespace nivex::image {
namespace {

constexpr double closeEnough = 0.97; // of the maximum
constexpr double aim = 0.985;        // the middle of what is close enough
constexpr double leastSteepness = 0.2;
constexpr double nearEnough = 0.85;  // of the maximum, for a scale
constexpr double closeScales = 1.02; // the one divided by the other
constexpr int mostGuesses = 5;

/// An encoding that was made: its quality or scale, and its size.
struct Sample {
    double at;
    double bytes;
};

class SizeSearch {
public:
    SizeSearch(const SizeGoal& goal, const EncodingTrial& encode)
        : goal_{goal}, maximum_{static_cast<double>(goal.maximumBytes)},
          lowestQuality_{std::min(goal.lowestQuality, goal.quality)}, slope_{goal.steepness}, encode_{encode}
    {
    }

    std::optional<EncodingAttempt> run() { return runFrom({goal_.quality, 1}); }

    /// Begins where another search, of which something like this one is expected, has ended.
    std::optional<EncodingAttempt> runAfter(const SizeSearch& other, const std::optional<EncodingAttempt>& found)
    {
        if (!found)
            return run();
        slope_ = other.slope_;
        const auto best = runFrom(*found);
        const bool isTooSmall =
            best && best->scale < 1 && best->quality >= goal_.quality && goal_.quality > lowestQuality_;
        return isTooSmall ? run() : best;
    }

private:
    std::optional<EncodingAttempt> runFrom(const EncodingAttempt& begin)
    {
        const Sample first{begin.quality, bytes(begin.quality, begin.scale)};
        std::optional<Sample> fitting;
        std::optional<Sample> over;
        (fits(first) ? fitting : over) = first;
        if (const auto quality = highestQuality(begin.scale, fitting, over))
            return EncodingAttempt{*quality, begin.scale};
        return smaller({begin.scale, over->bytes});
    }

    double bytes(double quality, double scale) const { return static_cast<double>(encode_({quality, scale})); }

    bool fits(const Sample& sample) const { return sample.bytes <= maximum_; }

    /// The highest quality that fits, between one that fits (or, where none is known, the lowest) and `over`, which
    /// does not (or, where none is known, the quality asked for). None when not even the lowest fits, which is `over`
    /// then.
    std::optional<double> highestQuality(double scale, std::optional<Sample> fitting, std::optional<Sample>& over)
    {
        Sample latest = fitting ? *fitting : *over;
        for (int onOneSide = 0;;) { // how often in a row the same end moved: the other may be far off
            if (fitting && fitting->bytes >= closeEnough * maximum_)
                return fitting->at;
            const double lowest = fitting ? fitting->at + goal_.qualityStep : lowestQuality_;
            double highest = over ? over->at - goal_.qualityStep : goal_.quality;
            if (fitting && lowest > highest + goal_.qualityStep / 100)
                return fitting->at;
            if (!fitting && over->at <= lowest)
                return std::nullopt;
            highest = std::max(lowest, highest);
            const double guess =
                onOneSide < 2 ? latest.at + std::log(aim * maximum_ / latest.bytes) / slope_ : (lowest + highest) / 2;
            const double quality = stepped(guess, lowest, highest);
            const Sample sample{quality, bytes(quality, scale)};
            onOneSide = fitting && over && fits(sample) == fits(latest) ? onOneSide + 1 : 0;
            slope_ = std::max(std::log(sample.bytes / latest.bytes) / (sample.at - latest.at), leastSteepness);
            (fits(sample) ? fitting : over) = latest = sample;
        }
    }

    /// A quality that the encoder tells from its neighbours, inside the bounds.
    double stepped(double quality, double lowest, double highest) const
    {
        const double steps = std::round((std::clamp(quality, lowest, highest) - lowest) / goal_.qualityStep);
        return std::min(lowest + steps * goal_.qualityStep, highest);
    }

    /// A picture with fewer pixels, from the scale and size of one that is too large at the lowest quality.
    std::optional<EncodingAttempt> smaller(Sample over)
    {
        // Where the quality can be raised afterwards, the scale need only come near.
        const bool isLast = lowestQuality_ >= goal_.quality;
        const double enough = (isLast ? closeEnough : nearEnough) * maximum_;
        const double aimed = isLast ? aim * maximum_ : std::sqrt(nearEnough) * maximum_;
        std::optional<Sample> fitting;
        double power =
            2; // of the scale, with which the size grows; smaller where a part, the metadata, does not shrink
        for (int attempt = 0; !fitting || fitting->bytes < enough; ++attempt) {
            if (!fitting && over.at <= goal_.lowestScale)
                return std::nullopt;
            if (fitting && over.at < fitting->at * closeScales)
                break;
            double scale = over.at * std::pow(aimed / over.bytes, 1 / power);
            if (fitting && (attempt % 2 == 1 || scale <= fitting->at))
                scale = std::sqrt(fitting->at * over.at);
            else if (!fitting && attempt >= mostGuesses)
                scale = goal_.lowestScale; // if even that is too large, nothing fits
            const Sample sample = atLowest(std::max(scale, goal_.lowestScale));
            power = std::clamp(std::log(over.bytes / sample.bytes) / std::log(over.at / sample.at), 0.3, 2.5);
            if (fits(sample))
                fitting = sample;
            else
                over = sample;
        }
        return EncodingAttempt{isLast ? lowestQuality_ : highestQualityFrom(fitting->bytes, fitting->at), fitting->at};
    }

    Sample atLowest(double scale) const { return {scale, bytes(lowestQuality_, scale)}; }

    /// The highest quality that fits at a scale where the lowest does.
    double highestQualityFrom(double bytesOfLowest, double scale)
    {
        std::optional<Sample> over;
        return highestQuality(scale, Sample{lowestQuality_, bytesOfLowest}, over).value_or(lowestQuality_);
    }

    const SizeGoal& goal_;
    double maximum_;
    double lowestQuality_;
    double slope_; // by which the logarithm of the size grows with the quality, as far as is known
    const EncodingTrial& encode_;
};

} // namespace

std::optional<EncodingAttempt> bestAttemptByRate(const RateGoal& goal, const EncodingTrial& encode)
{
    if (encode({goal.quality, 1}) <= goal.maximumBytes)
        return EncodingAttempt{goal.quality, 1};
    const double most = aim * static_cast<double>(goal.maximumBytes);
    constexpr int mostAttempts = 6;
    double fixed = 0; // bytes that do not count for the encoder: metadata
    for (int i = 0; i < mostAttempts; ++i) {
        const double left = std::max(1.0, most - fixed);
        const double bitsPerPixel = 8 * left / static_cast<double>(goal.pixels);
        const double scale = std::clamp(std::sqrt(bitsPerPixel / goal.lowestBitsPerPixel), goal.lowestScale, 1.0);
        const EncodingAttempt attempt{goal.quality, scale, static_cast<std::int64_t>(left)};
        const std::int64_t size = encode(attempt);
        if (size <= goal.maximumBytes)
            return attempt;
        if (scale <= goal.lowestScale)
            return std::nullopt;
        fixed += static_cast<double>(size) - most;
    }
    return std::nullopt;
}

std::optional<EncodingAttempt> bestAttempt(const SizeGoal& goal, const EncodingTrial& encode,
                                           const EncodingTrial& estimate)
{
    SizeSearch search{goal, encode};
    if (!estimate)
        return search.run();
    SizeSearch estimating{goal, estimate};
    const auto found = estimating.run();
    return search.runAfter(estimating, found);
}

} // namespace nivex::image
