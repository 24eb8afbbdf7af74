// Sets of icons: the largest image counts.
#include "NivexKit/Detection/Images/ImageHeaderReaders.hpp"
#include "NivexKit/Structures/IconFiles.hpp"

#include <algorithm>
#include <iterator>

namespace nivex {
namespace {

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
    const auto entries = icoEntries(file);
    if (!entries || entries->empty())
        return false;
    const IcoEntry& largest = *std::ranges::max_element(*entries, {}, &IcoEntry::width);
    if (!enterSize(largest.width, largest.height, image))
        return false;
    // A PNG inside may be larger than what its entry can say.
    if (file.hasText(largest.offset, "\x89PNG"))
        readPngHeader(file, largest.offset, image);
    enterIconTraits(std::ssize(*entries), image);
    return true;
}

bool readIcnsHeader(HeaderBytes& file, SourceProperties& image)
{
    constexpr int maxElements = 128;
    int largest = 0;
    std::int64_t count = 0;
    IcnsElements elements{file, file.size()};
    for (int i = 0; i < maxElements; ++i) {
        const auto element = elements.next();
        if (!element)
            break;
        if (const int side = icnsSide(element->type); side > 0) {
            ++count;
            largest = std::max(largest, side);
        }
    }
    const auto side = static_cast<std::uint64_t>(largest);
    if (!enterSize(side, side, image))
        return false;
    enterIconTraits(count, image);
    return true;
}

} // namespace nivex
