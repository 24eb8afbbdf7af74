#include "NivexWorkers/Image/Removal/BlocksWithoutPosition.hpp"

#include "NivexWorkers/Image/Metadata/Containers.hpp"
#include "NivexWorkers/Image/Metadata/ExifBlock.hpp"
#include "NivexWorkers/Image/Metadata/XmpPacket.hpp"

#include "NivexKit/Structures/PhotoshopResources.hpp"
#include "NivexKit/Structures/TiffStructure.hpp"

#include <algorithm>
#include <optional>
#include <span>

namespace nivex::image {
namespace {

constexpr std::uint16_t photoshopTag = 0x8649;

std::vector<std::byte> contentsOf(std::span<const std::byte> bytes) { return {bytes.begin(), bytes.end()}; }

/// Takes a block out of the main directory whose value is not `without` what it tells of a position.
template <class Without>
void removeIfTelling(ExifBlock& block, std::uint16_t tag, Without without)
{
    const ExifBlock::Directory main = block.mainDirectory();
    const auto entry = std::ranges::find(main, tag, &ExifBlock::Entry::tag);
    if (entry != main.end() && !std::ranges::equal(without(block.value(*entry)), block.value(*entry)))
        block.removeFromMain(tag);
}

std::optional<ExifBlock> parsedWithoutPosition(std::vector<std::byte> bytes)
{
    auto block = ExifBlock::parse(std::move(bytes));
    if (!block)
        return std::nullopt;
    block->removePosition();
    removeIfTelling(*block, tifftag::xmp,
                    [](std::span<const std::byte> value) { return asBytes(xmpWithoutPosition(asText(value))); });
    return block;
}

/// As many bytes as there were.
std::vector<std::byte> released(std::optional<ExifBlock> block, std::size_t size)
{
    if (!block || block->bytes().size() != size)
        return std::vector<std::byte>(size);
    return std::move(*block).release();
}

} // namespace

std::vector<std::byte> exifWithoutPosition(std::vector<std::byte> bytes)
{
    const std::size_t size = bytes.size();
    auto block = parsedWithoutPosition(std::move(bytes));
    if (block)
        removeIfTelling(*block, photoshopTag,
                        [](std::span<const std::byte> value) { return resourcesWithoutPosition(contentsOf(value)); });
    return released(std::move(block), size);
}

std::string xmpWithoutPosition(std::string_view text)
{
    auto packet = XmpPacket::parse(text);
    if (!packet)
        return std::string(text.size(), ' ');
    const std::string before = packet->text();
    packet->removePosition();
    std::string after = packet->text();
    if (after == before)
        return std::string{text};
    if (after.size() > text.size())
        after.clear();
    after.resize(text.size(), ' ');
    return after;
}

std::vector<std::byte> resourcesWithoutPosition(std::vector<std::byte> resources)
{
    std::vector<std::byte> result = resources;
    forEachResource(resources, [&](std::uint16_t identifier, std::span<const std::byte> contents) {
        const auto place = result.begin() + (contents.data() - resources.data());
        if (identifier == photoshop::exif)
            // Resources inside this block would be the fourth layer of one in another: nobody writes them.
            std::ranges::copy(released(parsedWithoutPosition(contentsOf(contents)), contents.size()), place);
        else if (identifier == photoshop::xmp)
            std::ranges::copy(asBytes(xmpWithoutPosition(asText(contents))), place);
    });
    return result;
}

} // namespace nivex::image
