// Sets of icons: the largest image counts.
#include "NivexKit/Detection/Images/ImageHeaderReaders.hpp"

#include <algorithm>
#include <string_view>

namespace nivex {
namespace {

struct IcnsElement {
    std::string_view type;
    int side;
};

// Elements that hold a picture; those that hold only the mask of another one are none.
// clang-format off
constexpr IcnsElement icnsElements[] = {
    {"icm#", 12},  {"icm4", 12},  {"icm8", 12},
    {"ics#", 16},  {"ics4", 16},  {"ics8", 16},  {"is32", 16},   {"icp4", 16},  {"ic04", 16},
    {"icsb", 18},  {"ic05", 32},
    {"ICON", 32},  {"ICN#", 32},  {"icl4", 32},  {"icl8", 32},   {"il32", 32},  {"icp5", 32},  {"ic11", 32},
    {"icsB", 36},
    {"ich#", 48},  {"ich4", 48},  {"ich8", 48},  {"ih32", 48},
    {"icp6", 64},  {"ic12", 64},
    {"it32", 128}, {"ic07", 128},
    {"ic08", 256}, {"ic13", 256},
    {"ic09", 512}, {"ic14", 512},
    {"ic10", 1024},
};
// clang-format on

int icnsSide(std::string_view type)
{
    for (const IcnsElement& element : icnsElements)
        if (element.type == type)
            return element.side;
    return 0;
}

struct IcoEntry {
    std::uint32_t side = 0;
    std::uint32_t offset = 0;
};

/// What all icons have in common.
void enterIconTraits(std::int64_t count, SourceProperties& image)
{
    image.imageCount = count;
    image.bitsPerComponent = 8;
    image.isFloatingPoint = false;
    image.hasAlpha = true; // by alpha or by a mask
    image.hasLocation = false;
}

} // namespace

bool readIcoHeader(HeaderBytes& file, SourceProperties& image)
{
    ByteReader header = file.reader(4, 2, ByteOrder::little);
    const std::uint16_t count = header.u16();
    ByteReader entries = file.reader(6, count * std::size_t{16}, ByteOrder::little);
    IcoEntry largest;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    for (int i = 0; i < count; ++i) {
        const std::uint8_t storedWidth = entries.u8();
        const std::uint8_t storedHeight = entries.u8();
        entries.skip(10);
        const std::uint32_t offset = entries.u32();
        if (entries.failed())
            return false;
        const std::uint32_t side = storedWidth == 0 ? 256 : storedWidth; // 256 does not fit a byte
        if (side <= largest.side)
            continue;
        largest = {.side = side, .offset = offset};
        width = side;
        height = storedHeight == 0 ? 256 : storedHeight;
    }
    if (!enterSize(width, height, image))
        return false;
    // A PNG inside may be larger than what its entry can say.
    if (file.hasText(largest.offset, "\x89PNG"))
        readPngHeader(file, largest.offset, image);
    enterIconTraits(count, image);
    return true;
}

bool readIcnsHeader(HeaderBytes& file, SourceProperties& image)
{
    constexpr int maxElements = 128;
    std::uint64_t offset = 8;
    int largest = 0;
    std::int64_t count = 0;
    for (int i = 0; i < maxElements; ++i) {
        ByteReader element = file.reader(offset, 8, ByteOrder::big);
        const std::string_view type = element.text(4);
        const std::uint32_t length = element.u32(); // with these eight bytes
        if (element.failed() || length < 8)
            break;
        if (const int side = icnsSide(type); side > 0) {
            ++count;
            largest = std::max(largest, side);
        }
        offset += length;
    }
    const auto side = static_cast<std::uint64_t>(largest);
    if (!enterSize(side, side, image))
        return false;
    enterIconTraits(count, image);
    return true;
}

} // namespace nivex
