// The pictures of macOS icons. Sources: the comments of IconStorage.h and Icons.h in the macOS SDK; for what they leave
// out, what iconutil writes.
#include "NivexWorkers/Image/Codecs/Codec.hpp"
#include "NivexWorkers/Image/Codecs/Icons/Icons.hpp"

#include "NivexKit/Foundation/Bytes/ByteReader.hpp"
#include "NivexKit/Structures/IconFiles.hpp"

#include <algorithm>
#include <iterator>
#include <map>
#include <string>

namespace nivex::image {
namespace {

/// How the pixels of an element are stored.
enum class Layout {
    file,   // a PNG or JPEG 2000 file, or "ARGB" and four packed planes
    planes, // red, green and blue, packed
};

struct ElementRow {
    std::string_view type;
    Layout layout;
    std::string_view mask = {}; // the element with the alpha of `planes`

    int side() const { return icnsSide(type); }
};

// clang-format off
constexpr ElementRow elementRows[] = {
    {"is32", Layout::planes, "s8mk"},
    {"il32", Layout::planes, "l8mk"},
    {"ih32", Layout::planes, "h8mk"},
    {"it32", Layout::planes, "t8mk"},
    {"icp4", Layout::file},
    {"icp5", Layout::file},
    {"icp6", Layout::file},
    {"ic04", Layout::file},
    {"ic05", Layout::file},
    {"ic07", Layout::file},
    {"ic08", Layout::file},
    {"ic09", Layout::file},
    {"ic10", Layout::file},
    {"ic11", Layout::file},
    {"ic12", Layout::file},
    {"ic13", Layout::file},
    {"ic14", Layout::file},
    {"icsb", Layout::file},
    {"icsB", Layout::file},
    {"sb24", Layout::file},
    {"SB24", Layout::file},
};
// clang-format on

/// The elements by type; of several of one type the first.
std::map<std::string, IcnsElement, std::less<>> readElements(const ByteSource& file)
{
    constexpr std::uint64_t headBytes = 8;
    const auto headData = file.read(0, headBytes);
    ByteReader head{headData, damaged("ICNS head: too short"), ByteOrder::big};
    if (head.text(4) != "icns")
        throw damaged("ICNS head: no icns");
    const std::uint64_t end = head.u32();
    if (end < headBytes || end > file.size())
        throw damaged("ICNS head: length " + std::to_string(end));
    std::map<std::string, IcnsElement, std::less<>> elements;
    IcnsElements walk{file, end};
    while (const auto element = walk.next())
        elements.try_emplace(element->type, *element);
    if (!walk.reachedEnd())
        throw damaged("ICNS elements: one is larger than the file");
    return elements;
}

/// Unpacks planes that stand one after the other: a byte below 128 is followed by one more literal than it says, any
/// other tells how often, less 125, the next byte stands.
std::vector<std::byte> unpackedPlanes(const ByteSource& file, std::uint64_t begin, std::uint64_t end,
                                      std::size_t planeBytes, std::size_t planes)
{
    std::vector<std::byte> unpacked(planeBytes * planes);
    ByteStream stream{file, begin, end};
    for (std::size_t at = 0; at < unpacked.size();) {
        const unsigned head = stream.u8();
        const std::size_t room = unpacked.size() - at;
        if (head < 128) {
            const std::size_t count = std::min<std::size_t>(head + 1, room);
            stream.read(std::span{unpacked}.subspan(at, count));
            at += count;
        } else {
            const std::size_t count = std::min<std::size_t>(head - 125, room);
            std::fill_n(unpacked.begin() + static_cast<std::ptrdiff_t>(at), count, static_cast<std::byte>(stream.u8()));
            at += count;
        }
    }
    return unpacked;
}

/// A square bitmap whose planes are in memory. `red` and `alpha` are the numbers of planes; green and blue follow red.
Bitmap bitmapOfPlanes(int side, std::vector<std::byte> planes, std::size_t red, std::size_t alpha)
{
    Bitmap bitmap{.width = side, .height = side, .hasAlpha = true};
    const auto shared = std::make_shared<const std::vector<std::byte>>(std::move(planes));
    bitmap.readRow = [shared, red, alpha, width = static_cast<std::size_t>(side)](int y, std::span<std::byte> row) {
        const std::size_t planeBytes = width * width;
        for (std::size_t x = 0; x < width; ++x) {
            const std::size_t pixel = static_cast<std::size_t>(y) * width + x;
            for (std::size_t band = 0; band < 3; ++band)
                row[4 * x + band] = (*shared)[(red + band) * planeBytes + pixel];
            row[4 * x + 3] = (*shared)[alpha * planeBytes + pixel];
        }
    };
    return bitmap;
}

/// Alpha of its own, unpacked; opaque where the file has none.
std::vector<std::byte> maskPlane(const ByteSource& file, const IcnsElement* mask, std::size_t planeBytes)
{
    if (!mask)
        return std::vector<std::byte>(planeBytes, std::byte{0xFF});
    if (mask->size < planeBytes)
        throw damaged("ICNS mask: too short");
    return readExactly(file, mask->begin, planeBytes);
}

Bitmap bitmapWithMask(const ByteSource& file, int side, const IcnsElement& colours, const IcnsElement* mask)
{
    const std::size_t planeBytes = static_cast<std::size_t>(side) * static_cast<std::size_t>(side);
    // The largest of these elements begins with four zero bytes that mean nothing.
    const std::uint64_t lead = side == 128 ? 4 : 0;
    if (colours.size < lead)
        throw damaged("ICNS element: no room for its lead");
    std::vector<std::byte> planes =
        unpackedPlanes(file, colours.begin + lead, colours.begin + colours.size, planeBytes, 3);
    const auto alpha = maskPlane(file, mask, planeBytes);
    planes.insert(planes.end(), alpha.begin(), alpha.end());
    return bitmapOfPlanes(side, std::move(planes), 0, 3);
}

bool hasText(const ByteSource& file, std::uint64_t offset, std::string_view text)
{
    const auto bytes = file.read(offset, text.size());
    ByteReader reader{bytes};
    return reader.text(text.size()) == text;
}

bool isJpeg2000(const ByteSource& file, std::uint64_t offset)
{
    using namespace std::string_view_literals;
    return hasText(file, offset, "\0\0\0\x0CjP  "sv) || hasText(file, offset, "\xFF\x4F\xFF\x51");
}

IconPicture fileElement(const SharedSource& file, const ElementRow& row, const IcnsElement& element)
{
    if (isPng(*file, element.begin))
        return pngInside(*file, element.begin, element.size);
    if (isJpeg2000(*file, element.begin))
        return {.coding = IconPicture::Coding::jpeg2000,
                .width = row.side(),
                .height = row.side(),
                .begin = element.begin,
                .size = element.size};
    constexpr std::string_view mark = "ARGB";
    const bool hasMark = hasText(*file, element.begin, mark);
    IconPicture picture{.width = row.side(), .height = row.side()};
    picture.bitmap = [file, side = row.side(), element, hasMark, markBytes = mark.size()] {
        const std::size_t planeBytes = static_cast<std::size_t>(side) * static_cast<std::size_t>(side);
        if (!hasMark) // the smallest two may hold planes without alpha
            return bitmapWithMask(*file, side, element, nullptr);
        return bitmapOfPlanes(
            side, unpackedPlanes(*file, element.begin + markBytes, element.begin + element.size, planeBytes, 4), 1, 0);
    };
    return picture;
}

} // namespace

std::vector<IconPicture> openIcns(const SharedSource& file, const ResourceLimits& limits)
{
    const auto elements = readElements(*file);
    const auto find = [&elements](std::string_view type) {
        const auto found = elements.find(type);
        return found == elements.end() ? nullptr : &found->second;
    };
    std::vector<IconPicture> pictures;
    for (const ElementRow& row : elementRows) {
        const IcnsElement* element = find(row.type);
        if (!element)
            continue;
        if (row.layout == Layout::file) {
            pictures.push_back(fileElement(file, row, *element));
        } else {
            const IcnsElement* mask = find(row.mask);
            pictures.push_back({.width = row.side(),
                                .height = row.side(),
                                .bitmap = [file, side = row.side(), colours = *element,
                                           alpha = mask ? std::optional{*mask} : std::nullopt] {
                                    return bitmapWithMask(*file, side, colours, alpha ? &*alpha : nullptr);
                                }});
        }
        requireAcceptableSize(pictures.back().width, pictures.back().height, std::ssize(elementRows), limits);
    }
    return inOrder(std::move(pictures));
}

} // namespace nivex::image
