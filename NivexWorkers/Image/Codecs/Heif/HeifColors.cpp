#include "NivexWorkers/Image/Codecs/Heif/HeifColors.hpp"

#include "NivexWorkers/Image/Codecs/Profiles.hpp"
#include "NivexWorkers/Image/Codecs/Release.hpp"

#include <lcms2.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <vector>

namespace nivex::image {
namespace {

constexpr double whiteLuminance = 203; // cd/m²

/// Light of a PQ signal (SMPTE ST 2084), 1.0 for diffuse white.
double lightOfPq(double signal)
{
    constexpr double m1 = 2610.0 / 16384, m2 = 2523.0 / 4096 * 128;
    constexpr double c1 = 3424.0 / 4096, c2 = 2413.0 / 4096 * 32, c3 = 2392.0 / 4096 * 32;
    const double power = std::pow(signal, 1 / m2);
    return std::pow(std::max(power - c1, 0.0) / (c2 - c3 * power), 1 / m1) * 10'000 / whiteLuminance;
}

/// Light of an HLG signal (ARIB STD-B67) on a display of 1000 cd/m², 1.0 for diffuse white.
double lightOfHlg(double signal)
{
    constexpr double a = 0.17883277, b = 1 - 4 * a;
    const double c = 0.5 - a * std::log(4 * a);
    const double scene = signal <= 0.5 ? signal * signal / 3 : (std::exp((signal - c) / a) + b) / 12;
    return std::pow(scene, 1.2) * 1'000 / whiteLuminance;
}

cmsToneCurve* tabulated(double (*light)(double))
{
    std::vector<cmsFloat32Number> values(4'096);
    for (std::size_t i = 0; i < values.size(); ++i)
        values[i] = static_cast<float>(
            std::clamp(light(static_cast<double>(i) / static_cast<double>(values.size() - 1)), 0.0, 1.0));
    return cmsBuildTabulatedToneCurveFloat(nullptr, static_cast<cmsUInt32Number>(values.size()), values.data());
}

bool isLikeSrgb(heif_transfer_characteristics transfer)
{
    switch (transfer) {
    case heif_transfer_characteristic_linear:
    case heif_transfer_characteristic_ITU_R_BT_470_6_System_M:
    case heif_transfer_characteristic_ITU_R_BT_470_6_System_B_G:
    case heif_transfer_characteristic_ITU_R_BT_2100_0_PQ:
    case heif_transfer_characteristic_ITU_R_BT_2100_0_HLG:
        return false;
    default: // the curves of television are shown as sRGB's, which is how pictures that name them are made
        return true;
    }
}

cmsToneCurve* curveOf(heif_transfer_characteristics transfer)
{
    switch (transfer) {
    case heif_transfer_characteristic_linear:
        return cmsBuildGamma(nullptr, 1.0);
    case heif_transfer_characteristic_ITU_R_BT_470_6_System_M:
        return cmsBuildGamma(nullptr, 2.2);
    case heif_transfer_characteristic_ITU_R_BT_470_6_System_B_G:
        return cmsBuildGamma(nullptr, 2.8);
    case heif_transfer_characteristic_ITU_R_BT_2100_0_PQ:
        return tabulated(lightOfPq);
    case heif_transfer_characteristic_ITU_R_BT_2100_0_HLG:
        return tabulated(lightOfHlg);
    default: {
        const double sRgb[] = {2.4, 1 / 1.055, 0.055 / 1.055, 1 / 12.92, 0.04045}; // IEC 61966-2-1
        return cmsBuildParametricToneCurve(nullptr, 4, sRgb);
    }
    }
}

const char* nameOf(const heif_color_profile_nclx& colors)
{
    if (colors.color_primaries == heif_color_primaries_SMPTE_EG_432_1 && isLikeSrgb(colors.transfer_characteristics))
        return "Display P3";
    if (colors.color_primaries == heif_color_primaries_ITU_R_BT_2020_2_and_2100_0)
        return colors.transfer_characteristics == heif_transfer_characteristic_ITU_R_BT_2100_0_PQ    ? "Rec. 2100 PQ"
               : colors.transfer_characteristics == heif_transfer_characteristic_ITU_R_BT_2100_0_HLG ? "Rec. 2100 HLG"
                                                                                                     : "Rec. 2020";
    return "RGB";
}

} // namespace

std::string profileOfCodedColors(const heif_color_profile_nclx& colors)
{
    const bool isLikeSrgbsPrimaries = colors.color_primaries == heif_color_primaries_ITU_R_BT_709_5 ||
                                      colors.color_primaries == heif_color_primaries_unspecified;
    if (isLikeSrgbsPrimaries && isLikeSrgb(colors.transfer_characteristics))
        return {};

    // libheif leaves the coordinates of unspecified primaries at zero.
    const bool named = colors.color_primary_white_y > 0 && !isLikeSrgbsPrimaries;
    const cmsCIExyY white =
        named ? cmsCIExyY{colors.color_primary_white_x, colors.color_primary_white_y, 1} : cmsCIExyY{0.3127, 0.3290, 1};
    const cmsCIExyYTRIPLE primaries =
        named ? cmsCIExyYTRIPLE{{colors.color_primary_red_x, colors.color_primary_red_y, 1},
                                {colors.color_primary_green_x, colors.color_primary_green_y, 1},
                                {colors.color_primary_blue_x, colors.color_primary_blue_y, 1}}
              : cmsCIExyYTRIPLE{{0.64, 0.33, 1}, {0.30, 0.60, 1}, {0.15, 0.06, 1}};
    const std::unique_ptr<cmsToneCurve, Release<cmsFreeToneCurve>> curve{curveOf(colors.transfer_characteristics)};
    cmsToneCurve* const curves[] = {curve.get(), curve.get(), curve.get()};
    const std::unique_ptr<void, Release<cmsCloseProfile>> profile{cmsCreateRGBProfile(&white, &primaries, curves)};
    if (!profile)
        return {};
    return savedProfile(profile.get(), nameOf(colors));
}

} // namespace nivex::image
