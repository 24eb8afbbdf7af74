#include "NivexKit/Structures/EbmlElements.hpp"

#include <cstddef>

namespace nivex {
namespace {

constexpr std::uint64_t segment = 0x18538067;
constexpr std::size_t mostHeaderBytes = 4'096; // of the elements in front of the segment

struct Number {
    std::uint64_t value = 0;
    bool isAllOnes = false; // reserved for sizes that are unknown
};

Number number(ByteReader& reader, bool keepsMarker)
{
    const std::uint8_t first = reader.u8();
    std::size_t length = 1;
    while (length < 8 && (first & (0x80 >> (length - 1))) == 0)
        ++length;
    const std::uint64_t mask = 0xFFU >> length;
    std::uint64_t value = keepsMarker ? first : first & mask;
    bool isAllOnes = (first & mask) == mask;
    for (std::size_t i = 1; i < length; ++i) {
        const std::uint8_t next = reader.u8();
        value = value << 8 | next;
        isAllOnes = isAllOnes && next == 0xFF;
    }
    return {value, isAllOnes};
}

} // namespace

EbmlElement EbmlElement::read(ByteReader& reader)
{
    EbmlElement element{.id = number(reader, true).value, .size = std::nullopt};
    if (const Number size = number(reader, false); !size.isAllOnes)
        element.size = size.value;
    return element;
}

bool isCutMatroska(const ByteSource& file)
{
    const auto bytes = file.read(0, mostHeaderBytes);
    ByteReader reader{bytes, ByteOrder::big};
    while (!reader.failed()) {
        const EbmlElement element = EbmlElement::read(reader);
        if (!element.size || reader.failed())
            return false;
        if (element.id == segment)
            return *element.size > file.size() - reader.position();
        if (*element.size > reader.left())
            return false;
        reader.skip(static_cast<std::size_t>(*element.size));
    }
    return false;
}

} // namespace nivex
