#pragma once

#include "NivexKit/Detection/HeaderBytes.hpp"
#include "NivexKit/Formats/SourceProperties.hpp"

#include <cstdint>

// The readers behind ImageHeader, one per layout; their contract is that of readImageHeader.
namespace nivex {

bool readPngHeader(HeaderBytes& file, SourceProperties& image);
bool readJpegHeader(HeaderBytes& file, SourceProperties& image);
bool readGifHeader(HeaderBytes& file, SourceProperties& image);
bool readWebpHeader(HeaderBytes& file, SourceProperties& image);
bool readBmpHeader(HeaderBytes& file, SourceProperties& image);
bool readIcoHeader(HeaderBytes& file, SourceProperties& image);
bool readIcnsHeader(HeaderBytes& file, SourceProperties& image);
bool readTgaHeader(HeaderBytes& file, SourceProperties& image);
bool readTiffHeader(HeaderBytes& file, SourceProperties& image);
bool readTiffRawHeader(HeaderBytes& file, SourceProperties& image);
bool readRafHeader(HeaderBytes& file, SourceProperties& image);
bool readPhotoshopHeader(HeaderBytes& file, SourceProperties& image);
bool readHeifHeader(HeaderBytes& file, SourceProperties& image);
bool readCr3Header(HeaderBytes& file, SourceProperties& image);
bool readJpeg2000Header(HeaderBytes& file, SourceProperties& image);
bool readJxlHeader(HeaderBytes& file, SourceProperties& image);
bool readExrHeader(HeaderBytes& file, SourceProperties& image);
bool readRadianceHeader(HeaderBytes& file, SourceProperties& image);
bool readAstcHeader(HeaderBytes& file, SourceProperties& image);
bool readKtx2Header(HeaderBytes& file, SourceProperties& image);
bool readXcfHeader(HeaderBytes& file, SourceProperties& image);

/// Read the file that stands at `start` inside another file.
bool readPngHeader(HeaderBytes& file, std::uint64_t start, SourceProperties& image);
bool readJpegHeader(HeaderBytes& file, std::uint64_t start, SourceProperties& image);

/// Enters the size of an image; false, and nothing entered, unless both sides are above zero.
bool enterSize(std::uint64_t width, std::uint64_t height, SourceProperties& image);

/// Enters how many images were counted. A count that the reading bound may have cut short is entered only when it is
/// above one, as "several".
void enterImageCount(std::int64_t count, bool isComplete, SourceProperties& image);

} // namespace nivex
