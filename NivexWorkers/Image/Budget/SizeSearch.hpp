#pragma once

#include <cstdint>
#include <functional>
#include <optional>

namespace nivex::image {

/// One way to encode a picture.
struct EncodingAttempt {
    double quality = 1;         // 0…1
    double scale = 1;           // of both sides, no more than 1
    std::int64_t goalBytes = 0; // what the encoder is to meet, whatever the quality; 0 for what the quality needs

    bool operator==(const EncodingAttempt&) const = default;
};

/// What a search may try.
struct SizeGoal {
    std::int64_t maximumBytes = 0;
    double quality = 0.85;      // asked for, never exceeded
    double lowestQuality = 0.4; // below it a smaller picture looks better
    double qualityStep = 0.01;  // the smallest difference that the encoder makes
    double lowestScale = 0.01;
    /// By how much the logarithm of the size grows from quality 0 to 1, roughly: the guess before anything is known.
    double steepness = 2.5;
};

/// Encodes and returns the size in bytes of the whole file.
using EncodingTrial = std::function<std::int64_t(const EncodingAttempt&)>;

/// Finds the best-looking way to encode a picture that is no larger than the maximum, with few encodings: the quality
/// asked for where that fits; else the highest quality that does; and where even the lowest does not, a smaller picture
/// at the highest quality that fits. Stops within 3 % below the maximum, or at the encoder's smallest step.
///
/// encode    what it throws ends the search; each attempt that fits is better than all that fitted before, so the last
///           one that fits is the result
/// estimate  where encoding is slow: tells roughly and much faster what `encode` would; the search begins where that
///           search ends
/// returns   the result, or nothing when not even the smallest picture at the lowest quality fits
std::optional<EncodingAttempt> bestAttempt(const SizeGoal& goal, const EncodingTrial& encode,
                                           const EncodingTrial& estimate = {});

/// The same for an encoder that meets a number of bytes.
struct RateGoal {
    std::int64_t maximumBytes = 0;
    double quality = 0.85; // asked for; more than it needs is not spent
    std::int64_t pixels = 0;
    double lowestBitsPerPixel = 0.25; // below it a smaller picture looks better
    double lowestScale = 0.01;
};

/// As bestAttempt: the quality asked for where that fits; else as many bytes as fit, in a smaller picture where they
/// are too few for all pixels.
std::optional<EncodingAttempt> bestAttemptByRate(const RateGoal& goal, const EncodingTrial& encode);

} // namespace nivex::image
