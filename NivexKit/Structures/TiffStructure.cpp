#include "NivexKit/Structures/TiffStructure.hpp"

#include <algorithm>
#include <array>
#include <iterator>
#include <limits>

namespace nivex {
namespace {

// As many as a directory of TIFF can count; the bound on what a hostile count of BigTIFF can cost.
constexpr std::uint64_t maxFields = 65'535;

bool isWholeNumber(std::uint16_t type)
{
    constexpr std::uint16_t types[] = {1, 3, 4, 13, 16, 18}; // unsigned numbers and offsets
    return std::find(std::begin(types), std::end(types), type) != std::end(types);
}

/// A whole number of so many bytes.
std::uint64_t wholeNumber(ByteReader& reader, std::size_t size)
{
    return size == 1 ? reader.u8() : size == 2 ? reader.u16() : size == 4 ? reader.u32() : reader.u64();
}

} // namespace

std::size_t tiffValueSize(std::uint16_t type)
{
    constexpr std::size_t sizes[] = {0, 1, 1, 2, 4, 8, 1, 1, 2, 4, 8, 4, 8, 4, 0, 0, 8, 8, 8};
    return type < std::size(sizes) ? sizes[type] : 0;
}

const TiffField* TiffDirectory::field(std::uint16_t tag) const
{
    const auto found =
        std::find_if(fields.begin(), fields.end(), [tag](const TiffField& each) { return each.tag == tag; });
    return found == fields.end() ? nullptr : &*found;
}

std::optional<TiffStructure> TiffStructure::at(const ByteSource& file, std::uint64_t base)
{
    std::array<std::byte, 16> bytes;
    ByteReader header{std::span{bytes}.first(file.read(base, bytes))};
    const std::uint16_t mark = header.u16();
    if (mark != 0x4949 && mark != 0x4D4D)
        return std::nullopt;
    header.setOrder(mark == 0x4949 ? ByteOrder::little : ByteOrder::big);
    const std::uint16_t version = header.u16();
    constexpr std::uint16_t versions[] = {42, 43, 0x55, 0x4F52, 0x5352}; // TIFF, BigTIFF, Panasonic, Olympus twice
    if (std::find(std::begin(versions), std::end(versions), version) == std::end(versions))
        return std::nullopt;
    TiffStructure structure{file, base, header.order(), version};
    if (structure.isBig_)
        header.skip(4); // the size of an offset, 8, and padding
    structure.first_ = structure.offset(header);
    if (header.failed())
        return std::nullopt;
    return structure;
}

std::optional<TiffDirectory> TiffStructure::directory(std::uint64_t offset) const
{
    if (offset == 0 || offset > file_->size())
        return std::nullopt;
    const std::uint64_t start = base_ + offset;
    const std::size_t countSize = isBig_ ? 8 : 2;
    const std::size_t fieldSize = isBig_ ? 20 : 12;
    const std::size_t inlineSize = isBig_ ? 8 : 4;

    std::array<std::byte, 8> countBytes;
    ByteReader counted{std::span{countBytes}.first(file_->read(start, std::span{countBytes}.first(countSize))), order_};
    const std::uint64_t count = isBig_ ? counted.u64() : counted.u16();
    if (counted.failed() || count == 0 || count > maxFields)
        return std::nullopt;
    const auto bytes = file_->read(start + countSize, static_cast<std::size_t>(count) * fieldSize + inlineSize);
    ByteReader reader{bytes, order_};
    TiffDirectory directory;
    directory.fields.reserve(static_cast<std::size_t>(count));
    for (std::uint64_t i = 0; i < count; ++i) {
        TiffField field{.entry = start + countSize + reader.position(), .tag = reader.u16(), .type = reader.u16()};
        field.count = this->offset(reader);
        const std::uint64_t valuePosition = start + countSize + reader.position();
        const std::uint64_t valueOffset = this->offset(reader);
        if (reader.failed()) {
            directory.isWhole = false; // the fields so far are good
            break;
        }
        const std::size_t size = tiffValueSize(field.type);
        field.isInline = size == 0 || field.count <= inlineSize / size;
        field.position = field.isInline ? valuePosition : base_ + std::min(valueOffset, file_->size());
        directory.fields.push_back(field);
    }
    // Where the directory is cut or ends the file there is no next one.
    directory.next = this->offset(reader);
    if (std::ranges::none_of(directory.fields, tiffValueSize, &TiffField::type))
        return std::nullopt;
    return directory;
}

std::optional<std::uint64_t> TiffStructure::number(const TiffField* field, std::uint64_t index) const
{
    if (!field || index >= field->count || !isWholeNumber(field->type))
        return std::nullopt;
    const std::size_t size = tiffValueSize(field->type);
    if (index > std::numeric_limits<std::uint32_t>::max())
        return std::nullopt;
    std::array<std::byte, 8> bytes;
    const auto stored = std::span{bytes}.first(size);
    ByteReader reader{stored.first(file_->read(field->position + index * size, stored)), order_};
    const std::uint64_t number = wholeNumber(reader, size);
    if (reader.failed())
        return std::nullopt;
    return number;
}

std::optional<std::vector<std::uint64_t>> TiffStructure::numbers(const TiffField& field, std::uint64_t most) const
{
    if (field.count > most || !isWholeNumber(field.type))
        return std::nullopt;
    const std::size_t size = tiffValueSize(field.type);
    const auto bytes = file_->read(field.position, static_cast<std::size_t>(field.count) * size);
    ByteReader reader{bytes, order_};
    std::vector<std::uint64_t> numbers;
    for (std::uint64_t i = 0; i < field.count; ++i)
        numbers.push_back(wholeNumber(reader, size));
    if (reader.failed())
        return std::nullopt;
    return numbers;
}

std::vector<std::byte> TiffStructure::bytes(const TiffField& field, std::size_t maxBytes) const
{
    if (tiffValueSize(field.type) == 0)
        return {};
    return file_->read(field.position, static_cast<std::size_t>(std::min<std::uint64_t>(field.count, maxBytes)));
}

} // namespace nivex
