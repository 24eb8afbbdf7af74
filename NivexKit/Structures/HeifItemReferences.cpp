#include "NivexKit/Structures/HeifItemReferences.hpp"

#include "NivexKit/Foundation/Bytes/ByteReader.hpp"

#include <algorithm>

namespace nivex {

void forEachItemReference(const ByteSource& file, const IsoBox& box,
                          const std::function<void(std::uint32_t, std::uint32_t, std::uint32_t)>& take)
{
    constexpr std::uint64_t versionAndFlags = 4;
    constexpr std::uint64_t largest = 4 + 2 + 65'535 * 4; // of one item
    const auto head = file.read(box.begin, versionAndFlags);
    const bool hasWideIdentifiers = ByteReader{head}.u8() != 0;
    IsoBoxes references{file, std::min(box.begin + versionAndFlags, box.end), box.end};
    while (const auto reference = references.next()) {
        const auto bytes = file.read(reference->begin, static_cast<std::size_t>(std::min(reference->size(), largest)));
        ByteReader reader{bytes, ByteOrder::big};
        const auto identifier = [&] { return hasWideIdentifiers ? reader.u32() : reader.u16(); };
        const std::uint32_t from = identifier();
        for (std::size_t left = reader.u16(); left > 0; --left) {
            const std::uint32_t to = identifier();
            if (reader.failed())
                return;
            take(reference->type, from, to);
        }
    }
}

} // namespace nivex
