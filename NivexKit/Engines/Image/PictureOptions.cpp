#include "NivexKit/Engines/Image/PictureOptions.hpp"

#include "NivexKit/Contract/OutputBudget.hpp"
#include "NivexKit/Engines/Image/PictureLosses.hpp"

namespace nivex {

ConversionOptionKinds optionsOfPictures(const FileFormat& source, const WrittenPictures& row, const FileFormat& target)
{
    using Kind = ConversionOptionKind;
    ConversionOptionKinds kinds{Kind::dimensions};
    if (row.isLossy)
        kinds.insert(Kind::quality);
    if (row.hasMetadata && picturesRead(source).hasMetadata)
        kinds.insert(Kind::metadata);
    if (row.hasProfile)
        kinds.insert(Kind::colorProfile);
    if (!row.hasAlpha && source.traits.has(FormatTrait::transparency))
        kinds.insert(Kind::background);
    if (OutputBudget::isOffered(target.id))
        kinds.insert(Kind::targetSize);
    return kinds;
}

} // namespace nivex
