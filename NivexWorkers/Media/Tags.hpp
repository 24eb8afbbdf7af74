#pragma once

#include "NivexWorkers/Media/Library.hpp"

#include "NivexKit/Contract/ConversionOptions.hpp"

namespace nivex::media {

/// Adds the tags of a file or a stream (title, artist, language …) to those of another, as far as the policy keeps
/// them. A tag that is there already stays.
void copyTags(const AVDictionary* from, AVDictionary*& to, MetadataPolicy policy);

/// Whether one of the tags names a place.
bool namesPlace(const AVDictionary* tags);

/// Adds the chapters of a file to another whose times begin `start` microseconds later.
void copyChapters(const AVFormatContext& from, AVFormatContext& to, std::int64_t start, MetadataPolicy policy);

} // namespace nivex::media
