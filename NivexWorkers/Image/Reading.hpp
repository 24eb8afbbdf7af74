#pragma once

#include "NivexWorkers/Image/Codecs/Codec.hpp"

#include "NivexKit/Contract/EngineRequest.hpp"
#include "NivexKit/Engines/Image/PictureFormats.hpp"

namespace nivex::image {

/// Opens the source of a request, with as much of it as the target keeps: frames, metadata and size.
/// Throws what the codec's reader throws.
Picture readSource(const Codec& source, const WrittenPictures& target, const EngineRequest& request);

/// Computes every pixel of a picture, so that damage shows. One thread at a time: several may lose an error.
/// Throws what the codec's reader throws, and what damaged() makes where the decoder went on with a guess.
void pullPixels(const Picture& picture);

/// Pulls every pixel of the source, to learn whether a failure to write was a failure to read. Throws what damaged()
/// makes, with what the reader met as its cause.
void requireReadable(const EngineRequest& request);

} // namespace nivex::image
