// Metadata in the boxes of JP2 (ISO 15444-1, annex I): boxes "uuid" whose contents their first sixteen bytes tell.
#include "NivexWorkers/Image/Metadata/Containers.hpp"
#include "NivexWorkers/Image/Metadata/FileRewrite.hpp"

#include "NivexKit/Structures/IsoBoxes.hpp"

#include <optional>
#include <string>

namespace nivex::image {
namespace {

using namespace std::string_view_literals;

constexpr auto exifIdentifier = "JpgTiffExif->JP2"sv;
constexpr auto xmpIdentifier = "\xBE\x7A\xCF\xCB\x97\xA9\x42\xE8\x9C\x71\x99\x94\x91\xE3\xAF\xAC"sv;
constexpr auto iptcIdentifier = "\x33\xC7\xA4\xD2\xB8\x1D\x47\x23\xA0\xBA\xF1\xA3\xE0\x97\xAD\x38"sv;
constexpr std::size_t identifierBytes = 16;

/// The identifier of a "uuid" box; empty for others.
std::string identifierOf(const IsoBox& box, const ByteSource& file)
{
    if (box.type != boxType("uuid") || box.size() < identifierBytes)
        return {};
    return std::string{asText(file.read(box.begin, identifierBytes))};
}

bool isMetadata(std::string_view identifier)
{
    return identifier == exifIdentifier || identifier == xmpIdentifier || identifier == iptcIdentifier;
}

std::string uuidBox(std::string_view identifier, std::string_view contents)
{
    if (contents.empty())
        return {};
    ByteWriter writer{ByteOrder::big};
    putBox(writer, "uuid", [&](ByteWriter& box) { box.text(identifier).text(contents); });
    return std::string{writer.view()};
}

} // namespace

Metadata readJpeg2000Metadata(const ByteSource& file)
{
    Metadata metadata;
    IsoBoxes boxes{file};
    while (const auto box = boxes.next()) {
        const std::string identifier = identifierOf(*box, file);
        if (!isMetadata(identifier) || box->size() > mostBlockBytes)
            continue;
        const std::uint64_t begin = box->begin + identifierBytes;
        auto contents = file.read(begin, static_cast<std::size_t>(box->end - begin));
        if (identifier == exifIdentifier)
            metadata.exif = std::move(contents);
        else if (identifier == xmpIdentifier)
            metadata.xmp = asText(contents);
        else
            metadata.iptc = std::move(contents);
    }
    return metadata;
}

void writeJpeg2000Metadata(const std::filesystem::path& path, const Metadata& metadata)
{
    FileRewrite file{path};
    IsoBoxes boxes{file.old()};
    while (const auto box = boxes.next()) {
        // Before the pixels, whose box may go on to the end of the file.
        if (box->type == boxType("jp2c")) {
            file.write(uuidBox(exifIdentifier, asText(metadata.exif)));
            file.write(uuidBox(xmpIdentifier, metadata.xmp));
            file.write(uuidBox(iptcIdentifier, asText(metadata.iptc)));
            file.copyRest(box->offset);
            return file.commit();
        }
        if (!isMetadata(identifierOf(*box, file.old())))
            file.copy(box->offset, box->end - box->offset);
    }
    throw metadataFailure();
}

} // namespace nivex::image
