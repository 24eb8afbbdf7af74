#pragma once

#include "NivexWorkers/Image/Metadata/Metadata.hpp"

#include "NivexKit/Foundation/Bytes/ByteReader.hpp"

#include <filesystem>
#include <string>
#include <vector>

namespace nivex::image {

// What is left to a library that knows the directories of TIFF, the formats of cameras and the notes of their makers.
// Nothing here throws for the sake of what it reads.

/// Once, before anything else, from the only thread.
void startMetadataLibrary();

/// The metadata of a TIFF or camera raw file, where Exif lies among the directories of the picture itself: as a block
/// of its own, without what describes how the pixels are stored.
Metadata readTiffMetadata(const std::filesystem::path& file);

/// The block written anew in the other byte order or without its maker's notes; empty when it cannot be.
std::vector<std::byte> rewrittenExif(const std::vector<std::byte>& exif, ByteOrder order, bool keepsMakerNote);

/// The IPTC datasets as an XMP packet; empty when they say nothing that XMP has a place for.
std::string xmpOfIptc(const std::vector<std::byte>& iptc);

/// The Exif block as an XMP packet, without what only its maker understands.
std::string xmpOfExif(const std::vector<std::byte>& exif);

} // namespace nivex::image
