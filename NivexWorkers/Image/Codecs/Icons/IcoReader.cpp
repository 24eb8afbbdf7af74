// The pictures of Windows icons. Source: "Icons in Win32".
#include "NivexWorkers/Image/Codecs/Bitmaps/Dib.hpp"
#include "NivexWorkers/Image/Codecs/Codec.hpp"
#include "NivexWorkers/Image/Codecs/Icons/Icons.hpp"

#include "NivexKit/Structures/IconFiles.hpp"

#include <algorithm>
#include <optional>

namespace nivex::image {
namespace {

constexpr std::uint32_t alphaMask = 0xFF000000;

/// Where the bits stand that make pixels transparent, one a pixel, from the lowest row up.
struct TransparencyMask {
    std::uint64_t begin = 0;
    std::uint64_t rowBytes = 0;

    std::uint64_t end(int height) const { return begin + rowBytes * static_cast<unsigned>(height); }
};

/// Gives a bitmap without alpha the alpha of a mask; without one it is opaque.
Bitmap masked(const SharedSource& file, Bitmap plain, const std::optional<TransparencyMask>& mask)
{
    Bitmap bitmap = plain;
    bitmap.hasAlpha = true;
    bitmap.readRow = [file, plain, mask](int y, std::span<std::byte> row) {
        std::vector<std::byte> colours(plain.rowBytes());
        plain.readRow(y, colours);
        const auto width = static_cast<std::size_t>(plain.width);
        std::vector<std::byte> bits((width + 7) / 8);
        if (mask)
            readExactly(*file, mask->begin + mask->rowBytes * static_cast<unsigned>(plain.height - 1 - y), bits);
        const std::size_t colourBytes = plain.rowBytes() / width;
        const auto opaque = std::byte{0xFF};
        const std::size_t componentBytes = static_cast<std::size_t>(plain.bits) / 8;
        std::byte* to = row.data();
        for (std::size_t x = 0; x < width; ++x) {
            to = std::copy_n(colours.begin() + static_cast<std::ptrdiff_t>(x * colourBytes), colourBytes, to);
            const bool isTransparent = (std::to_integer<unsigned>(bits[x / 8]) >> (7 - x % 8) & 1) != 0;
            to = std::fill_n(to, componentBytes, isTransparent ? std::byte{0} : opaque);
        }
    };
    return bitmap;
}

/// The header of a picture that is stored as pixels; its height is that of the picture alone.
Dib iconDib(const ByteSource& file, const IcoEntry& entry)
{
    Dib dib = readDib(file, entry.offset, 0);
    dib.height /= 2; // the mask counts too
    if (dib.packing != Dib::Packing::none || dib.isTopDown || dib.height < 1)
        throw damaged("ICO: DIB header that no icon has");
    return dib;
}

Bitmap iconBitmap(const SharedSource& file, const IcoEntry& entry, Dib dib)
{
    if (dib.bitsPerPixel == 32)
        dib.masks[3] = alphaMask; // which the header of an icon never names
    Bitmap bitmap = dibBitmap(file, dib, dib.end);
    if (bitmap.hasAlpha)
        return bitmap;
    const TransparencyMask mask{.begin = dib.end +
                                         dibRowBytes(dib.width, dib.bitsPerPixel) * static_cast<unsigned>(dib.height),
                                .rowBytes = dibRowBytes(dib.width, 1)};
    if (entry.size == mask.begin - entry.offset)
        return masked(file, std::move(bitmap), std::nullopt); // some writers leave it out
    if (mask.end(dib.height) > file->size())
        throw damaged("ICO: mask behind the end of the file");
    return masked(file, std::move(bitmap), mask);
}

} // namespace

std::vector<IconPicture> openIco(const SharedSource& file, const ResourceLimits& limits)
{
    const auto entries = icoEntries(*file);
    if (!entries)
        throw damaged("ICO directory: cut, or not of icons");
    std::vector<IconPicture> pictures;
    std::int64_t total = 0;
    for (const IcoEntry& entry : *entries) {
        if (entry.offset > file->size() || file->size() - entry.offset < entry.size)
            throw damaged("ICO directory: an entry behind the end of the file");
        IconPicture picture;
        if (isPng(*file, entry.offset)) {
            picture = pngInside(*file, entry.offset, entry.size);
        } else {
            const Dib dib = iconDib(*file, entry);
            picture = {.width = dib.width,
                       .height = dib.height,
                       .bitsPerPixel = dib.bitsPerPixel,
                       .bitmap = [file, entry, dib] { return iconBitmap(file, entry, dib); }};
        }
        requireAcceptableSize(picture.width, picture.height, 1, limits);
        total += std::int64_t{picture.width} * picture.height;
        requireAcceptableSize(total, 1, 1, limits);
        pictures.push_back(std::move(picture));
    }
    return inOrder(std::move(pictures));
}

} // namespace nivex::image
