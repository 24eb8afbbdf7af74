// HEIF and AVIF: the items of the "meta" box and their properties.
#include "NivexKit/Detection/Images/ImageHeaderReaders.hpp"
#include "NivexKit/Detection/Images/ImageLocation.hpp"
#include "NivexKit/Structures/HeifItemReferences.hpp"
#include "NivexKit/Structures/IsoBoxes.hpp"

#include <algorithm>
#include <unordered_map>
#include <unordered_set>

namespace nivex {
namespace {

struct HeifItem {
    std::uint32_t id = 0;
    std::uint32_t type = 0;
    bool isHidden = false;
    bool isXmp = false;
};

struct HeifProperty {
    std::uint32_t type = 0;
    std::uint32_t width = 0;  // of "ispe"
    std::uint32_t height = 0; // of "ispe"
    int bits = 0;             // of "pixi" and the decoders' configurations
    bool isAlpha = false;     // of "auxC"
};

bool isImage(std::uint32_t itemType)
{
    constexpr std::uint32_t types[] = {
        boxType("hvc1"), boxType("av01"), boxType("grid"), boxType("iovl"), boxType("iden"), boxType("avc1"),
        boxType("jpeg"), boxType("j2k1"), boxType("vvc1"), boxType("unci"), boxType("tmap"),
    };
    return std::find(std::begin(types), std::end(types), itemType) != std::end(types);
}

/// A number whose width in bytes the file chooses: 0, 4 or 8.
std::uint64_t sized(ByteReader& reader, unsigned width)
{
    return width == 8 ? reader.u64() : width == 4 ? reader.u32() : 0;
}

/// The contents of one "meta" box, as far as an image header needs them.
class HeifItems {
public:
    HeifItems(HeaderBytes& file, const IsoBox& meta) : file_{file}
    {
        // One read for all of it; the boxes below are then slices of this one.
        constexpr std::uint64_t largestMeta = 192 * 1024;
        file_.slice(meta.begin, static_cast<std::size_t>(std::min(meta.size(), largestMeta)));
        constexpr std::uint64_t versionAndFlags = 4;
        IsoBoxes boxes{file_, std::min(meta.begin + versionAndFlags, meta.end), meta.end};
        while (const auto box = boxes.next())
            readBox(*box);
    }

    bool enter(SourceProperties& image)
    {
        if (!enterPrimarySize(image))
            return false;
        enterDepth(image);
        image.isFloatingPoint = false;
        image.hasAlpha = std::any_of(associations_.begin(), associations_.end(), [this](const auto& entry) {
            return std::any_of(entry.second.begin(), entry.second.end(), [this](std::size_t index) {
                const HeifProperty* property = propertyAt(index);
                return property && property->isAlpha;
            });
        });
        image.imageCount =
            std::max<std::int64_t>(1, std::count_if(items_.begin(), items_.end(), [this](const auto& item) {
                                       return isImage(item.type) && !item.isHidden && !dependent_.contains(item.id);
                                   }));
        enterLocation(image);
        return true;
    }

private:
    static constexpr std::size_t maxItems = 4096;

    ByteReader contents(const IsoBox& box)
    {
        constexpr std::uint64_t largestBox = 128 * 1024;
        return file_.reader(box.begin, static_cast<std::size_t>(std::min(box.size(), largestBox)), ByteOrder::big);
    }

    void readBox(const IsoBox& box)
    {
        switch (box.type) {
        case boxType("pitm"):
            return readPrimary(contents(box));
        case boxType("iinf"):
            return readItems(box);
        case boxType("iref"):
            return readReferences(box);
        case boxType("iprp"):
            return readProperties(box);
        case boxType("iloc"):
            locations_ = box;
            return;
        case boxType("idat"):
            itemData_ = box.begin;
            return;
        default:
            return;
        }
    }

    void readPrimary(ByteReader reader)
    {
        const std::uint8_t version = reader.u8();
        reader.skip(3);
        primary_ = version == 0 ? reader.u16() : reader.u32();
    }

    void readItems(const IsoBox& box)
    {
        const std::uint8_t version = contents(box).u8();
        const std::uint64_t listOffset = box.begin + 4 + (version == 0 ? 2 : 4);
        IsoBoxes entries{file_, listOffset, box.end};
        while (const auto entry = entries.next()) {
            ByteReader reader = contents(*entry);
            const std::uint8_t entryVersion = reader.u8();
            constexpr std::uint32_t hiddenFlag = 1;
            HeifItem item{.isHidden = (reader.u24() & hiddenFlag) != 0};
            if (entryVersion < 2)
                continue; // items without a type are not images
            item.id = entryVersion == 2 ? reader.u16() : reader.u32();
            reader.skip(2); // protection
            item.type = reader.u32();
            if (item.type == boxType("mime")) {
                const auto left = reader.text(reader.left());
                item.isXmp = left.find("application/rdf+xml") != std::string_view::npos;
            }
            if (items_.size() < maxItems)
                items_.push_back(item);
        }
    }

