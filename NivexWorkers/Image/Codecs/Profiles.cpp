#include "NivexWorkers/Image/Codecs/Profiles.hpp"

#include "NivexWorkers/Image/Codecs/Release.hpp"
#include "NivexWorkers/Image/Picture.hpp"

#include "NivexKit/Foundation/Bytes/ByteReader.hpp"

#include <lcms2.h>

#include <array>
#include <cmath>
#include <memory>

namespace nivex::image {
namespace {

bool fits(std::string_view profile, const vips::VImage& image)
{
    const ProfileColors needed = isCmyk(image)   ? ProfileColors::cmyk
                                 : isGrey(image) ? ProfileColors::grey
                                                 : ProfileColors::rgb;
    return colorsOfProfile(profile) == needed;
}

} // namespace

ProfileColors colorsOfProfile(std::string_view profile)
{
    ByteReader reader{std::as_bytes(std::span{profile}), ByteOrder::big};
    const std::uint32_t size = reader.u32();
    reader.seek(16);
    const std::string_view colors = reader.text(4);
    reader.seek(36);
    const std::string_view signature = reader.text(4);
    reader.seek(128);
    if (reader.failed() || size > profile.size() || signature != "acsp")
        return ProfileColors::none;
    return colors == "GRAY"   ? ProfileColors::grey
           : colors == "RGB " ? ProfileColors::rgb
           : colors == "CMYK" ? ProfileColors::cmyk
                              : ProfileColors::other;
}

std::optional<VipsIntent> readingIntent(std::string_view profile)
{
    constexpr std::array intents{VIPS_INTENT_RELATIVE, VIPS_INTENT_PERCEPTUAL, VIPS_INTENT_SATURATION,
                                 VIPS_INTENT_ABSOLUTE}; // with the numbers of ICC.1
    const std::unique_ptr<void, Release<cmsCloseProfile>> opened{
        cmsOpenProfileFromMem(profile.data(), static_cast<cmsUInt32Number>(profile.size()))};
    if (opened)
        for (const VipsIntent intent : intents)
            if (cmsIsIntentSupported(opened.get(), static_cast<cmsUInt32Number>(intent), LCMS_USED_AS_INPUT))
                return intent;
    return std::nullopt;
}

bool countsLight(std::string_view profile)
{
    const std::unique_ptr<void, Release<cmsCloseProfile>> opened{
        cmsOpenProfileFromMem(profile.data(), static_cast<cmsUInt32Number>(profile.size()))};
    if (!opened)
        return false;
    const std::unique_ptr<void, Release<cmsCloseProfile>> lab{cmsCreateLab4Profile(nullptr)};
    const bool isGrey = colorsOfProfile(profile) == ProfileColors::grey;
    const std::unique_ptr<void, Release<cmsDeleteTransform>> transform{
        cmsCreateTransform(opened.get(), isGrey ? TYPE_GRAY_DBL : TYPE_RGB_DBL, lab.get(), TYPE_Lab_DBL,
                           INTENT_RELATIVE_COLORIMETRIC, cmsFLAGS_NOCACHE | cmsFLAGS_NOOPTIMIZE)};
    if (!transform)
        return false;
    const double half[] = {0.5, 0.5, 0.5};
    double color[3]{};
    cmsDoTransform(transform.get(), half, color, 1);
    constexpr double lightnessOfHalf = 76.07; // CIE 15
    return std::abs(color[0] - lightnessOfHalf) < 1;
}

vips::VImage withUsableProfile(const vips::VImage& image)
{
    if (!hasProfile(image))
        return image;
    const std::string_view profile = profileOf(image);
    if (fits(profile, image) && readingIntent(profile))
        return image;
    vips::VImage bare = image.copy();
    bare.remove(VIPS_META_ICC_NAME);
    return bare;
}

std::string savedProfile(void* profile, const char* name)
{
    const std::unique_ptr<cmsMLU, Release<cmsMLUfree>> text{cmsMLUalloc(nullptr, 1)};
    cmsMLUsetASCII(text.get(), "en", "US", name);
    cmsWriteTag(profile, cmsSigProfileDescriptionTag, text.get());
    cmsUInt32Number size = 0;
    if (!cmsSaveProfileToMem(profile, nullptr, &size))
        return {};
    std::string bytes(size, '\0');
    return cmsSaveProfileToMem(profile, bytes.data(), &size) ? bytes : std::string{};
}

void embedProfile(vips::VImage& image, std::string_view profile)
{
    if (!fits(profile, image))
        return;
    image = image.copy();
    vips_image_set_blob_copy(image.get_image(), VIPS_META_ICC_NAME, profile.data(), profile.size());
}

std::string_view profileOf(const vips::VImage& image)
{
    if (!hasProfile(image))
        return {};
    std::size_t size = 0;
    const void* data = image.get_blob(VIPS_META_ICC_NAME, &size);
    return {static_cast<const char*>(data), size};
}

} // namespace nivex::image
