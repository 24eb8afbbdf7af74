#include "NivexKit/Structures/PhotoshopDocument.hpp"

#include "NivexKit/Foundation/Bytes/ByteReader.hpp"

#include <algorithm>
#include <array>
#include <initializer_list>
#include <string_view>

namespace nivex {
namespace {

using Part = PhotoshopDocument::Part;

/// The part whose length, of so many bytes, stands at `offset`; none where it does not end before `end`.
std::optional<Part> partAt(const ByteSource& file, std::uint64_t offset, std::size_t lengthBytes, std::uint64_t end)
{
    std::array<std::byte, 8> bytes;
    const auto stored = std::span{bytes}.first(lengthBytes);
    ByteReader reader{stored.first(file.read(offset, stored)), ByteOrder::big};
    const std::uint64_t length = lengthBytes == 8 ? reader.u64() : reader.u32();
    const std::uint64_t begin = offset + lengthBytes;
    if (reader.failed() || begin > end || length > end - begin)
        return std::nullopt;
    return Part{begin, begin + length};
}

bool isOneOf(std::string_view key, std::initializer_list<std::string_view> keys)
{
    return std::ranges::find(keys, key) != keys.end();
}

/// What the number of layers says, which is negative where they leave holes.
void takeCount(const ByteSource& file, std::uint64_t offset, PhotoshopLayers& layers)
{
    const auto bytes = file.read(offset, 2);
    ByteReader reader{bytes, ByteOrder::big};
    const auto count = static_cast<std::int16_t>(reader.u16());
    layers.areThere = layers.areThere || count != 0;
    layers.leaveHoles = layers.leaveHoles || count < 0;
}

/// Deep documents keep their layers in a tagged block behind the mask.
void readBlocks(const ByteSource& file, bool isBig, std::uint64_t begin, std::uint64_t end, PhotoshopLayers& layers)
{
    constexpr int mostBlocks = 256;
    constexpr std::size_t keyEnd = 8; // of signature and key
    for (int i = 0; i < mostBlocks && end - begin > keyEnd; ++i) {
        const auto head = file.read(begin, keyEnd);
        ByteReader reader{head};
        reader.skip(4);
        const std::string_view key = reader.text(4);
        const bool isWide = isBig && isOneOf(key, {"LMsk", "Lr16", "Lr32", "Layr", "Mt16", "Mt32", "Mtrn", "Alph",
                                                   "FMsk", "lnk2", "FEid", "FXid", "PxSD"});
        const auto block = partAt(file, begin + keyEnd, isWide ? 8 : 4, end);
        if (reader.failed() || !block)
            return;
        if (isOneOf(key, {"Lr16", "Lr32", "Layr"}) && block->size() >= 2)
            takeCount(file, block->begin, layers);
        if (isOneOf(key, {"Mt16", "Mt32", "Mtrn"}))
            layers.leaveHoles = true;
        begin = block->begin + std::min((block->size() + 3) / 4 * 4, end - block->begin);
    }
}

} // namespace

std::optional<PhotoshopDocument> PhotoshopDocument::of(const ByteSource& file)
{
    constexpr std::uint64_t headerBytes = 26;
    const auto head = file.read(0, headerBytes);
    ByteReader reader{head, ByteOrder::big};
    reader.skip(4); // signature
    PhotoshopDocument document{.isBig = reader.u16() == 2};
    const auto modeData = partAt(file, headerBytes, 4, file.size());
    const auto resources = modeData ? partAt(file, modeData->end, 4, file.size()) : std::nullopt;
    const auto layers = resources ? partAt(file, resources->end, document.isBig ? 8 : 4, file.size()) : std::nullopt;
    if (reader.failed() || !layers)
        return std::nullopt;
    document.modeData = *modeData;
    document.resources = *resources;
    document.layers = *layers;
    return document;
}

std::optional<PhotoshopLayers> photoshopLayers(const ByteSource& file, const PhotoshopDocument& document)
{
    PhotoshopLayers layers;
    const std::size_t lengthBytes = document.isBig ? 8 : 4;
    const std::uint64_t end = document.layers.end;
    if (document.layers.size() < lengthBytes)
        return layers;
    const auto records = partAt(file, document.layers.begin, lengthBytes, end);
    if (!records)
        return std::nullopt;
    if (records->size() >= 2)
        takeCount(file, records->begin, layers);
    else if (const auto mask = partAt(file, records->end, 4, end))
        readBlocks(file, document.isBig, mask->end, end, layers);
    return layers;
}

} // namespace nivex
