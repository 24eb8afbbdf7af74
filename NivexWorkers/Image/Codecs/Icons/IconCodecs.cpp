// Files of icons: one picture in several sizes, each a square.
#include "NivexWorkers/Image/Codecs/Bitmaps/BitmapImage.hpp"
#include "NivexWorkers/Image/Codecs/Icons/Icons.hpp"
#include "NivexWorkers/Image/Codecs/Vips/VipsFiles.hpp"

#include "NivexKit/Foundation/Bytes/ByteWriter.hpp"
#include "NivexKit/Foundation/Files/OutputFile.hpp"

#include <algorithm>
#include <functional>
#include <iterator>
#include <map>

namespace nivex::image {
namespace {

using vips::VImage;

/// The picture with alpha, opaque where it had none.
VImage withAlpha(const VImage& image)
{
    VipsImage* result = nullptr;
    if (image.has_alpha())
        return image;
    if (vips_addalpha(image.get_image(), &result, nullptr) != 0)
        throw vips::VError();
    return VImage{result};
}

VImage decoded(const SharedSource& file, const IconPicture& icon, const ReadRequest& request)
{
    switch (icon.coding) {
    case IconPicture::Coding::png:
        return decodedPng(readExactly(*file, icon.begin, static_cast<std::size_t>(icon.size)), VIPS_ACCESS_RANDOM);
    case IconPicture::Coding::jpeg2000: {
        const auto bytes = readExactly(*file, icon.begin, static_cast<std::size_t>(icon.size));
        return readJpeg2000(MemorySource{bytes}, request).first();
    }
    case IconPicture::Coding::pixels:
        break;
    }
    return imageOf(icon.bitmap());
}

Picture readIcons(const SharedSource& file, std::vector<IconPicture> icons, const ReadRequest& request)
{
    if (!request.wantsAllFrames)
        icons.resize(1);
    Picture picture{.kind = FrameKind::sizes};
    for (const IconPicture& icon : icons)
        picture.frames.push_back(withAlpha(decoded(file, icon, request)));
    return picture;
}

/// Pixels of a square: red, green, blue and alpha, from the upper left.
struct Square {
    int side = 0;
    std::vector<std::byte> pixels;

