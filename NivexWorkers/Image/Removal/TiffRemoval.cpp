// Metadata out of TIFF (TIFF 6.0; BigTIFF). Everything stays where it is, since a file is held together by offsets:
// fields leave their tables, their values become zeros.
#include "NivexWorkers/Image/Codecs/Codec.hpp"
#include "NivexWorkers/Image/Metadata/Containers.hpp"
#include "NivexWorkers/Image/Metadata/ExifBlock.hpp"
#include "NivexWorkers/Image/Removal/BlocksWithoutPosition.hpp"
#include "NivexWorkers/Image/Removal/Overwriting.hpp"
#include "NivexWorkers/Image/Removal/Removal.hpp"

#include "NivexKit/Foundation/Bytes/ByteReader.hpp"
#include "NivexKit/Foundation/Bytes/ByteWriter.hpp"
#include "NivexKit/Structures/TiffStructure.hpp"

#include <algorithm>
#include <iterator>
#include <set>

namespace nivex::image {
namespace {

constexpr std::uint16_t stripOffsets = 273;
constexpr std::uint16_t stripBytes = 279;
constexpr std::uint16_t tileOffsets = 324;
constexpr std::uint16_t tileBytes = 325;
constexpr std::uint16_t jpegOffset = 513;
constexpr std::uint16_t jpegBytes = 514;
constexpr std::uint16_t jpegTables[] = {519, 520, 521};
constexpr std::uint64_t mostBytesOfJpegTable = 16 + 256;
constexpr std::uint16_t photoshopResources = 34377;

/// True for a field without which the picture shows otherwise, or takes another place on its page.
bool shapesPicture(std::uint16_t tag)
{
    constexpr std::uint16_t shaping[] = {
        274,                                                 // orientation
        282,   283,   286,   287,   296, 297,                // resolution, place on the page, number of the page
        292,   293,                                          // options of fax coding
        301,   317,   318,   319,   321,                     // curves, predictor, primaries, halftones
        332,   333,   334,   336,   338, 339, 340, 341, 342, // inks, transparency, kinds of samples
        343,   344,   345,   346,   347,                     // clipping, colours by index, tables of JPEG
        519,   520,   521,   529,   530, 531, 532, 559,      // old JPEG, YCbCr, lengths of strips
        32995, 32996, 32997, 32998,                          // transparency, kinds of samples, depth
        34675,                                               // colour profile
        37439, 37724,                                        // unit of light, layers
        50674,                                               // parameters of LERC
    };
    return ExifBlock::isAboutStorage(tag) || std::ranges::find(shaping, tag) != std::end(shaping);
}

bool leadsToMetadata(std::uint16_t tag)
{
    return tag == ExifBlock::exifPointer || tag == ExifBlock::gpsPointer || tag == ExifBlock::interoperabilityPointer;
}

struct Field {
    std::uint16_t tag;
    std::uint64_t count;
    std::size_t valueSize;            // of each value; 0 where the type is not known
    std::uint64_t position;           // of the first value
    std::span<const std::byte> bytes; // as it stands in its table

    std::uint64_t valueBytes() const { return count * valueSize; }
};

/// A directory: a number, as many fields, and where the next one stands.
struct Table {
    std::uint64_t position;
    std::vector<std::byte> bytes;
    std::vector<Field> fields;
    std::uint64_t next;

    const Field* field(std::uint16_t tag) const
    {
        const auto found = std::ranges::find(fields, tag, &Field::tag);
        return found == fields.end() ? nullptr : &*found;
    }
};

class Removal {
public:
    Removal(const ByteSource& file, MetadataPolicy policy) : file_{file}, policy_{policy}, unread_{file.size()}
    {
        const auto header = file.read(0, 16);
        ByteReader reader{header, damaged("TIFF: directories")};
        order_ = reader.text(2) == "MM" ? ByteOrder::big : ByteOrder::little;
        reader.setOrder(order_);
        const std::uint16_t version = reader.u16();
        isBig_ = version == 43;
        if (!isBig_ && version != 42)
            throw damaged("TIFF: directories");
        if (isBig_)
            reader.skip(4); // the size of an offset, 8, and padding
        changes_.keep(0, isBig_ ? 16 : 8);
        first_ = offset(reader);
    }

