#include "NivexKit/Detection/Containers/ContainerInspectors.hpp"
#include "NivexKit/Detection/Containers/InspectorSupport.hpp"
#include "NivexKit/Structures/TiffStructure.hpp"

#include <algorithm>
#include <optional>

namespace nivex::inspectors {
namespace {

constexpr std::uint64_t maxSubdirectories = 8;
constexpr std::uint64_t colourFilterArray = 32803;

bool holdsSensorData(const TiffStructure& file, const TiffDirectory& directory)
{
    return file.number(directory.field(tifftag::photometricInterpretation)) == colourFilterArray;
}

/// Sensor data stand in the first directory or in one below it; a picture that the same camera's software has developed
/// has none.
bool holdsSensorDataBelow(const TiffStructure& file, const TiffDirectory& first)
{
    if (holdsSensorData(file, first))
        return true;
    const TiffField* below = first.field(tifftag::subDirectories);
    for (std::uint64_t i = 0; below && i < std::min(below->count, maxSubdirectories); ++i)
        if (const auto offset = file.number(below, i))
            if (const auto directory = file.directory(*offset); directory && holdsSensorData(file, *directory))
                return true;
    return false;
}

} // namespace

Finding tiff(const ByteSource& source, const SniffResult& sniff)
{
    using Candidates = std::vector<FormatID>;
    const auto file = TiffStructure::at(source, 0);
    const auto first = file && sniff.candidates.size() > 1 ? file->directory(file->firstDirectory()) : std::nullopt;
    if (!first)
        return {};
    if (first->field(tifftag::dngVersion))
        return {.candidates = Candidates{"dng"}};
    const TiffField* maker = first->field(tifftag::make);
    const auto letters = maker ? file->bytes(*maker, 32) : std::vector<std::byte>{};
    const std::string_view brand = asText(letters);
    if (maker && brand.empty()) // the name lies in a part that is missing
        return {};
    if (brand.starts_with("NIKON") && holdsSensorDataBelow(*file, *first))
        return {.candidates = Candidates{"nef"}};
    if (brand.starts_with("SONY") && (first->field(tifftag::dngPrivateData) || holdsSensorDataBelow(*file, *first)))
        return {.candidates = Candidates{"arw"}};
    if (first->field(tifftag::geoKeys))
        return {.candidates = Candidates{"geotiff"}};
    if (brand.starts_with("NIKON"))
        return {.candidates = Candidates{"tiff", "nef"}};
    if (brand.starts_with("SONY"))
        return {.candidates = Candidates{"tiff", "arw"}};
    return {.candidates = Candidates{"tiff"}};
}

} // namespace nivex::inspectors