    std::byte component(int x, int y, int band) const
    {
        return pixels[4 * (static_cast<std::size_t>(y) * static_cast<std::size_t>(side) + static_cast<std::size_t>(x)) +
                      static_cast<std::size_t>(band)];
    }
};

/// The picture in the middle of a transparent square that is at least as large.
Square centred(const VImage& image, int side)
{
    const VImage square = image.gravity(
        VIPS_COMPASS_DIRECTION_CENTRE, side, side,
        VImage::option()->set("extend", VIPS_EXTEND_BACKGROUND)->set("background", std::vector<double>{0, 0, 0, 0}));
    std::size_t size = 0;
    const std::unique_ptr<void, decltype(&g_free)> pixels{square.write_to_memory(&size), g_free};
    const auto* const first = static_cast<const std::byte*>(pixels.get());
    return {.side = side, .pixels = {first, first + size}};
}

/// The squares of a file of icons, largest first: one for each size of the picture, and for a single one of all usual
/// sizes below its own. A picture is never enlarged: it stands in the middle of the square that `squareFor` its longest
/// side chooses.
std::vector<Square> squaresOf(const Picture& picture, std::span<const int> usualSides,
                              const std::function<int(int)>& squareFor)
{
    std::map<int, VImage, std::greater<>> chosen; // by the side of the square
    const auto longestSide = [](const VImage& image) { return std::max(image.width(), image.height()); };
    for (const VImage& frame : picture.frames) {
        const int side = squareFor(longestSide(frame));
        const auto [place, isNew] = chosen.try_emplace(side, frame);
        // Larger sizes were scaled down to the format's limit; the last of one size is the one that was drawn for it.
        if (!isNew && longestSide(frame) >= longestSide(place->second))
            place->second = frame;
    }
    std::vector<Square> squares;
    for (const auto& [side, frame] : chosen) {
        // A frame is pulled once for every size, and may be readable once only.
        const VImage colours = withAlpha(frame.colourspace(VIPS_INTERPRETATION_sRGB)).copy_memory();
        squares.push_back(centred(colours, side));
        if (picture.frames.size() > 1)
            continue;
        for (const int usual : usualSides)
            if (usual < longestSide(frame) && usual < side)
                squares.push_back(
                    centred(colours.thumbnail_image(usual, VImage::option()->set("height", usual)), usual));
    }
    return squares;
}

std::vector<std::byte> asPng(Square square) // of its own: libvips asks for memory that may be written
{
    const VImage image = VImage::new_from_memory(square.pixels.data(), square.pixels.size(), square.side, square.side,
                                                 4, VIPS_FORMAT_UCHAR)
                             .copy(VImage::option()->set("interpretation", VIPS_INTERPRETATION_sRGB));
    VipsBlob* blob = nullptr;
    image.call("pngsave_buffer", VImage::option()->set("in", image)->set("buffer", &blob));
    std::size_t size = 0;
    const auto* const first = static_cast<const std::byte*>(vips_blob_get(blob, &size));
    std::vector<std::byte> bytes{first, first + size};
    vips_area_unref(VIPS_AREA(blob));
    return bytes;
}

/// A device-independent bitmap of 32 bits with the mask that readers without alpha go by.
std::vector<std::byte> asDib(const Square& square)
{
    constexpr std::uint32_t headerBytes = 40;
    const auto side = static_cast<std::uint32_t>(square.side);
    ByteWriter dib{ByteOrder::little};
    dib.u32(headerBytes).u32(side).u32(2 * side).u16(1).u16(32);
    dib.zeros(headerBytes - 16);
    for (int y = square.side - 1; y >= 0; --y)
        for (int x = 0; x < square.side; ++x)
            for (const int band : {2, 1, 0, 3})
                dib.u8(std::to_integer<std::uint8_t>(square.component(x, y, band)));
    for (int y = square.side - 1; y >= 0; --y)
        for (int x = 0; x < (square.side + 31) / 32 * 32; x += 8) {
            unsigned bits = 0;
            for (int i = 0; i < 8; ++i)
                bits = bits << 1 | (x + i < square.side && square.component(x + i, y, 3) == std::byte{0} ? 1U : 0U);
            dib.u8(static_cast<std::uint8_t>(bits));
        }
    return std::move(dib).release();
}

/// Appends one plane in the packing of ICNS.
void appendPacked(ByteWriter& to, const std::vector<std::byte>& plane)
{
    constexpr std::size_t shortestRun = 3;
    constexpr std::size_t longestRun = 130;
    constexpr std::size_t mostLiterals = 128;
    const auto runAt = [&plane](std::size_t begin) {
        std::size_t end = begin + 1;
        while (end < plane.size() && end - begin < longestRun && plane[end] == plane[begin])
            ++end;
        return end - begin;
    };
    for (std::size_t at = 0; at < plane.size();) {
        if (const std::size_t run = runAt(at); run >= shortestRun) {
            to.u8(static_cast<std::uint8_t>(run + 125)).u8(std::to_integer<std::uint8_t>(plane[at]));
            at += run;
            continue;
        }
        const std::size_t begin = at;
        while (at < plane.size() && at - begin < mostLiterals && runAt(at) < shortestRun)
            ++at;
        to.u8(static_cast<std::uint8_t>(at - begin - 1));
        to.bytes(std::span{plane}.subspan(begin, at - begin));
    }
}

std::vector<std::byte> plane(const Square& square, std::size_t band)
{
    std::vector<std::byte> values;
    for (std::size_t at = band; at < square.pixels.size(); at += 4)
        values.push_back(square.pixels[at]);
    return values;
}

/// How each size is stored. The oldest four are planes and a mask, which every reader understands; the others PNG.
struct IcnsSize {
    int side;
    std::string_view type;
    std::string_view mask = {};
};

constexpr IcnsSize icnsSizes[] = {
    {16, "is32", "s8mk"},  {32, "il32", "l8mk"}, {48, "ih32", "h8mk"}, {64, "ic12"},
    {128, "it32", "t8mk"}, {256, "ic08"},        {512, "ic09"},        {1024, "ic10"},
};

void putElement(ByteWriter& file, std::string_view type, std::span<const std::byte> contents)
{
    file.text(type).u32(static_cast<std::uint32_t>(8 + contents.size())).bytes(contents);
}

void putSquare(ByteWriter& file, const Square& square)
{
    const auto row = std::ranges::find(icnsSizes, square.side, &IcnsSize::side);
    if (row->mask.empty())
        return putElement(file, row->type, asPng(square));
    ByteWriter colours{ByteOrder::big};
    if (square.side == 128)
        colours.zeros(4); // as all writers do
    for (std::size_t band = 0; band < 3; ++band)
        appendPacked(colours, plane(square, band));
    putElement(file, row->type, std::move(colours).release());
    putElement(file, row->mask, plane(square, 3));
}

} // namespace

Picture readIco(const ReadRequest& request)
{
    const SharedSource file = openedSource(request);
    return readIcons(file, openIco(file, request.limits), request);
}

Picture readIcns(const ReadRequest& request)
{
    const SharedSource file = openedSource(request);
    return readIcons(file, openIcns(file, request.limits), request);
}

void writeIco(const Picture& picture, const WriteRequest& request)
{
    constexpr int usualSides[] = {128, 64, 48, 32, 24, 16};
    constexpr int largest = 256; // and the only one as PNG, which systems before 2007 cannot read
    const std::vector<Square> squares = squaresOf(picture, usualSides, [](int longest) { return longest; });
    std::vector<std::vector<std::byte>> contents;
    for (const Square& square : squares)
        contents.push_back(square.side == largest ? asPng(square) : asDib(square));

    ByteWriter directory{ByteOrder::little};
    directory.u16(0).u16(1).u16(static_cast<std::uint16_t>(squares.size()));
    std::size_t offset = 6 + 16 * squares.size();
    for (std::size_t i = 0; i < squares.size(); ++i) {
        const auto side = static_cast<std::uint8_t>(squares[i].side); // 256 is written as 0
        directory.u8(side).u8(side).u8(0).u8(0).u16(1).u16(32);
        directory.u32(static_cast<std::uint32_t>(contents[i].size())).u32(static_cast<std::uint32_t>(offset));
        offset += contents[i].size();
    }
    for (const auto& each : contents)
        directory.bytes(each);
    writeNewFile(request.file, directory.view());
    request.progress(1.0);
}

void writeIcns(const Picture& picture, const WriteRequest& request)
{
    constexpr int usualSides[] = {512, 256, 128, 64, 48, 32, 16};
    const auto squareFor = [](int longest) {
        const auto row = std::ranges::find_if(icnsSizes, [&](const IcnsSize& each) { return each.side >= longest; });
        return row->side;
    };
    ByteWriter elements{ByteOrder::big};
    for (const Square& square : squaresOf(picture, usualSides, squareFor))
        putSquare(elements, square);
    ByteWriter file{ByteOrder::big};
    putElement(file, "icns", std::move(elements).release());
    writeNewFile(request.file, file.view());
    request.progress(1.0);
}

} // namespace nivex::image