    FilePieces pieces()
    {
        if (first_ == 0)
            throw damaged("TIFF: directories");
        cleanPages(first_, 0);
        return changes_.pieces(file_.size());
    }

private:
    std::uint64_t offset(ByteReader& reader) const { return isBig_ ? reader.u64() : reader.u32(); }
    std::size_t offsetBytes() const { return isBig_ ? 8 : 4; }

    /// What is read of tables and lists must not be more than the file holds: where they overlap, it is broken.
    std::vector<std::byte> read(std::uint64_t position, std::uint64_t count)
    {
        if (count > unread_ || count > mostBlockBytes)
            throw damaged("TIFF: directories");
        unread_ -= count;
        auto bytes = file_.read(position, static_cast<std::size_t>(count));
        if (bytes.size() != count)
            throw damaged("TIFF: directories");
        return bytes;
    }

    Table tableAt(std::uint64_t position)
    {
        const std::size_t countBytes = isBig_ ? 8 : 2;
        const std::size_t fieldBytes = isBig_ ? 20 : 12;
        constexpr std::uint64_t mostFields = 65'535;
        const auto counted = read(position, countBytes);
        ByteReader counter{counted, order_};
        const std::uint64_t count = isBig_ ? counter.u64() : counter.u16();
        if (count == 0 || count > mostFields)
            throw damaged("TIFF: directories");
        Table table{.position = position, .bytes = counted, .fields = {}, .next = 0};
        const auto rest = read(position + countBytes, count * fieldBytes + offsetBytes());
        table.bytes.insert(table.bytes.end(), rest.begin(), rest.end());
        ByteReader reader{table.bytes, damaged("TIFF: directories"), order_};
        reader.skip(countBytes);
        for (std::uint64_t i = 0; i < count; ++i) {
            const std::size_t begin = reader.position();
            Field field{};
            field.tag = reader.u16();
            field.valueSize = tiffValueSize(reader.u16());
            field.count = offset(reader);
            field.position = position + reader.position();
            const std::uint64_t elsewhere = offset(reader);
            if (field.valueSize > 0 && field.count > offsetBytes() / field.valueSize)
                field.position = elsewhere;
            field.count = std::min(field.count, file_.size());
            field.bytes = std::span{table.bytes}.subspan(begin, fieldBytes);
            table.fields.push_back(field);
        }
        table.next = offset(reader);
        return table;
    }

    std::vector<std::uint64_t> numbers(const Field* field)
    {
        std::vector<std::uint64_t> result;
        if (!field || field->valueSize == 0)
            return result;
        const auto bytes = read(field->position, field->valueBytes());
        ByteReader reader{bytes, order_};
        for (std::uint64_t i = 0; i < field->count; ++i)
            result.push_back(field->valueSize == 8   ? reader.u64()
                             : field->valueSize == 4 ? reader.u32()
                             : field->valueSize == 2 ? reader.u16()
                                                     : reader.u8());
        return result;
    }

    void cleanPages(std::uint64_t position, int depth)
    {
        constexpr int deepest = 8; // of pictures below others
        for (; position != 0; position = cleanPage(position, depth))
            if (!seen_.insert(position).second || depth > deepest)
                throw damaged("TIFF: directories");
    }

    /// Returns where the next page stands.
    std::uint64_t cleanPage(std::uint64_t position, int depth)
    {
        const Table table = tableAt(position);
        keepPixels(table, stripOffsets, stripBytes);
        keepPixels(table, tileOffsets, tileBytes);
        keepPixels(table, jpegOffset, jpegBytes);
        for (const std::uint16_t tag : jpegTables)
            for (const std::uint64_t place : numbers(table.field(tag)))
                changes_.keep(place, mostBytesOfJpegTable);
        for (const std::uint64_t below : numbers(table.field(tifftag::subDirectories)))
            cleanPages(below, depth + 1);
        rewrite(table, [this](const Field& field) { return staysInPage(field); });
        return table.next;
    }

