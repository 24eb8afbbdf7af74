#pragma once

#include "NivexWorkers/Image/Metadata/Metadata.hpp"

#include "NivexKit/Foundation/Bytes/ByteSource.hpp"

#include <filesystem>
#include <span>
#include <string_view>

namespace nivex::image {

// Where formats keep metadata. Readers take any bytes, return the blocks as they lie in the file and skip what is
// malformed. Writers are given files that an encoder of ours has just made; they throw ConversionError::encodingFailed
// where such a file is not what it should be or the disk is full, and replace all metadata that the encoder wrote. They
// work with a small buffer, whatever the size of the file.

Metadata readJpegMetadata(const ByteSource& file);
Metadata readPngMetadata(const ByteSource& file);
Metadata readWebpMetadata(const ByteSource& file);
Metadata readPhotoshopMetadata(const ByteSource& file); // psd and psb
Metadata readJpeg2000Metadata(const ByteSource& file);

void writeJpegMetadata(const std::filesystem::path& file, const Metadata& metadata);
void writePngMetadata(const std::filesystem::path& file, const Metadata& metadata);
void writeWebpMetadata(const std::filesystem::path& file, const Metadata& metadata);
void writeTiffMetadata(const std::filesystem::path& file, const Metadata& metadata);
void writeJpeg2000Metadata(const std::filesystem::path& file, const Metadata& metadata);

/// The packet in a chunk of PNG.
std::string pngXmpChunk(std::string_view packet);

/// The most that one block of foreign metadata may hold in memory.
constexpr std::size_t mostBlockBytes = 64 * 1024 * 1024;

/// `metadata` without an Exif block that is none, with what other blocks lie inside the Exif block taken out of it.
Metadata sorted(Metadata metadata);

/// The Exif block in at most `mostBytes`: without its thumbnail, then without the camera maker's notes; empty when even
/// that is too large.
std::vector<std::byte> exifOfAtMost(std::size_t mostBytes, std::vector<std::byte> exif);

inline std::string_view asText(std::span<const std::byte> bytes)
{
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}
inline std::vector<std::byte> asBytes(std::string_view text)
{
    const auto bytes = std::as_bytes(std::span{text});
    return {bytes.begin(), bytes.end()};
}

} // namespace nivex::image
