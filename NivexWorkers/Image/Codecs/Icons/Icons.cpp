#include "NivexWorkers/Image/Codecs/Icons/Icons.hpp"

#include "NivexWorkers/Image/Codecs/Codec.hpp"

#include "NivexKit/Foundation/Bytes/ByteReader.hpp"
#include "NivexKit/Structures/PngChunks.hpp"

#include <algorithm>
#include <limits>
#include <tuple>

namespace nivex::image {

bool isPng(const ByteSource& file, std::uint64_t offset)
{
    const auto bytes = file.read(offset, pngSignature.size());
    ByteReader reader{bytes};
    return reader.text(pngSignature.size()) == pngSignature;
}

IconPicture pngInside(const ByteSource& file, std::uint64_t begin, std::uint64_t size)
{
    constexpr std::uint64_t headerEnd = 8 + 8 + 10; // signature, IHDR's head, what is read of it
    if (size < headerEnd || begin > file.size() || file.size() - begin < size)
        throw damaged("PNG in an icon: too short");
    const auto bytes = readExactly(file, begin + 8, headerEnd - 8);
    ByteReader header{bytes, damaged("PNG in an icon: too short"), ByteOrder::big};
    header.skip(4);
    if (header.text(4) != "IHDR")
        throw damaged("PNG in an icon: no IHDR");
    const std::uint32_t width = header.u32();
    const std::uint32_t height = header.u32();
    constexpr auto longest = static_cast<std::uint32_t>(std::numeric_limits<std::int32_t>::max());
    if (width > longest || height > longest)
        throw damaged("PNG in an icon: width or height");
    return {.coding = IconPicture::Coding::png,
            .width = static_cast<int>(width),
            .height = static_cast<int>(height),
            .begin = begin,
            .size = size};
}

std::vector<IconPicture> inOrder(std::vector<IconPicture> pictures)
{
    if (pictures.empty())
        throw damaged("no picture among the icon's entries");
    const auto rank = [](const IconPicture& each) {
        return std::tuple{std::int64_t{each.width} * each.height, each.width, each.bitsPerPixel};
    };
    std::ranges::stable_sort(pictures, [&](const auto& one, const auto& other) { return rank(one) > rank(other); });
    const auto isSameSize = [](const IconPicture& one, const IconPicture& other) {
        return one.width == other.width && one.height == other.height;
    };
    pictures.erase(std::unique(pictures.begin(), pictures.end(), isSameSize), pictures.end());
    return pictures;
}

} // namespace nivex::image
