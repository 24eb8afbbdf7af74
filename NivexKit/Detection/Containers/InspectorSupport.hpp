#pragma once

#include "NivexKit/Foundation/Bytes/ByteSource.hpp"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace nivex::inspectors {

inline std::string_view asText(std::span<const std::byte> bytes)
{
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

/// Up to `count` bytes from `offset` on, as characters.
inline std::string textAt(const ByteSource& source, std::uint64_t offset, std::size_t count)
{
    return std::string{asText(source.read(offset, count))};
}

/// Up to `count` bytes of the end, as characters.
inline std::string textAtEnd(const ByteSource& source, std::size_t count)
{
    return textAt(source, source.size() < count ? 0 : source.size() - count, count);
}

inline bool contains(std::string_view text, std::string_view part) { return text.find(part) != text.npos; }

/// True when a TAR header block begins the text: told by its magic or, in archives older than that, by its checksum.
bool opensTar(std::string_view text);

} // namespace nivex::inspectors
