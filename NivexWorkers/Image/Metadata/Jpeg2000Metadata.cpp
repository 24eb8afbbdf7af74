// Metadata in the boxes of JP2 (ISO 15444-1, annex I): boxes "uuid" whose contents their first sixteen bytes tell.
#include "NivexWorkers/Image/Metadata/ByteWriter.hpp"
#include "NivexWorkers/Image/Metadata/Containers.hpp"
#include "NivexWorkers/Image/Metadata/FileRewrite.hpp"

#include "NivexKit/Foundation/ByteReader.hpp"

#include <optional>
#include <string>

namespace nivex::image {
namespace {

using namespace std::string_view_literals;

constexpr auto exifIdentifier = "JpgTiffExif->JP2"sv;
constexpr auto xmpIdentifier = "\xBE\x7A\xCF\xCB\x97\xA9\x42\xE8\x9C\x71\x99\x94\x91\xE3\xAF\xAC"sv;
constexpr auto iptcIdentifier = "\x33\xC7\xA4\xD2\xB8\x1D\x47\x23\xA0\xBA\xF1\xA3\xE0\x97\xAD\x38"sv;
constexpr std::size_t identifierBytes = 16;

struct Box {
    std::uint64_t offset;
    std::uint64_t contents; // where they begin
    std::uint64_t end;
    std::string type;
    std::string identifier; // of a "uuid" box

    bool isMetadata() const
    {
        return identifier == exifIdentifier || identifier == xmpIdentifier || identifier == iptcIdentifier;
    }
};

std::optional<Box> boxAt(const ByteSource& file, std::uint64_t offset)
{
    const auto head = file.read(offset, 16 + identifierBytes);
    ByteReader reader{head, ByteOrder::big};
    std::uint64_t size = reader.u32();
    Box box{.offset = offset, .type = std::string{reader.text(4)}};
    if (size == 1)
        size = reader.u64();
    else if (size == 0) // up to the end of the file
        size = file.size() - offset;
    if (reader.failed() || size < reader.position() || file.size() - offset < size)
        return std::nullopt;
    box.contents = offset + reader.position();
    box.end = offset + size;
    if (box.type == "uuid" && box.end - box.contents >= identifierBytes) {
        box.identifier = reader.text(identifierBytes);
        box.contents += identifierBytes;
    }
    return box;
}

std::string uuidBox(std::string_view identifier, std::string_view contents)
{
    if (contents.empty())
        return {};
    ByteWriter writer{ByteOrder::big};
    writer.u32(static_cast<std::uint32_t>(8 + identifier.size() + contents.size()))
        .text("uuid")
        .text(identifier)
        .text(contents);
    return std::string{writer.view()};
}

} // namespace

Metadata readJpeg2000Metadata(const ByteSource& file)
{
    Metadata metadata;
    for (auto box = boxAt(file, 0); box; box = boxAt(file, box->end)) {
        if (!box->isMetadata() || box->end - box->contents > mostBlockBytes)
            continue;
        auto contents = file.read(box->contents, static_cast<std::size_t>(box->end - box->contents));
        if (box->identifier == exifIdentifier)
            metadata.exif = std::move(contents);
        else if (box->identifier == xmpIdentifier)
            metadata.xmp = asText(contents);
        else
            metadata.iptc = std::move(contents);
    }
    return metadata;
}

void writeJpeg2000Metadata(const std::filesystem::path& path, const Metadata& metadata)
{
    FileRewrite file{path};
    for (auto box = boxAt(file.old(), 0); box; box = boxAt(file.old(), box->end)) {
        // Before the pixels, whose box may go on to the end of the file.
        if (box->type == "jp2c") {
            file.write(uuidBox(exifIdentifier, asText(metadata.exif)));
            file.write(uuidBox(xmpIdentifier, metadata.xmp));
            file.write(uuidBox(iptcIdentifier, asText(metadata.iptc)));
            file.copyRest(box->offset);
            return file.commit();
        }
        if (!box->isMetadata())
            file.copy(box->offset, box->end - box->offset);
    }
    throw metadataFailure();
}

} // namespace nivex::image
