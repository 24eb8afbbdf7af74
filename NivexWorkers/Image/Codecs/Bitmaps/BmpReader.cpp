// Windows and OS/2 bitmaps. Source: the Windows SDK's BITMAPFILEHEADER.
#include "NivexWorkers/Image/Codecs/Bitmaps/Dib.hpp"
#include "NivexWorkers/Image/Codecs/Codec.hpp"

#include "NivexKit/Foundation/Bytes/ByteReader.hpp"

namespace nivex::image {

Bitmap openBmp(const SharedSource& file, const ResourceLimits& limits)
{
    constexpr std::uint64_t fileHeader = 14;
    const auto bytes = file->read(0, fileHeader);
    ByteReader header{bytes, damaged("BMP header: too short")};
    if (header.text(2) != "BM")
        throw damaged("BMP header: no BM");
    header.skip(8); // the file's size, which many writers get wrong, and reserved fields
    std::uint64_t pixels = header.u32();

    const Dib dib = readDib(*file, fileHeader, pixels);
    requireAcceptableSize(dib.width, dib.height, 1, limits);
    if (pixels <= fileHeader)
        pixels = dib.end;
    Bitmap bitmap = dibBitmap(file, dib, pixels);
    constexpr std::uint32_t largestProfile = 64 * 1024 * 1024;
    if (dib.profileSize > 0 && dib.profileSize <= largestProfile)
        bitmap.profile = file->read(dib.profileBegin, dib.profileSize); // without a sound one colours count as sRGB
    return bitmap;
}

} // namespace nivex::image
