#pragma once

#include "NivexWorkers/Image/Removal/FilePieces.hpp"

#include "NivexKit/Contract/EngineRequest.hpp"

#include <string_view>

namespace nivex::image {

/// True for a format of which removeMetadata writes files.
bool canRemoveMetadata(std::string_view format);

/// Writes the source, a file of such a format, anew as the output: without its position or all its metadata, as
/// `request.options.metadata` asks, and with its pixels as they are coded. What a picture needs to be shown as it was
/// stays: its colour profile, how it is to be turned, its resolution. `removeLocation` changes nothing but what tells
/// coordinates; in both cases a film behind a picture goes, which tells where it was taken too, and the request is
/// warned of it. The output does not exist yet. Throws ConversionError: `unreadableSource` where the structure of the
/// file is broken.
void removeMetadata(const EngineRequest& request);

// One format each: what its file is made of then. `policy` is not `keep`. They read any bytes and throw as above.
FilePieces jpegWithoutMetadata(const ByteSource& file, MetadataPolicy policy);
FilePieces pngWithoutMetadata(const ByteSource& file, MetadataPolicy policy);
FilePieces webpWithoutMetadata(const ByteSource& file, MetadataPolicy policy);
FilePieces tiffWithoutMetadata(const ByteSource& file, MetadataPolicy policy);
FilePieces heifWithoutMetadata(const ByteSource& file, MetadataPolicy policy);

/// An Exif block that says nothing but how the picture is to be turned; empty for one that stands upright, or where
/// `exif` cannot be read.
std::vector<std::byte> onlyOrientation(std::vector<std::byte> exif);

/// True for what vouches for a file as it was (C2PA), which is worth nothing beside anything else and may tell the
/// place.
bool isManifestChunk(std::string_view type);

} // namespace nivex::image
