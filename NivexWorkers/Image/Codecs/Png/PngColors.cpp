// What PNG files say about their colours without a profile: PNG, Third Edition, W3C, 11.3.2.
#include "NivexWorkers/Image/Codecs/Png/PngColors.hpp"

#include "NivexWorkers/Image/Codecs/Png/CheckedChunks.hpp"
#include "NivexWorkers/Image/Codecs/Profiles.hpp"
#include "NivexWorkers/Image/Codecs/Release.hpp"

#include "NivexKit/Foundation/Bytes/ByteReader.hpp"
#include "NivexKit/Structures/PngChunks.hpp"

#include <lcms2.h>

#include <array>
#include <memory>
#include <optional>

namespace nivex::image {
namespace {

constexpr std::uint32_t whole = 100'000; // both chunks count hundred-thousandths

// White, red, green and blue, x and y of each.
using Chromaticities = std::array<std::uint32_t, 8>;
constexpr Chromaticities chromaticitiesOfSrgb{31'270, 32'900, 64'000, 33'000, 30'000, 60'000, 15'000, 6'000};

struct ToldColors {
    bool isGrey = false;
    std::optional<std::uint32_t> gamma; // from light to number, as an exponent
    std::optional<Chromaticities> chromaticities;
};

/// None where a profile or the word sRGB stands.
std::optional<ToldColors> toldColors(const ByteSource& file)
{
    ToldColors told;
    constexpr int mostChunks = 1'000;
    PngChunks chunks{file};
    for (int i = 0; i < mostChunks; ++i) {
        const auto chunk = chunks.next();
        if (!chunk || chunk->type == "IDAT")
            break;
        if (chunk->type == "iCCP" || chunk->type == "sRGB" || chunk->type == "cICP")
            return std::nullopt;
        if (chunk->type != "IHDR" && chunk->type != "gAMA" && chunk->type != "cHRM")
            continue;
        const auto data = checkedData(file, *chunk).value_or(std::vector<std::byte>{});
        ByteReader reader{data, ByteOrder::big};
        if (chunk->type == "IHDR") {
            constexpr unsigned color = 2; // a bit of the colour type
            reader.skip(9);
            told.isGrey = (reader.u8() & color) == 0;
        } else if (chunk->type == "gAMA") {
            if (const std::uint32_t gamma = reader.u32(); !reader.failed() && gamma > 0)
                told.gamma = gamma;
        } else {
            Chromaticities values{};
            for (std::uint32_t& value : values)
                value = reader.u32();
            if (!reader.failed())
                told.chromaticities = values;
        }
    }
    return told;
}

/// Writers round, and call sRGB's curve that of 1/2.2.
bool isNear(std::uint32_t value, std::uint32_t wanted)
{
    constexpr std::uint32_t tolerance = 1'000;
    return value + tolerance >= wanted && value <= wanted + tolerance;
}

bool areThoseOfSrgb(const Chromaticities& values)
{
    for (std::size_t i = 0; i < values.size(); ++i)
        if (!isNear(values[i], chromaticitiesOfSrgb[i]))
            return false;
    return true;
}

bool areColors(const Chromaticities& values)
{
    for (std::size_t i = 0; i < values.size(); i += 2)
        if (values[i + 1] == 0 || values[i] > whole || values[i + 1] > whole)
            return false;
    return true;
}

bool isUsual(std::optional<std::uint32_t> gamma)
{
    constexpr std::uint32_t usual = 45'455;
    return !gamma || isNear(*gamma, usual);
}

cmsToneCurve* curveOf(std::optional<std::uint32_t> gamma)
{
    if (!isUsual(gamma))
        return cmsBuildGamma(nullptr, static_cast<double>(whole) / *gamma);
    const double sRgb[] = {2.4, 1 / 1.055, 0.055 / 1.055, 1 / 12.92, 0.04045}; // IEC 61966-2-1
    return cmsBuildParametricToneCurve(nullptr, 4, sRgb);
}

} // namespace

std::string profileOfPngColors(const ByteSource& file)
{
    const auto told = toldColors(file);
    constexpr std::uint32_t flattest = 10'000, steepest = 1'000'000; // beyond them a curve is a mistake
    if (!told || (told->gamma && (*told->gamma < flattest || *told->gamma > steepest)))
        return {};
    const Chromaticities values = told->chromaticities.value_or(chromaticitiesOfSrgb);
    if (!areColors(values) || (isUsual(told->gamma) && (told->isGrey || areThoseOfSrgb(values))))
        return {};
    const auto color = [&values](std::size_t at) {
        return cmsCIExyY{values[at] / double{whole}, values[at + 1] / double{whole}, 1};
    };
    const cmsCIExyY white = color(0);
    const cmsCIExyYTRIPLE primaries{color(2), color(4), color(6)};
    const std::unique_ptr<cmsToneCurve, Release<cmsFreeToneCurve>> curve{curveOf(told->gamma)};
    cmsToneCurve* const curves[] = {curve.get(), curve.get(), curve.get()};
    const std::unique_ptr<void, Release<cmsCloseProfile>> profile{
        told->isGrey ? cmsCreateGrayProfile(&white, curve.get()) : cmsCreateRGBProfile(&white, &primaries, curves)};
    return profile ? savedProfile(profile.get(), "PNG") : std::string{};
}

} // namespace nivex::image
