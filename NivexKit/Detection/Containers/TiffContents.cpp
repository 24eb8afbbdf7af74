#include "NivexKit/Detection/Containers/ContainerInspectors.hpp"
#include "NivexKit/Detection/Containers/InspectorSupport.hpp"
#include "NivexKit/Foundation/Bytes/ByteReader.hpp"

#include <algorithm>
#include <optional>

namespace nivex::inspectors {
namespace {

constexpr std::uint64_t maxTagsRead = 512;
constexpr std::size_t maxSubdirectories = 8;

enum Tag : std::uint16_t {
    photometricInterpretation = 262,
    make = 271,
    subdirectories = 330,
    geoKeys = 34735,
    dngVersion = 50706,
    dngPrivateData = 50740,
};
constexpr std::uint64_t colourFilterArray = 32803;

struct Field {
    std::uint16_t tag = 0;
    std::uint16_t type = 0;
    std::uint64_t count = 0;
    std::uint64_t value = 0;        // the value itself, where it is one number
    std::uint64_t valuesOffset = 0; // where the values stand in the file
};

/// The directories of a TIFF file, of the classic layout and of the one with 64-bit offsets.
class TiffFile {
public:
    static std::optional<TiffFile> open(const ByteSource& source)
    {
        const auto bytes = source.read(0, std::size_t{16});
        ByteReader header{bytes};
        const std::string_view order = header.text(2);
        TiffFile file{source, order == "MM" ? ByteOrder::big : ByteOrder::little};
        header.setOrder(file.order_);
        file.isLarge_ = header.u16() == 43;
        header.skip(file.isLarge_ ? 4 : 0);
        file.first_ = file.isLarge_ ? header.u64() : header.u32();
        return header.failed() ? std::nullopt : std::optional{file};
    }

    std::vector<Field> firstDirectory() const { return directoryAt(first_); }

    std::vector<Field> directoryAt(std::uint64_t offset) const
    {
        const std::size_t countSize = isLarge_ ? 8 : 2;
        const std::size_t fieldSize = isLarge_ ? 20 : 12;
        const auto bytes = source_->read(offset, countSize + fieldSize * maxTagsRead);
        ByteReader reader{bytes, order_};
        const std::uint64_t count = std::min(isLarge_ ? reader.u64() : reader.u16(), maxTagsRead);
        std::vector<Field> fields;
        for (std::uint64_t i = 0; i < count; ++i) {
            const std::size_t at = reader.position();
            const Field field = readField(reader, offset + at);
            if (reader.failed())
                break;
            fields.push_back(field);
        }
        return fields;
    }

    std::string text(const Field& field, std::size_t maxBytes) const
    {
        return textAt(*source_, field.valuesOffset,
                      static_cast<std::size_t>(std::min<std::uint64_t>(field.count, maxBytes)));
    }

    std::vector<std::uint64_t> offsets(const Field& field) const
    {
        const std::size_t width = sizeOf(field.type) == 8 ? 8 : 4;
        const auto count = static_cast<std::size_t>(std::min<std::uint64_t>(field.count, maxSubdirectories));
        const auto bytes = source_->read(field.valuesOffset, count * width);
        ByteReader reader{bytes, order_};
        std::vector<std::uint64_t> found;
        for (std::size_t i = 0; i < count; ++i)
            found.push_back(width == 8 ? reader.u64() : reader.u32());
        return found;
    }

private:
    TiffFile(const ByteSource& source, ByteOrder order) : source_{&source}, order_{order} {}

    Field readField(ByteReader& reader, std::uint64_t offset) const
    {
        constexpr std::uint16_t typeShort = 3;
        const std::size_t inlineSize = isLarge_ ? 8 : 4;
        Field field{.tag = reader.u16(), .type = reader.u16()};
        field.count = isLarge_ ? reader.u64() : reader.u32();
        const std::size_t valueAt = reader.position();
        const std::uint64_t pointer = isLarge_ ? reader.u64() : reader.u32();
        const std::size_t end = reader.position();
        if (reader.failed())
            return field;
        reader.seek(valueAt);
        field.value = field.type == typeShort ? reader.u16() : pointer;
        reader.seek(end);
        const bool isInline = sizeOf(field.type) <= inlineSize && field.count <= inlineSize / sizeOf(field.type);
        field.valuesOffset = isInline ? offset + 4 + (isLarge_ ? 8 : 4) : pointer;
        return field;
    }

    static std::size_t sizeOf(std::uint16_t type)
    {
        constexpr std::size_t sizes[] = {1, 1, 1, 2, 4, 8, 1, 1, 2, 4, 8, 4, 8, 4, 1, 1, 8, 8, 8};
        return type < std::size(sizes) ? sizes[type] : 1;
    }

    const ByteSource* source_;
    ByteOrder order_;
    bool isLarge_ = false;
    std::uint64_t first_ = 0;
};

const Field* find(const std::vector<Field>& directory, Tag tag)
{
    const auto found = std::find_if(directory.begin(), directory.end(), [&](const Field& f) { return f.tag == tag; });
    return found == directory.end() ? nullptr : &*found;
}

bool holdsSensorData(const std::vector<Field>& directory)
{
    const Field* photometric = find(directory, photometricInterpretation);
    return photometric && photometric->value == colourFilterArray;
}

/// Sensor data stand in the first directory or in one below it; a picture that the same camera's software has developed
/// has none.
bool holdsSensorData(const TiffFile& file, const std::vector<Field>& first)
{
    if (holdsSensorData(first))
        return true;
    const Field* below = find(first, subdirectories);
    if (!below)
        return false;
    const auto offsets = file.offsets(*below);
    return std::any_of(offsets.begin(), offsets.end(),
                       [&](std::uint64_t offset) { return holdsSensorData(file.directoryAt(offset)); });
}

} // namespace

Finding tiff(const ByteSource& source, const SniffResult& sniff)
{
    using Candidates = std::vector<FormatID>;
    const auto file = TiffFile::open(source);
    if (!file || sniff.candidates.size() < 2)
        return {};
    const auto first = file->firstDirectory();
    if (first.empty())
        return {};
    if (find(first, dngVersion))
        return {.candidates = Candidates{"dng"}};
    const Field* maker = find(first, make);
    const std::string brand = maker ? file->text(*maker, 32) : "";
    if (maker && brand.empty()) // the name lies in a part that is missing
        return {};
    if (brand.starts_with("NIKON") && holdsSensorData(*file, first))
        return {.candidates = Candidates{"nef"}};
    if (brand.starts_with("SONY") && (find(first, dngPrivateData) || holdsSensorData(*file, first)))
        return {.candidates = Candidates{"arw"}};
    if (find(first, geoKeys))
        return {.candidates = Candidates{"geotiff"}};
    if (brand.starts_with("NIKON"))
        return {.candidates = Candidates{"tiff", "nef"}};
    if (brand.starts_with("SONY"))
        return {.candidates = Candidates{"tiff", "arw"}};
    return {.candidates = Candidates{"tiff"}};
}

} // namespace nivex::inspectors
