#pragma once

#include "NivexKit/Foundation/Bytes/ByteReader.hpp"
#include "NivexKit/Foundation/Bytes/ByteSource.hpp"

#include <cstdint>
#include <optional>

namespace nivex {

/// The head of an element of Matroska and WebM files (RFC 8794): its content follows.
struct EbmlElement {
    std::uint64_t id = 0;              // with the bits that tell its length
    std::optional<std::uint64_t> size; // bytes of the content; none while the writer did not know it

    /// The head at the reader's position, which fails past the end.
    static EbmlElement read(ByteReader& reader);
};

/// Whether a Matroska or WebM file ends before its segment does (RFC 9559): it was cut. A segment of unknown size never
/// is.
bool isCutMatroska(const ByteSource& file);

} // namespace nivex
