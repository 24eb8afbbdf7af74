// Metadata out of HEIF and AVIF (ISO/IEC 23008-12; ISO/IEC 14496-12, 8.11). Everything stays where it is, since items
// are found by their distance from the beginning: items leave the lists, which are filled up with free space, and their
// data become zeros.
#include "NivexWorkers/Image/Codecs/Codec.hpp"
#include "NivexWorkers/Image/Metadata/Containers.hpp"
#include "NivexWorkers/Image/Removal/BlocksWithoutPosition.hpp"
#include "NivexWorkers/Image/Removal/Overwriting.hpp"
#include "NivexWorkers/Image/Removal/Removal.hpp"

#include "NivexKit/Foundation/Bytes/ByteReader.hpp"
#include "NivexKit/Foundation/Bytes/ByteWriter.hpp"
#include "NivexKit/Structures/IsoBoxes.hpp"

#include <algorithm>
#include <map>
#include <optional>

namespace nivex::image {
namespace {

constexpr std::uint64_t versionAndFlags = 4;
constexpr std::size_t boxHeader = 8;

enum class ItemKind { exif, xmp, other };

/// Where the data of an item lie.
struct Location {
    struct Extent {
        std::uint64_t offset;
        std::uint64_t count; // 0 for all that follows
    };

    unsigned method; // 0: in the file, 1: in the box "idat", 2: in another item
    std::vector<Extent> extents;
    std::span<const std::byte> entry; // as it stands in its box
};

/// A number whose width in bytes the file chooses: 0, 4 or 8.
std::uint64_t sized(ByteReader& reader, unsigned width)
{
    if (width != 0 && width != 4 && width != 8)
        throw damaged("HEIF: box \"meta\"");
    return width == 8 ? reader.u64() : width == 4 ? reader.u32() : 0;
}

class Removal {
public:
    Removal(const ByteSource& file, MetadataPolicy policy) : file_{file}, policy_{policy} {}

    FilePieces pieces()
    {
        bool hasMeta = false;
        IsoBoxes boxes{file_};
        while (const auto box = boxes.next())
            switch (box->type) {
            case boxType("meta"):
                cleanMeta(*box);
                hasMeta = true;
                break;
            case boxType("moov"): // of a sequence of frames
                cleanMovie(*box);
                break;
            case boxType("uuid"): // XMP of other programs, and manifests
                makeFree(*box);
                break;
            case boxType("mdat"):
                break;
            default:
                changes_.keep(box->offset, box->end - box->offset);
            }
        if (!hasMeta || !boxes.reachedEnd())
            throw damaged("HEIF: box \"meta\"");
        return changes_.pieces(file_.size());
    }

private:
    std::vector<std::byte> contents(const IsoBox& box) const
    {
        if (box.size() > mostBlockBytes)
            throw damaged("HEIF: box \"meta\"");
        return file_.read(box.begin, static_cast<std::size_t>(box.size()));
    }

    void makeFree(const IsoBox& box)
    {
        changes_.put(box.offset + 4, "free");
        changes_.erase(box.begin, box.size());
    }

    void cleanMovie(const IsoBox& movie)
    {
        changes_.keep(movie.offset, movie.begin - movie.offset);
        IsoBoxes boxes{file_, movie};
        while (const auto box = boxes.next())
            if (box->type == boxType("udta") || box->type == boxType("meta") || box->type == boxType("uuid"))
                makeFree(*box);
            else if (box->type == boxType("trak"))
                cleanMovie(*box);
            else
                changes_.keep(box->offset, box->end - box->offset);
    }

    void cleanMeta(const IsoBox& meta)
    {
        std::map<std::uint32_t, IsoBox> parts;
        changes_.keep(meta.offset, meta.begin + versionAndFlags - meta.offset);
        IsoBoxes boxes{file_, std::min(meta.begin + versionAndFlags, meta.end), meta.end};
        while (const auto box = boxes.next()) {
            parts.try_emplace(box->type, *box);
            if (box->type != boxType("idat"))
                changes_.keep(box->offset, box->end - box->offset);
        }
        const auto part = [&parts](std::uint32_t type) {
            const auto found = parts.find(type);
            return found == parts.end() ? std::nullopt : std::optional{found->second};
        };
        if (!boxes.reachedEnd())
            throw damaged("HEIF: box \"meta\"");
        if (!part(boxType("iinf")) || !part(boxType("iloc")))
            return;
        const auto infos = contents(*part(boxType("iinf")));
        const auto places = contents(*part(boxType("iloc")));
        readItems(infos);
        readLocations(places);
        itemData_ = part(boxType("idat"));
        if (policy_ == MetadataPolicy::removeLocation)
            return cleanItems();
        if (metadataItems_.empty())
            return;
        keepOthers();
        eraseItems();
        rewriteItems(*part(boxType("iinf")), infos);
        rewriteLocations(*part(boxType("iloc")), places);
        if (const auto references = part(boxType("iref")))
            rewriteReferences(*references);
    }

