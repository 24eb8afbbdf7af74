#include "NivexWorkers/Image/Removal/Removal.hpp"

#include "NivexWorkers/Image/Codecs/Codec.hpp"
#include "NivexWorkers/Image/Metadata/ExifBlock.hpp"

#include "NivexKit/Foundation/Bytes/ByteWriter.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"

#include <algorithm>
#include <iterator>

namespace nivex::image {
namespace {

struct Remover {
    std::string_view format;
    FilePieces (*pieces)(const ByteSource&, MetadataPolicy);
};

// clang-format off
constexpr Remover removers[] = {
    {"jpeg", jpegWithoutMetadata},
    {"png",  pngWithoutMetadata},
    {"webp", webpWithoutMetadata},
    {"tiff", tiffWithoutMetadata},
    {"heic", heifWithoutMetadata},
    {"heif", heifWithoutMetadata},
    {"avif", heifWithoutMetadata},
};
// clang-format on

const Remover* removerOf(std::string_view format)
{
    const auto found = std::ranges::find(removers, format, &Remover::format);
    return found == std::end(removers) ? nullptr : found;
}

} // namespace

bool canRemoveMetadata(std::string_view format) { return removerOf(format) != nullptr; }

void removeMetadata(const EngineRequest& request)
{
    const auto file = FileSource::open(request.input);
    if (!file)
        throw damaged("the file cannot be opened");
    const Remover* remover = removerOf(request.sourceFormat.id.rawValue);
    const FilePieces pieces = remover->pieces(*file, request.options.metadata);
    pieces.write(*file, request.outputLocation());
    if (pieces.leavesTail())
        request.warn("Ce qui suivait l'image dans le fichier, comme une vidéo ou des aperçus, a été retiré aussi."_fr);
}

std::vector<std::byte> onlyOrientation(std::vector<std::byte> exif)
{
    constexpr std::uint16_t tag = 0x0112;
    constexpr std::uint16_t typeShort = 3;
    const auto block = ExifBlock::parse(std::move(exif));
    const int orientation = block ? block->orientation() : 1;
    if (orientation == 1)
        return {};
    ByteWriter writer{ByteOrder::big};
    writer.text("MM").u16(42).u32(8).u16(1);
    writer.u16(tag).u16(typeShort).u32(1).u16(static_cast<std::uint16_t>(orientation)).u16(0).u32(0);
    return std::move(writer).release();
}

bool isManifestChunk(std::string_view type) { return type == "caBX" || type == "C2PA"; }

} // namespace nivex::image