    void keepPixels(const Table& table, std::uint16_t offsets, std::uint16_t lengths)
    {
        const auto places = numbers(table.field(offsets));
        const auto bytes = numbers(table.field(lengths));
        for (std::size_t i = 0; i < places.size(); ++i)
            changes_.keep(places[i], i < bytes.size() ? bytes[i] : file_.size() - std::min(places[i], file_.size()));
    }

    bool staysInPage(const Field& field)
    {
        if (policy_ == MetadataPolicy::removeAll)
            return shapesPicture(field.tag);
        return staysWithoutPosition(field);
    }

    bool staysWithoutPosition(const Field& field)
    {
        if (field.tag == tifftag::xmp)
            change(field, [](std::vector<std::byte> value) { return asBytes(xmpWithoutPosition(asText(value))); });
        else if (field.tag == photoshopResources)
            change(field, resourcesWithoutPosition);
        else if (field.tag == ExifBlock::exifPointer)
            for (const std::uint64_t place : numbers(&field))
                if (seen_.insert(place).second)
                    rewrite(tableAt(place), [this](const Field& inner) { return staysWithoutPosition(inner); });
        return field.tag != ExifBlock::gpsPointer;
    }

    template <class Without>
    void change(const Field& field, Without without)
    {
        if (field.valueBytes() <= offsetBytes() || !changed_.insert(field.position).second)
            return; // so little says nothing, and lies in the table; pages may share a value
        const auto value = read(field.position, field.valueBytes());
        if (const auto left = without(value); left != value)
            changes_.put(field.position, asText(left));
    }

    /// Writes the table anew with the fields that stay; those that go take their values with them.
    template <class Stays>
    void rewrite(const Table& table, Stays stays)
    {
        std::vector<const Field*> staying;
        for (const Field& field : table.fields)
            if (stays(field)) {
                staying.push_back(&field);
                changes_.keep(field.position, field.valueBytes());
            } else {
                erase(field);
            }
        if (staying.size() == table.fields.size())
            return changes_.keep(table.position, table.bytes.size());
        if (staying.empty())
            throw damaged("TIFF: directories"); // what leads here counts on a directory
        ByteWriter writer{order_};
        const auto count = static_cast<std::uint16_t>(staying.size());
        if (isBig_)
            writer.zeros(order_ == ByteOrder::big ? 6 : 0).u16(count).zeros(order_ == ByteOrder::big ? 0 : 6);
        else
            writer.u16(count);
        for (const Field* field : staying)
            writer.bytes(field->bytes);
        writer.bytes(std::span{table.bytes}.last(offsetBytes()));
        writer.zeros(table.bytes.size() - writer.size());
        changes_.put(table.position, writer.view());
    }

    void erase(const Field& field)
    {
        changes_.erase(field.position, field.valueBytes());
        if (leadsToMetadata(field.tag))
            for (const std::uint64_t place : numbers(&field))
                eraseDirectory(place);
    }

    void eraseDirectory(std::uint64_t position)
    {
        if (!seen_.insert(position).second)
            return;
        const Table table = tableAt(position);
        changes_.erase(position, table.bytes.size());
        for (const Field& field : table.fields)
            erase(field);
    }

    const ByteSource& file_;
    MetadataPolicy policy_;
    std::uint64_t unread_;
    ByteOrder order_{};
    bool isBig_ = false;
    std::uint64_t first_ = 0;
    Overwriting changes_;
    std::set<std::uint64_t> seen_;    // directories
    std::set<std::uint64_t> changed_; // values
};

} // namespace

FilePieces tiffWithoutMetadata(const ByteSource& file, MetadataPolicy policy) { return Removal{file, policy}.pieces(); }

} // namespace nivex::image