    /// Calls `take` with the identifier, the kind and the bytes of each entry of a box "iinf".
    template <class Take>
    static void forEachItem(std::span<const std::byte> box, Take take)
    {
        const std::size_t begin = itemListBegin(box);
        const auto list = box.subspan(std::min(begin, box.size()));
        const MemorySource source{list};
        IsoBoxes entries{source};
        while (const auto entry = entries.next()) {
            ByteReader reader{list.subspan(entry->begin, entry->size()), ByteOrder::big};
            const std::uint8_t version = reader.u8();
            reader.skip(3);
            const std::uint32_t identifier = version < 3 ? reader.u16() : reader.u32();
            reader.skip(2); // protection
            const std::string_view type = version < 2 ? "mime" : reader.text(4);
            const std::string_view rest = reader.text(reader.left()); // name, type of the contents
            if (reader.failed())
                throw damaged("HEIF: box \"meta\"");
            const bool isXmp = type == "mime" && rest.find("application/rdf+xml") != rest.npos;
            take(identifier,
                 type == "Exif" ? ItemKind::exif
                 : isXmp        ? ItemKind::xmp
                                : ItemKind::other,
                 list.subspan(entry->offset, entry->end - entry->offset));
        }
        if (!entries.reachedEnd())
            throw damaged("HEIF: box \"meta\"");
    }

    static std::size_t itemListBegin(std::span<const std::byte> box)
    {
        return versionAndFlags + (ByteReader{box}.u8() == 0 ? 2 : 4);
    }

    void readItems(std::span<const std::byte> box)
    {
        forEachItem(box, [this](std::uint32_t identifier, ItemKind kind, std::span<const std::byte>) {
            if (kind != ItemKind::other)
                metadataItems_[identifier] = kind;
        });
    }

    void readLocations(std::span<const std::byte> box)
    {
        ByteReader reader{box, damaged("HEIF: box \"meta\""), ByteOrder::big};
        const std::uint8_t version = reader.u8();
        reader.skip(3);
        const std::uint8_t widths = reader.u8();
        const std::uint8_t moreWidths = reader.u8();
        const unsigned indexWidth = version == 0 ? 0 : moreWidths & 0xFu;
        std::uint32_t left = version < 2 ? reader.u16() : reader.u32();
        locationsBegin_ = reader.position();
        hasWideIdentifiers_ = version >= 2;
        for (; left > 0; --left) {
            const std::size_t begin = reader.position();
            const std::uint32_t identifier = version < 2 ? reader.u16() : reader.u32();
            Location location{.method = version == 0 ? 0 : reader.u16() & 0xFu, .extents = {}, .entry = {}};
            const bool isInThisFile = reader.u16() == 0;
            const std::uint64_t base = sized(reader, moreWidths >> 4u);
            for (unsigned extents = reader.u16(); extents > 0; --extents) {
                sized(reader, indexWidth);
                const std::uint64_t offset = sized(reader, widths >> 4u);
                const std::uint64_t count = sized(reader, widths & 0xFu);
                if (isInThisFile)
                    location.extents.push_back({base + offset, count});
            }
            location.entry = box.subspan(begin, reader.position() - begin);
            if (!locations_.emplace(identifier, std::move(location)).second)
                throw damaged("HEIF: box \"meta\"");
        }
    }

    /// Where extents lie in the file.
    std::vector<Location::Extent> placesOf(const Location& location) const
    {
        std::vector<Location::Extent> places;
        for (Location::Extent each : location.extents) {
            if (location.method == 1) {
                if (!itemData_ || each.offset > itemData_->size())
                    throw damaged("HEIF: box \"meta\"");
                each.offset += itemData_->begin;
            }
            if (each.count == 0)
                each.count = (location.method == 1 ? itemData_->end : file_.size()) - each.offset;
            if (each.offset > file_.size() || each.count > file_.size() - each.offset)
                throw damaged("HEIF: box \"meta\"");
            places.push_back(each);
        }
        return places;
    }

    const Location& locationOf(std::uint32_t item) const
    {
        const auto found = locations_.find(item);
        if (found == locations_.end() || found->second.method > 1)
            throw damaged("HEIF: box \"meta\"");
        return found->second;
    }

    void keepOthers()
    {
        for (const auto& [identifier, location] : locations_)
            if (!metadataItems_.contains(identifier) && location.method <= 1)
                for (const auto& [offset, count] : placesOf(location))
                    changes_.keep(offset, count);
    }

    void eraseItems()
    {
        for (const auto& [identifier, kind] : metadataItems_)
            for (const auto& [offset, count] : placesOf(locationOf(identifier)))
                changes_.erase(offset, count);
    }