    /// Thumbnails, auxiliary images and the tiles of a grid are parts of another image.
    void readReferences(const IsoBox& box)
    {
        forEachItemReference(file_, box, [this](std::uint32_t type, std::uint32_t from, std::uint32_t to) {
            if (type == boxType("thmb") || type == boxType("auxl"))
                dependent_.insert(from);
            else if (type == boxType("dimg"))
                dependent_.insert(to);
        });
        dependent_.erase(primary_);
    }

    void readProperties(const IsoBox& box)
    {
        IsoBoxes parts{file_, box};
        while (const auto part = parts.next()) {
            if (part->type == boxType("ipma"))
                readAssociations(contents(*part));
            if (part->type != boxType("ipco"))
                continue;
            IsoBoxes list{file_, *part};
            while (const auto each = list.next())
                properties_.push_back(property(*each));
        }
    }

    HeifProperty property(const IsoBox& box)
    {
        HeifProperty result{.type = box.type};
        ByteReader reader = contents(box);
        if (box.type == boxType("ispe")) {
            reader.skip(4);
            result.width = reader.u32();
            result.height = reader.u32();
        } else if (box.type == boxType("pixi")) {
            reader.skip(4);
            for (int channels = reader.u8(); channels > 0 && !reader.failed(); --channels)
                result.bits = std::max<int>(result.bits, reader.u8());
        } else if (box.type == boxType("av1C")) {
            reader.skip(2);
            const std::uint8_t flags = reader.u8();
            const bool isHigh = (flags & 0x40) != 0;
            const bool isTwelve = (flags & 0x20) != 0;
            result.bits = !isHigh ? 8 : isTwelve ? 12 : 10;
        } else if (box.type == boxType("hvcC")) {
            reader.skip(17);
            result.bits = 8 + (reader.u8() & 7);
        } else if (box.type == boxType("auxC")) {
            reader.skip(4);
            const std::string_view kind = reader.text(reader.left());
            result.isAlpha = kind.starts_with("urn:mpeg:mpegB:cicp:systems:auxiliary:alpha") ||
                             kind.starts_with("urn:mpeg:hevc:2015:auxid:1");
        }
        return result;
    }

    void readAssociations(ByteReader reader)
    {
        const std::uint8_t version = reader.u8();
        const bool hasWideIndices = (reader.u24() & 1) != 0;
        const std::uint32_t count = reader.u32();
        for (std::uint32_t i = 0; i < count && i < maxItems && !reader.failed(); ++i) {
            const std::uint32_t item = version == 0 ? reader.u16() : reader.u32();
            const std::uint8_t indices = reader.u8();
            for (int j = 0; j < indices && !reader.failed(); ++j) // the top bit says "essential"
                associations_[item].push_back(hasWideIndices ? reader.u16() & 0x7FFFU : reader.u8() & 0x7FU);
        }
    }

    /// The property of an index, counted from 1.
    const HeifProperty* propertyAt(std::size_t index) const
    {
        return index >= 1 && index <= properties_.size() ? &properties_[index - 1] : nullptr;
    }

    bool enterPrimarySize(SourceProperties& image) const
    {
        const auto own = associations_.find(primary_);
        if (own == associations_.end())
            return false;
        return std::any_of(own->second.begin(), own->second.end(), [&](std::size_t index) {
            const HeifProperty* property = propertyAt(index);
            return property && property->type == boxType("ispe") && enterSize(property->width, property->height, image);
        });
    }

    /// The depth is that of the primary item; a grid that states none has the depth of its tiles.
    void enterDepth(SourceProperties& image) const
    {
        int bits = 0;
        if (const auto own = associations_.find(primary_); own != associations_.end())
            for (const std::size_t index : own->second)
                if (const HeifProperty* property = propertyAt(index))
                    bits = std::max(bits, property->bits);
        for (const HeifProperty& property : properties_)
            if (bits == 0)
                bits = property.bits;
        if (bits > 0)
            image.bitsPerComponent = bits;
    }

    void enterLocation(SourceProperties& image)
    {
        image.hasLocation = false;
        for (const HeifItem& item : items_) {
            const bool isExif = item.type == boxType("Exif");
            if (!isExif && !item.isXmp)
                continue;
            const IsoBox place = placeOf(item.id);
            if (place.begin == 0)
                image.hasLocation.reset(); // there may be one where we cannot look
            else if (item.isXmp)
                noteXmp(file_, place.begin, place.size(), image);
            else
                noteExif(file_, place.begin + 4 + file_.reader(place.begin, 4, ByteOrder::big).u32(), image);
            if (image.hasLocation.value_or(false))
                return;
        }
    }

