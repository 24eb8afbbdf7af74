#pragma once

#include "NivexKit/Contract/ConversionOptions.hpp"
#include "NivexKit/Engines/Image/PictureFormats.hpp"
#include "NivexKit/Formats/FileFormat.hpp"

namespace nivex {

/// What a person can set where pictures of a format become those of another, whose row this is.
ConversionOptionKinds optionsOfPictures(const FileFormat& source, const WrittenPictures& row, const FileFormat& target);

} // namespace nivex
