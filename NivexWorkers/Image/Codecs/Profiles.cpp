#include "NivexWorkers/Image/Codecs/Profiles.hpp"

#include "NivexWorkers/Image/Picture.hpp"

#include "NivexKit/Foundation/Bytes/ByteReader.hpp"

namespace nivex::image {

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

void embedProfile(vips::VImage& image, std::string_view profile)
{
    const ProfileColors needed = isCmyk(image)   ? ProfileColors::cmyk
                                 : isGrey(image) ? ProfileColors::grey
                                                 : ProfileColors::rgb;
    if (colorsOfProfile(profile) != needed)
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