    /// Takes the position out of each block, where it lies.
    void cleanItems()
    {
        for (const auto& [identifier, kind] : metadataItems_) {
            const auto places = placesOf(locationOf(identifier));
            std::vector<std::byte> whole;
            for (const auto& [offset, count] : places) {
                if (count > mostBlockBytes - whole.size())
                    throw damaged("HEIF: box \"meta\"");
                const auto part = file_.read(offset, static_cast<std::size_t>(count));
                whole.insert(whole.end(), part.begin(), part.end());
            }
            const auto left =
                kind == ItemKind::exif ? exifItemWithoutPosition(whole) : asBytes(xmpWithoutPosition(asText(whole)));
            if (left == whole)
                continue;
            std::size_t done = 0;
            for (const auto& [offset, count] : places) {
                changes_.put(offset, asText(left).substr(done, static_cast<std::size_t>(count)));
                done += static_cast<std::size_t>(count);
            }
        }
    }

    /// The block stands behind a number of bytes that is told in front of it.
    static std::vector<std::byte> exifItemWithoutPosition(std::vector<std::byte> item)
    {
        ByteReader reader{item, damaged("HEIF: box \"meta\""), ByteOrder::big};
        const std::uint32_t distance = reader.u32();
        reader.skip(distance);
        const auto begin = item.begin() + static_cast<std::ptrdiff_t>(reader.position());
        const auto left = exifWithoutPosition({begin, item.end()});
        std::ranges::copy(left, begin);
        return item;
    }

    /// Puts a shorter box in the place of one, with free space behind it; where there is room for no box, at its end.
    void replace(const IsoBox& box, std::string_view type, std::span<const std::byte> contents)
    {
        const auto room = static_cast<std::size_t>(box.end - box.offset);
        const std::size_t freed = room - boxHeader - contents.size();
        ByteWriter writer{ByteOrder::big};
        const std::size_t size = freed < boxHeader ? room : room - freed;
        writer.u32(static_cast<std::uint32_t>(size)).text(type).bytes(contents);
        if (freed >= boxHeader)
            writer.u32(static_cast<std::uint32_t>(freed)).text("free");
        writer.zeros(room - writer.size());
        changes_.put(box.offset, writer.view());
    }

    static void putCount(ByteWriter& writer, std::size_t count, bool isWide)
    {
        if (isWide)
            writer.u32(static_cast<std::uint32_t>(count));
        else
            writer.u16(static_cast<std::uint16_t>(count));
    }

    void rewriteItems(const IsoBox& box, std::span<const std::byte> old)
    {
        ByteWriter list{ByteOrder::big};
        std::size_t count = 0;
        forEachItem(old, [&](std::uint32_t identifier, ItemKind, std::span<const std::byte> entry) {
            if (metadataItems_.contains(identifier))
                return;
            list.bytes(entry);
            ++count;
        });
        ByteWriter writer{ByteOrder::big};
        writer.bytes(old.first(versionAndFlags));
        putCount(writer, count, itemListBegin(old) > versionAndFlags + 2);
        writer.text(list.view());
        replace(box, "iinf", std::move(writer).release());
    }

    void rewriteLocations(const IsoBox& box, std::span<const std::byte> old)
    {
        ByteWriter writer{ByteOrder::big};
        writer.bytes(old.first(locationsBegin_ - (hasWideIdentifiers_ ? 4 : 2)));
        const auto isStaying = [this](const auto& each) { return !metadataItems_.contains(each.first); };
        putCount(writer, static_cast<std::size_t>(std::ranges::count_if(locations_, isStaying)), hasWideIdentifiers_);
        for (const auto& each : locations_)
            if (isStaying(each))
                writer.bytes(each.second.entry);
        replace(box, "iloc", std::move(writer).release());
    }

    /// An item of metadata refers to the picture that it describes.
    void rewriteReferences(const IsoBox& box)
    {
        const auto old = contents(box);
        if (old.size() < versionAndFlags)
            throw damaged("HEIF: box \"meta\"");
        const auto list = std::span{old}.subspan(versionAndFlags);
        ByteWriter writer{ByteOrder::big};
        writer.bytes(std::span{old}.first(versionAndFlags));
        const MemorySource source{list};
        IsoBoxes references{source};
        while (const auto reference = references.next()) {
            ByteReader reader{list.subspan(reference->begin, reference->size()), ByteOrder::big};
            const std::uint32_t from = old.front() == std::byte{} ? reader.u16() : reader.u32();
            if (!metadataItems_.contains(from))
                writer.bytes(list.subspan(reference->offset, reference->end - reference->offset));
        }
        if (writer.size() == versionAndFlags)
            makeFree(box);
        else
            replace(box, "iref", std::move(writer).release());
    }

    const ByteSource& file_;
    MetadataPolicy policy_;
    Overwriting changes_;
    std::map<std::uint32_t, ItemKind> metadataItems_; // Exif and XMP
    std::map<std::uint32_t, Location> locations_;
    std::size_t locationsBegin_ = 0; // in the box "iloc"
    bool hasWideIdentifiers_ = false;
    std::optional<IsoBox> itemData_;
};

} // namespace

FilePieces heifWithoutMetadata(const ByteSource& file, MetadataPolicy policy) { return Removal{file, policy}.pieces(); }

} // namespace nivex::image
