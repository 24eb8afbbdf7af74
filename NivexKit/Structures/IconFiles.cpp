#include "NivexKit/Structures/IconFiles.hpp"

#include "NivexKit/Foundation/Bytes/ByteReader.hpp"

#include <algorithm>
#include <array>
#include <iterator>

namespace nivex {
namespace {

struct IcnsSide {
    std::string_view type;
    int side;
};

// clang-format off
constexpr IcnsSide icnsSides[] = {
    {"icm#", 12},  {"icm4", 12},  {"icm8", 12},
    {"ics#", 16},  {"ics4", 16},  {"ics8", 16},  {"is32", 16},   {"icp4", 16},  {"ic04", 16},
    {"icsb", 18},  {"sb24", 24},
    {"ICON", 32},  {"ICN#", 32},  {"icl4", 32},  {"icl8", 32},   {"il32", 32},  {"icp5", 32},  {"ic05", 32},
    {"ic11", 32},
    {"icsB", 36},
    {"ich#", 48},  {"ich4", 48},  {"ich8", 48},  {"ih32", 48},   {"SB24", 48},
    {"icp6", 64},  {"ic12", 64},
    {"it32", 128}, {"ic07", 128},
    {"ic08", 256}, {"ic13", 256},
    {"ic09", 512}, {"ic14", 512},
    {"ic10", 1024},
};
// clang-format on

constexpr std::uint32_t sideOf(std::uint8_t stored) { return stored == 0 ? 256 : stored; } // which does not fit a byte

} // namespace

std::optional<std::vector<IcoEntry>> icoEntries(const ByteSource& file)
{
    constexpr std::size_t headerBytes = 6;
    constexpr std::size_t entryBytes = 16;
    std::array<std::byte, headerBytes> headerData;
    ByteReader header{std::span{headerData}.first(file.read(0, headerData))};
    const std::uint16_t reserved = header.u16();
    const std::uint16_t kind = header.u16();
    const std::uint16_t count = header.u16();
    constexpr std::uint16_t icons = 1;
    if (header.failed() || reserved != 0 || kind != icons)
        return std::nullopt;
    const auto data = file.read(headerBytes, count * entryBytes);
    ByteReader reader{data};
    std::vector<IcoEntry> entries;
    for (int i = 0; i < count; ++i) {
        IcoEntry entry{.width = sideOf(reader.u8()), .height = sideOf(reader.u8()), .size = 0, .offset = 0};
        reader.skip(6); // colours and their planes
        entry.size = reader.u32();
        entry.offset = reader.u32();
        if (reader.failed())
            return std::nullopt;
        entries.push_back(entry);
    }
    return entries;
}

std::optional<IcnsElement> IcnsElements::next()
{
    constexpr std::uint64_t headBytes = 8;
    std::array<std::byte, headBytes> bytes;
    ByteReader head{std::span{bytes}.first(file_.read(next_, bytes)), ByteOrder::big};
    IcnsElement element{.type = std::string{head.text(4)}, .begin = next_ + headBytes, .size = 0};
    const std::uint64_t size = head.u32(); // with this head
    if (head.failed() || size < headBytes || next_ > end_ || size > end_ - next_)
        return std::nullopt;
    element.size = size - headBytes;
    next_ += size;
    return element;
}

int icnsSide(std::string_view type)
{
    const auto found = std::ranges::find(icnsSides, type, &IcnsSide::type);
    return found == std::end(icnsSides) ? 0 : found->side;
}

} // namespace nivex
