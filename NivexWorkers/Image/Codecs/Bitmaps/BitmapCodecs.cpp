// The formats of one picture that NIVEX reads and writes itself, row by row: BMP and TGA.
#include "NivexWorkers/Image/Codecs/Bitmaps/BitmapImage.hpp"
#include "NivexWorkers/Image/Codecs/Rows.hpp"

#include "NivexKit/Foundation/Bytes/ByteWriter.hpp"
#include "NivexKit/Foundation/Files/OutputFile.hpp"

#include <algorithm>
#include <cmath>

namespace nivex::image {
namespace {

using vips::VImage;

/// Grey with alpha becomes colour with alpha, where a format knows no such grey.
VImage greyOrColour(const VImage& image)
{
    return image.bands() == 2 ? image.colourspace(VIPS_INTERPRETATION_sRGB) : image;
}

/// Copies pixels, red and blue changing places in those of 3 or 4 components.
void appendBlueFirst(std::string& to, std::span<const std::byte> pixels, std::size_t bands)
{
    const std::size_t begin = to.size();
    to.append(reinterpret_cast<const char*>(pixels.data()), pixels.size());
    if (bands >= 3)
        for (std::size_t at = begin; at + bands <= to.size(); at += bands)
            std::swap(to[at], to[at + 2]);
}

struct BmpLayout {
    std::uint32_t headerSize;
    std::uint32_t bitsPerPixel;
    std::uint64_t pixels; // where they begin
    std::uint64_t rowBytes;
};

/// The headers, and the palette of a grey picture. Alpha needs the fourth version of the header; without it the oldest
/// is understood by most.
ByteWriter bmpHead(const VImage& image, const BmpLayout& layout)
{
    constexpr std::uint32_t bitFields = 3;
    const bool hasAlpha = image.bands() == 4;
    const bool isGrey = image.bands() == 1;
    const std::uint64_t pixelBytes = layout.rowBytes * static_cast<unsigned>(image.height());
    const auto dotsPerMetre = [](double dotsPerMillimetre) {
        return static_cast<std::uint32_t>(std::clamp(std::round(dotsPerMillimetre * 1000), 0.0, 1e9));
    };
    ByteWriter head{ByteOrder::little};
    head.text("BM");
    head.u32(static_cast<std::uint32_t>(layout.pixels + pixelBytes));
    head.u32(0);
    head.u32(static_cast<std::uint32_t>(layout.pixels));
    head.u32(layout.headerSize);
    head.u32(static_cast<std::uint32_t>(image.width()));
    head.u32(static_cast<std::uint32_t>(image.height()));
    head.u16(1); // planes
    head.u16(static_cast<std::uint16_t>(layout.bitsPerPixel));
    head.u32(hasAlpha ? bitFields : 0);
    head.u32(static_cast<std::uint32_t>(pixelBytes));
    head.u32(dotsPerMetre(image.xres()));
    head.u32(dotsPerMetre(image.yres()));
    head.u32(isGrey ? 256 : 0);
    head.u32(0); // all colours are important
    if (hasAlpha) {
        for (const std::uint32_t mask : {0x00FF0000U, 0x0000FF00U, 0x000000FFU, 0xFF000000U})
            head.u32(mask);
        head.u32(0x73524742); // 'sRGB'
        head.zeros(36 + 12);  // end points and gamma, which sRGB has no use for
    }
    for (unsigned value = 0; isGrey && value < 256; ++value)
        head.u32(value * 0x010101);
    return head;
}

/// The end of a file of version 2: what alpha means, and the mark.
ByteWriter tgaTail(bool hasAlpha, std::uint64_t position)
{
    constexpr std::uint16_t extensionBytes = 495;
    constexpr std::uint8_t usefulAlpha = 3;
    ByteWriter tail{ByteOrder::little};
    if (hasAlpha) {
        tail.u16(extensionBytes);
        tail.zeros(extensionBytes - 3);
        tail.u8(usefulAlpha);
    }
    tail.u32(hasAlpha ? static_cast<std::uint32_t>(position) : 0);
    tail.u32(0); // no developer's directory
    tail.text("TRUEVISION-XFILE.");
    tail.u8(0);
    return tail;
}

/// Appends one row in packets of runs and of differing pixels.
void appendPackets(std::string& to, std::string_view row, std::size_t pixelBytes)
{
    constexpr std::size_t longest = 128;
    const std::size_t count = row.size() / pixelBytes;
    const auto pixel = [&](std::size_t i) { return row.substr(i * pixelBytes, pixelBytes); };
    const auto runAt = [&](std::size_t begin) {
        std::size_t end = begin + 1;
        while (end < count && end - begin < longest && pixel(end) == pixel(begin))
            ++end;
        return end - begin;
    };
    for (std::size_t at = 0; at < count;) {
        if (const std::size_t run = runAt(at); run > 1) {
            to.push_back(static_cast<char>(0x80 | (run - 1)));
            to.append(pixel(at));
            at += run;
            continue;
        }
        const std::size_t begin = at;
        while (at < count && at - begin < longest && runAt(at) == 1)
            ++at;
        to.push_back(static_cast<char>(at - begin - 1));
        to.append(row.substr(begin * pixelBytes, (at - begin) * pixelBytes));
    }
}

Picture single(Bitmap bitmap) { return {.frames = {imageOf(std::move(bitmap))}}; }

} // namespace

Picture readBmp(const ReadRequest& request) { return single(openBmp(openedSource(request), request.limits)); }

Picture readTga(const ReadRequest& request) { return single(openTga(openedSource(request), request.limits)); }

void writeBmp(const Picture& picture, const WriteRequest& request)
{
    constexpr std::uint64_t fileHeader = 14;
    const VImage image = greyOrColour(picture.first());
    const auto bands = static_cast<std::size_t>(image.bands());
    BmpLayout layout{.headerSize = bands == 4 ? 108U : 40U, .bitsPerPixel = static_cast<std::uint32_t>(8 * bands)};
    layout.pixels = fileHeader + layout.headerSize + (bands == 1 ? 4 * 256 : 0);
    layout.rowBytes = (static_cast<std::uint64_t>(image.width()) * bands + 3) / 4 * 4;

    NewFile file{request.file};
    file.write(bmpHead(image, layout).view());
    pullRows(image, request.progress, 0, 1, [&](int y, std::span<const std::byte> pixels) {
        std::string row;
        row.reserve(static_cast<std::size_t>(layout.rowBytes));
        appendBlueFirst(row, pixels, bands);
        row.resize(static_cast<std::size_t>(layout.rowBytes));
        // The lowest row stands first.
        file.writeAt(layout.pixels + layout.rowBytes * static_cast<unsigned>(image.height() - 1 - y), row);
    });
    file.finish();
}

void writeTga(const Picture& picture, const WriteRequest& request)
{
    constexpr std::uint8_t packedColour = 10;
    constexpr std::uint8_t packedGrey = 11;
    constexpr std::uint8_t topDown = 0x20;
    const VImage image = greyOrColour(picture.first());
    const auto bands = static_cast<std::size_t>(image.bands());
    const bool hasAlpha = bands == 4;
    ByteWriter head{ByteOrder::little};
    head.zeros(2); // no identification, no palette
    head.u8(bands == 1 ? packedGrey : packedColour);
    head.zeros(5 + 4); // palette and position
    head.u16(static_cast<std::uint16_t>(image.width()));
    head.u16(static_cast<std::uint16_t>(image.height()));
    head.u8(static_cast<std::uint8_t>(8 * bands));
    head.u8(static_cast<std::uint8_t>(topDown | (hasAlpha ? 8 : 0)));

    NewFile file{request.file};
    file.write(head.view());
    std::uint64_t written = head.size();
    std::string packed;
    const auto flush = [&] {
        file.write(packed);
        written += packed.size();
        packed.clear();
    };
    pullRows(image, request.progress, 0, 1, [&](int, std::span<const std::byte> pixels) {
        std::string row;
        appendBlueFirst(row, pixels, bands);
        appendPackets(packed, row, bands);
        constexpr std::size_t muchAtOnce = 256 * 1024;
        if (packed.size() >= muchAtOnce)
            flush();
    });
    flush();
    file.write(tgaTail(hasAlpha, written).view());
    file.finish();
}

} // namespace nivex::image
