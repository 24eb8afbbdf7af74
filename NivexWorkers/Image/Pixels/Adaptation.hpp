#pragma once

#include "NivexWorkers/Image/Picture.hpp"

#include "NivexKit/Contract/ConversionOptions.hpp"
#include "NivexKit/Engines/Image/PictureFormats.hpp"

namespace nivex::image {

/// The picture as `target` can hold it and as the options ask: the frames that are kept, upright, no larger than asked
/// and possible, flattened where alpha cannot be kept, in the colours asked for, and no deeper than can be stored.
/// Pixels are not computed yet.
Picture adapted(Picture picture, const WrittenPictures& target, const ConversionOptions& options);

} // namespace nivex::image