    /// Where the first extent of an item stands in the file; an empty box when that is not told.
    IsoBox placeOf(std::uint32_t wanted)
    {
        if (!locations_)
            return {};
        ByteReader reader = contents(*locations_);
        const std::uint8_t version = reader.u8();
        reader.skip(3);
        const std::uint16_t widths = reader.u16();
        const unsigned offsetWidth = widths >> 12;
        const unsigned lengthWidth = widths >> 8 & 15U;
        const unsigned baseWidth = widths >> 4 & 15U;
        const unsigned indexWidth = version == 0 ? 0 : widths & 15U;
        const std::uint32_t count = version < 2 ? reader.u16() : reader.u32();
        for (std::uint32_t i = 0; i < count && !reader.failed(); ++i) {
            const std::uint32_t id = version < 2 ? reader.u16() : reader.u32();
            const unsigned method = version == 0 ? 0 : reader.u16() & 15U;
            reader.skip(2); // data reference
            const std::uint64_t base = sized(reader, baseWidth);
            const std::uint16_t extents = reader.u16();
            for (int j = 0; j < extents && !reader.failed(); ++j) {
                sized(reader, indexWidth);
                const std::uint64_t offset = base + sized(reader, offsetWidth);
                const std::uint64_t length = sized(reader, lengthWidth);
                if (id != wanted || reader.failed())
                    continue;
                const std::uint64_t begin = method == 1 ? itemData_ + offset : offset;
                if (method > 1 || begin >= file_.size())
                    return {};
                return {.begin = begin, .end = begin + std::min(length, file_.size() - begin)};
            }
        }
        return {};
    }

    HeaderBytes& file_;
    std::uint32_t primary_ = 0;
    std::vector<HeifItem> items_;
    std::vector<HeifProperty> properties_;
    std::unordered_map<std::uint32_t, std::vector<std::size_t>> associations_; // item to property indices
    std::unordered_set<std::uint32_t> dependent_;
    std::optional<IsoBox> locations_;
    std::uint64_t itemData_ = 0;
};

/// The frames of an image sequence: the samples of its longest track.
std::int64_t sampleCount(HeaderBytes& file, const IsoBox& movie)
{
    std::int64_t longest = 0;
    IsoBoxes tracks{file, movie};
    while (const auto track = tracks.next()) {
        if (track->type != boxType("trak"))
            continue;
        const auto sizes = findBox(file, *track, {boxType("mdia"), boxType("minf"), boxType("stbl"), boxType("stsz")});
        if (!sizes)
            continue;
        ByteReader reader = file.reader(sizes->begin + 8, 4, ByteOrder::big); // behind version and common size
        longest = std::max<std::int64_t>(longest, reader.u32());
    }
    return longest;
}

/// How long an image sequence takes; 0 where that is not told.
double duration(HeaderBytes& file, const IsoBox& movie)
{
    const auto header = findBox(file, movie, {boxType("mvhd")});
    if (!header)
        return 0;
    ByteReader reader = file.reader(header->begin, 32, ByteOrder::big);
    const bool isWide = reader.u8() == 1;
    reader.skip(isWide ? 3 + 16 : 3 + 8); // flags and dates
    const std::uint32_t unitsPerSecond = reader.u32();
    const std::uint64_t units = isWide ? reader.u64() : reader.u32();
    const bool isTold = !reader.failed() && unitsPerSecond > 0 && ~units != 0 && units != 0xFFFF'FFFF;
    return isTold ? static_cast<double>(units) / unitsPerSecond : 0;
}

/// The directory of the camera's maker: "uuid" boxes with TIFF structures of their own.
constexpr std::string_view canonIdentifier{"\x85\xc0\xb6\x87\x82\x0f\x11\xe0\x81\x11\xf4\xce\x46\x2b\x6a\x48", 16};

} // namespace

bool readHeifHeader(HeaderBytes& file, SourceProperties& image)
{
    bool isUnderstood = false;
    IsoBoxes boxes{file};
    while (const auto box = boxes.next()) {
        if (box->type == boxType("meta"))
            isUnderstood = HeifItems{file, *box}.enter(image);
        if (box->type != boxType("moov"))
            continue;
        const std::int64_t frames = sampleCount(file, *box);
        if (frames > 1)
            image.durationSeconds = duration(file, *box);
        if (frames > image.imageCount.value_or(0))
            image.imageCount = frames;
    }
    return isUnderstood;
}

bool readCr3Header(HeaderBytes& file, SourceProperties& image)
{
    const auto maker = findBox(file, {.begin = 0, .end = file.size()}, {boxType("moov"), boxType("uuid")});
    if (!maker || !file.hasText(maker->begin, canonIdentifier))
        return false;
    constexpr std::uint16_t widthTag = 256;
    constexpr std::uint16_t heightTag = 257;
    constexpr std::uint16_t latitudeTag = 2;
    bool isUnderstood = false;
    image.hasLocation = false;
    IsoBoxes parts{file, maker->begin + canonIdentifier.size(), maker->end};
    while (const auto part = parts.next()) {
        const auto tiff = TiffStructure::at(file, part->begin);
        const auto directory = tiff ? tiff->directory(tiff->firstDirectory()) : std::nullopt;
        if (!directory)
            continue;
        if (part->type == boxType("CMT1"))
            isUnderstood = enterSize(tiff->number(directory->field(widthTag)).value_or(0),
                                     tiff->number(directory->field(heightTag)).value_or(0), image);
        else if (part->type == boxType("CMT4")) // the GPS directory stands alone
            image.hasLocation = directory->field(latitudeTag) != nullptr;
    }
    image.hasAlpha = false;
    image.imageCount = 1;
    return isUnderstood;
}

} // namespace nivex
