#include "NivexWorkers/Image/Metadata/MetadataLibrary.hpp"

#include "NivexWorkers/Image/Metadata/ExifBlock.hpp"

#include <exiv2/exiv2.hpp>

#include <algorithm>
#include <array>
#include <string_view>

namespace nivex::image {
namespace {

constexpr std::uint16_t lastTiffTag = 0x0214;
constexpr std::uint16_t xmpTag = 0x02BC;

/// What Exif knows beyond the tags of TIFF; private tags of raw files lie there too.
constexpr std::array<std::uint16_t, 8> tagsBeyondTiff{0x4746, 0x4749, 0x8298, 0x9C9B, 0x9C9C, 0x9C9D, 0x9C9E, 0x9C9F};

bool describesThePicture(const Exiv2::Exifdatum& datum)
{
    const std::string group = datum.groupName();
    if (group != "Image") // not the directories of previews and of the raw picture
        return group == "Photo" || group == "GPSInfo" || group == "Iop" || Exiv2::ExifTags::isMakerGroup(group);
    const std::uint16_t tag = datum.tag();
    return tag > lastTiffTag ? std::ranges::find(tagsBeyondTiff, tag) != tagsBeyondTiff.end()
                             : !ExifBlock::isAboutStorage(tag);
}

Exiv2::ByteOrder libraryOrder(ByteOrder order)
{
    return order == ByteOrder::little ? Exiv2::littleEndian : Exiv2::bigEndian;
}

std::vector<std::byte> encoded(const Exiv2::ExifData& data, Exiv2::ByteOrder order)
{
    if (data.empty())
        return {};
    Exiv2::Blob blob;
    Exiv2::ExifParser::encode(blob, order, data);
    const auto bytes = std::as_bytes(std::span{blob});
    return {bytes.begin(), bytes.end()};
}

std::string encoded(const Exiv2::XmpData& properties)
{
    std::string packet;
    if (properties.empty() || Exiv2::XmpParser::encode(packet, properties) != 0)
        return {};
    return packet;
}

std::vector<std::byte> valueOf(const Exiv2::Exifdatum& datum)
{
    std::vector<std::byte> value(static_cast<std::size_t>(datum.size()));
    datum.copy(reinterpret_cast<Exiv2::byte*>(value.data()), Exiv2::littleEndian);
    return value;
}

} // namespace

void startMetadataLibrary()
{
    Exiv2::LogMsg::setLevel(Exiv2::LogMsg::mute);
    Exiv2::XmpParser::initialize();
    Exiv2::enableBMFF();
}

Metadata readTiffMetadata(const std::filesystem::path& file)
{
    Metadata metadata;
    try {
        const auto image = Exiv2::ImageFactory::open(file.string());
        image->readMetadata();
        metadata.xmp = image->xmpPacket();
        Exiv2::ExifData& exif = image->exifData();
        for (const Exiv2::Exifdatum& datum : exif)
            if (datum.groupName() == "Image" && datum.tag() == xmpTag && metadata.xmp.empty()) {
                const auto value = valueOf(datum);
                metadata.xmp.assign(reinterpret_cast<const char*>(value.data()), value.size());
            }
        if (!image->iptcData().empty()) {
            const Exiv2::DataBuf iptc = Exiv2::IptcParser::encode(image->iptcData());
            const auto bytes = std::as_bytes(std::span{iptc.pData_, static_cast<std::size_t>(iptc.size_)});
            metadata.iptc.assign(bytes.begin(), bytes.end());
        }
        for (auto each = exif.begin(); each != exif.end();)
            each = describesThePicture(*each) ? std::next(each) : exif.erase(each);
        metadata.exif = encoded(exif, image->byteOrder() == Exiv2::bigEndian ? Exiv2::bigEndian : Exiv2::littleEndian);
    } catch (const std::exception&) {
        // What cannot be read counts as absent.
    }
    return metadata;
}

std::vector<std::byte> rewrittenExif(const std::vector<std::byte>& exif, ByteOrder order, bool keepsMakerNote)
{
    try {
        Exiv2::ExifData data;
        Exiv2::ExifParser::decode(data, reinterpret_cast<const Exiv2::byte*>(exif.data()),
                                  static_cast<std::uint32_t>(exif.size()));
        if (!keepsMakerNote)
            for (auto each = data.begin(); each != data.end();)
                each = Exiv2::ExifTags::isMakerGroup(each->groupName()) || each->key() == "Exif.Photo.MakerNote"
                           ? data.erase(each)
                           : std::next(each);
        return encoded(data, libraryOrder(order));
    } catch (const std::exception&) {
        return {};
    }
}

std::string xmpOfIptc(const std::vector<std::byte>& iptc)
{
    try {
        Exiv2::IptcData datasets;
        if (Exiv2::IptcParser::decode(datasets, reinterpret_cast<const Exiv2::byte*>(iptc.data()),
                                      static_cast<std::uint32_t>(iptc.size())) != 0)
            return {};
        Exiv2::XmpData properties;
        // Where the datasets do not tell their character set, programs on Windows wrote them.
        Exiv2::copyIptcToXmp(datasets, properties, datasets.detectCharset() ? nullptr : "WINDOWS-1252");
        return encoded(properties);
    } catch (const std::exception&) {
        return {};
    }
}

std::string xmpOfExif(const std::vector<std::byte>& exif)
{
    try {
        Exiv2::ExifData data;
        Exiv2::ExifParser::decode(data, reinterpret_cast<const Exiv2::byte*>(exif.data()),
                                  static_cast<std::uint32_t>(exif.size()));
        Exiv2::XmpData properties;
        Exiv2::copyExifToXmp(data, properties);
        return encoded(properties);
    } catch (const std::exception&) {
        return {};
    }
}

} // namespace nivex::image
