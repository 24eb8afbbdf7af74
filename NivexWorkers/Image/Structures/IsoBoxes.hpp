#pragma once

#include "NivexWorkers/Image/Structures/ByteWriter.hpp"

#include "NivexKit/Foundation/Bytes/ByteReader.hpp"
#include "NivexKit/Foundation/Bytes/ByteSource.hpp"

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace nivex::image {

/// A box of the ISO base media layout (ISO/IEC 14496-12, 4.2), which HEIF and JPEG 2000 share. Positions in the file.
struct IsoBox {
    std::string type;
    std::uint64_t begin;
    std::uint64_t contents; // where they begin
    std::uint64_t end;
};

/// The box at a position; none where it is malformed or goes on past the end of the file.
std::optional<IsoBox> boxAt(const ByteSource& file, std::uint64_t position);

/// Calls `visit` with type and contents of the boxes that lie one after another in `bytes`, up to the first malformed
/// one. False where there is one.
template <class Visit>
bool eachBox(std::span<const std::byte> bytes, Visit visit)
{
    constexpr std::size_t headerBytes = 8;
    ByteReader reader{bytes, ByteOrder::big};
    while (reader.left() >= headerBytes) {
        const std::uint32_t length = reader.u32();
        const std::string_view type = reader.text(4);
        if (length != 0 && length < headerBytes)
            return false;
        const auto contents = reader.bytes(length == 0 ? reader.left() : length - headerBytes);
        if (reader.failed())
            return false;
        visit(type, contents);
    }
    return true;
}

/// Appends a box to `out`. `write` puts its contents into the writer it is given.
template <class Write>
void putBox(ByteWriter& out, std::string_view type, Write write)
{
    ByteWriter contents{ByteOrder::big};
    write(contents);
    out.u32(static_cast<std::uint32_t>(8 + contents.size())).text(type).text(contents.view());
}

} // namespace nivex::image
