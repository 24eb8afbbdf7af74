#include "NivexKit/Detection/Images/ImageLocation.hpp"

#include <algorithm>
#include <string_view>

namespace nivex {

void noteGpsDirectory(const TiffStructure& structure, const TiffDirectory& directory, SourceProperties& image)
{
    const auto offset = structure.number(directory.field(tifftag::gpsDirectory));
    if (!offset)
        return;
    // Cameras without a fix write a GPS directory that holds a version only.
    constexpr std::uint16_t latitude = 2;
    const auto gps = structure.directory(*offset);
    if (gps && gps->field(latitude))
        image.hasLocation = true;
}

void noteExif(HeaderBytes& file, std::uint64_t offset, SourceProperties& image)
{
    const auto structure = TiffStructure::at(file, offset);
    if (!structure)
        return;
    if (const auto directory = structure->directory(structure->firstDirectory()))
        noteGpsDirectory(*structure, *directory, image);
}

void noteXmp(HeaderBytes& file, std::uint64_t offset, std::uint64_t count, SourceProperties& image)
{
    constexpr std::uint64_t maxPacket = 64 * 1024;
    const auto packet = file.slice(offset, static_cast<std::size_t>(std::min(count, maxPacket)));
    const std::string_view text{reinterpret_cast<const char*>(packet.data()), packet.size()};
    if (text.find("exif:GPSLatitude") != std::string_view::npos)
        image.hasLocation = true;
}

} // namespace nivex
