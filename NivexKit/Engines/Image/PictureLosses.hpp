#pragma once

#include "NivexKit/Contract/ConversionLoss.hpp"
#include "NivexKit/Contract/ConversionOptions.hpp"
#include "NivexKit/Engines/Image/PictureFormats.hpp"
#include "NivexKit/Formats/FileFormat.hpp"
#include "NivexKit/Formats/SourceProperties.hpp"

namespace nivex {

/// What files of a format may hold; little is known of one that is not read as pictures.
ReadPictures picturesRead(const FileFormat& format);

/// What the work loses of a file with these options: what the target's row, one that is written, cannot hold of what is
/// known of the file, save what is asked to go.
ConversionLoss lossesOfPictures(const FileFormat& source, const SourceProperties& properties,
                                const PictureFormat& target, const ConversionOptions& options);

/// The same of pages and drawings, which become pictures: each page one of its own, at the resolution asked for.
ConversionLoss lossesOfDrawing(const FileFormat& source, const SourceProperties& properties,
                               const PictureFormat& target, const ConversionOptions& options);

/// What an edge may lose: what it loses of files that have all that such files can have, made as small as can be asked.
ConversionLoss mostLossesOfPictures(const FileFormat& source, const PictureFormat& target);

/// The same of pages and drawings.
ConversionLoss mostLossesOfDrawing(const FileFormat& source, const PictureFormat& target);

/// Whether a file is to stay the same but for metadata that are to go, and its format lets them be taken out alone.
bool onlyLosesMetadata(const FileFormat& source, const FileFormat& target, const ConversionOptions& options);

} // namespace nivex
