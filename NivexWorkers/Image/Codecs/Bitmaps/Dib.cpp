#include "NivexWorkers/Image/Codecs/Bitmaps/Dib.hpp"

#include "NivexWorkers/Image/Codecs/Codec.hpp"

#include "NivexKit/Foundation/Bytes/ByteReader.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"

#include <algorithm>
#include <bit>
#include <cstring>
#include <limits>
#include <optional>
#include <string>

namespace nivex::image {
namespace {

constexpr std::uint32_t coreHeader = 12;
constexpr std::uint32_t infoHeader = 40;
constexpr std::uint32_t headerWithMasks = 52;
constexpr std::uint32_t headerWithAlpha = 56;
constexpr std::uint32_t os2Header = 64;
constexpr std::uint32_t headerWithProfile = 124;

enum Compression : std::uint32_t {
    plain = 0,
    runLength8 = 1,
    runLength4 = 2,
    bitFields = 3,
    jpegInside = 4,
    pngInside = 5,
    alphaBitFields = 6,
};

ConversionError unsupportedKind() { return ConversionError::unsupported("cette variante du format BMP"_fr); }

/// The masks of pixels that have none of their own.
std::array<std::uint32_t, 4> usualMasks(int bitsPerPixel)
{
    if (bitsPerPixel == 16)
        return {0x7C00, 0x03E0, 0x001F, 0};
    return {0xFF0000, 0x00FF00, 0x0000FF, 0};
}

void enterPacking(Dib& dib, std::uint32_t compression, std::uint32_t headerSize)
{
    switch (compression) {
    case plain:
        break;
    case runLength8:
        dib.packing = Dib::Packing::runLength8;
        break;
    case runLength4:
        dib.packing = Dib::Packing::runLength4;
        break;
    case bitFields:
    case alphaBitFields:
        // The same number means a fax code in OS/2's header.
        if (headerSize == os2Header || (dib.bitsPerPixel != 16 && dib.bitsPerPixel != 32))
            throw unsupportedKind();
        break;
    case jpegInside:
    case pngInside:
        throw ConversionError::unsupported("les fichiers BMP qui contiennent une image JPEG ou PNG"_fr);
    default:
        throw unsupportedKind();
    }
    const int packedBits = dib.packing == Dib::Packing::runLength8 ? 8 : 4;
    if (dib.packing != Dib::Packing::none && dib.bitsPerPixel != packedBits)
        throw damaged("DIB header: run lengths do not go with the bits per pixel");
}

/// The fields from the compression on. `colours` becomes the number of palette entries, as far as it is told.
void readFurtherFields(Dib& dib, ByteReader& header, std::uint32_t headerSize, std::uint32_t& colours)
{
    const std::uint32_t compression = header.u32();
    enterPacking(dib, compression, headerSize);
    header.skip(4); // bytes of pixels: often wrong, and known anyway
    const auto dotsPerMetre = [&header] { return static_cast<std::int32_t>(header.u32()); };
    dib.horizontalDotsPerMillimetre = std::max(0, dotsPerMetre()) / 1000.0;
    dib.verticalDotsPerMillimetre = std::max(0, dotsPerMetre()) / 1000.0;
    colours = header.u32();
    header.skip(4); // important colours
    if (compression != bitFields && compression != alphaBitFields)
        return;
    const bool hasAlphaMask = headerSize >= headerWithAlpha || compression == alphaBitFields;
    for (std::size_t i = 0; i < (hasAlphaMask ? 4 : 3); ++i)
        dib.masks[i] = header.u32();
}

void readPalette(Dib& dib, const ByteSource& file, std::uint64_t begin, std::uint64_t pixels, std::uint32_t told,
                 std::uint32_t entryBytes)
{
    if (dib.bitsPerPixel > 8) {
        dib.end = begin + (told <= 256 ? std::uint64_t{told} * entryBytes : 0); // a hint for poor screens
        return;
    }
    const std::uint32_t most = 1U << dib.bitsPerPixel;
    const std::uint32_t stored = told == 0 ? most : told;
    dib.end = begin + std::uint64_t{stored} * entryBytes;
    std::uint64_t count = std::min(stored, most);
    if (pixels >= begin)
        count = std::min(count, (pixels - begin) / entryBytes);
    const auto entries = readExactly(file, begin, static_cast<std::size_t>(count * entryBytes));
    ByteReader reader{entries, damaged("DIB palette: too short")};
    dib.palette.resize(256); // an index without an entry is black
    for (std::size_t i = 0; i < count; ++i) {
        const auto colour = reader.bytes(3);
        dib.palette[i] = {colour[2], colour[1], colour[0]};
        reader.skip(entryBytes - 3);
    }
}

/// Decodes the rows of RLE4 or RLE8, in the order of the file.
class RunLengthRows {
public:
    /// Passes all rows once, to learn where each begins.
    RunLengthRows(SharedSource file, const Dib& dib, std::uint64_t pixels)
        : file_{std::move(file)}, width_{dib.width}, isFourBit_{dib.packing == Dib::Packing::runLength4}
    {
        ByteStream stream{*file_, pixels, file_->size()};
        for (RowStart next{.position = pixels}; next.row < static_cast<unsigned>(dib.height);) {
            starts_.push_back(next);
            if (!pass(stream, next, {}))
                break;
        }
        end_ = stream.position();
    }

    /// One index a pixel; where nothing stands, 0.
    void read(int row, std::span<std::byte> indices) const
    {
        std::ranges::fill(indices, std::byte{0});
        const auto wanted = static_cast<unsigned>(row);
        const auto found = std::ranges::lower_bound(starts_, wanted, {}, &RowStart::row);
        if (found == starts_.end() || found->row != wanted)
            return;
        RowStart start = *found;
        ByteStream stream{*file_, start.position, found + 1 == starts_.end() ? end_ : found[1].position};
        pass(stream, start, indices);
    }

private:
    /// Where the codes of a row begin. Rows that a delta or the end of the picture leaves out have none.
    struct RowStart {
        std::uint64_t position = 0;
        unsigned row = 0;
        int column = 0; // a delta may enter a row anywhere
    };

    /// Decodes one row, without `indices` only passes it, and goes to the start of the next one; false at the end of
    /// the picture.
    bool pass(ByteStream& stream, RowStart& at, std::span<std::byte> indices) const
    {
        std::int64_t column = at.column;
        const auto put = [&](unsigned index) {
            if (column < static_cast<std::int64_t>(indices.size()))
                indices[static_cast<std::size_t>(column)] = static_cast<std::byte>(index);
            ++column;
        };
        unsigned rowsDown = 1;
        at.column = 0;
        for (;;) {
            if (column >= width_ && stream.isAtEnd())
                break; // some writers leave out the end of the last row and of the picture
            const unsigned count = stream.u8();
            const unsigned value = stream.u8();
            if (count > 0) {
                if (indices.empty())
                    column += count;
                else
                    for (unsigned i = 0; i < count; ++i)
                        put(!isFourBit_ ? value : i % 2 == 0 ? value >> 4 : value & 15);
            } else if (value == endOfRow) {
                break;
            } else if (value == endOfPicture) {
                return false;
            } else if (value == delta) {
                column += stream.u8();
                if (rowsDown = stream.u8(); rowsDown > 0) {
                    at.column = static_cast<int>(std::min<std::int64_t>(column, width_));
                    break;
                }
                rowsDown = 1;
            } else {
                readLiterals(stream, value, put);
            }
        }
        at.position = stream.position();
        at.row += rowsDown;
        return true;
    }

    void readLiterals(ByteStream& stream, unsigned count, const auto& put) const
    {
        const unsigned bytes = isFourBit_ ? (count + 1) / 2 : count;
        for (unsigned i = 0; i < bytes; ++i) {
            const unsigned value = stream.u8();
            put(isFourBit_ ? value >> 4 : value);
            if (isFourBit_ && 2 * i + 1 < count)
                put(value & 15);
        }
        if (bytes % 2 != 0)
            stream.skip(1);
    }

    static constexpr unsigned endOfRow = 0;
    static constexpr unsigned endOfPicture = 1;
    static constexpr unsigned delta = 2;

    SharedSource file_;
    int width_;
    bool isFourBit_;
    std::vector<RowStart> starts_; // by row
    std::uint64_t end_ = 0;
};

/// A few bytes must not make a picture that takes seconds: two of them are a run of 255 pixels at the most, and a large
/// picture hardly any of which is stored is none.
void requirePlausiblePacking(const ByteSource& file, const Dib& dib, std::uint64_t pixels)
{
    constexpr std::int64_t quicklyMade = 16'000'000;
    constexpr std::int64_t mostPixelsOfAByte = 128;
    const auto stored = static_cast<std::int64_t>(file.size() - std::min(file.size(), pixels));
    const std::int64_t announced = std::int64_t{dib.width} * dib.height;
    if (announced > quicklyMade && announced / mostPixelsOfAByte > stored)
        throw damaged("DIB: more pixels than its data can hold");
}

bool isGreyPalette(const Dib& dib)
{
    return std::ranges::all_of(dib.palette,
                               [](const auto& colour) { return colour[0] == colour[1] && colour[1] == colour[2]; });
}

/// Where the rows of a picture that is not packed stand.
struct PlainRows {
    std::uint64_t begin = 0;
    std::uint64_t bytes = 0;
    int rows = 0;
    bool isTopDown = false;

    int storedRow(int y) const { return isTopDown ? y : rows - 1 - y; }
    std::uint64_t position(int y) const { return begin + bytes * static_cast<unsigned>(storedRow(y)); }
};

/// Of a row without its padding: the last row of a file may lack it.
std::size_t usedRowBytes(const Dib& dib)
{
    return static_cast<std::size_t>(
        (static_cast<std::uint64_t>(dib.width) * static_cast<unsigned>(dib.bitsPerPixel) + 7) / 8);
}

PlainRows plainRows(const ByteSource& file, const Dib& dib, std::uint64_t pixels)
{
    const PlainRows rows{.begin = pixels,
                         .bytes = dibRowBytes(dib.width, dib.bitsPerPixel),
                         .rows = dib.height,
                         .isTopDown = dib.isTopDown};
    const std::uint64_t needed = rows.bytes * static_cast<unsigned>(dib.height - 1) + usedRowBytes(dib);
    if (pixels > file.size() || file.size() - pixels < needed)
        throw damaged("DIB: fewer rows than the header announces");
    return rows;
}

void unpackIndices(std::span<const std::byte> packed, int bits, std::span<std::byte> indices)
{
    const std::size_t perByte = 8 / static_cast<std::size_t>(bits);
    const unsigned mask = (1U << bits) - 1;
    for (std::size_t x = 0; x < indices.size(); ++x) {
        const unsigned shift = 8 - static_cast<unsigned>(bits) * static_cast<unsigned>(x % perByte + 1);
        indices[x] = static_cast<std::byte>(std::to_integer<unsigned>(packed[x / perByte]) >> shift & mask);
    }
}

Bitmap paletteBitmap(const SharedSource& file, const Dib& dib, std::uint64_t pixels, Bitmap bitmap)
{
    std::function<void(int, std::span<std::byte>)> readIndices;
    if (dib.packing != Dib::Packing::none) {
        requirePlausiblePacking(*file, dib, pixels);
        auto rows = std::make_shared<RunLengthRows>(file, dib, pixels);
        readIndices = [rows, height = dib.height, isTopDown = dib.isTopDown](int y, std::span<std::byte> indices) {
            rows->read(isTopDown ? y : height - 1 - y, indices);
        };
    } else {
        readIndices = [file, rows = plainRows(*file, dib, pixels), packedBytes = usedRowBytes(dib),
                       bits = dib.bitsPerPixel](int y, std::span<std::byte> indices) {
            std::vector<std::byte> packed(packedBytes);
            readExactly(*file, rows.position(y), packed);
            unpackIndices(packed, bits, indices);
        };
    }
    bitmap.colors = isGreyPalette(dib) ? BitmapColors::grey : BitmapColors::rgb;
    bitmap.readRow = [readIndices, palette = dib.palette, isGrey = bitmap.colors == BitmapColors::grey,
                      width = static_cast<std::size_t>(dib.width)](int y, std::span<std::byte> row) {
        std::vector<std::byte> indices(width);
        readIndices(y, indices);
        for (std::size_t x = 0; x < width; ++x) {
            const auto& colour = palette[std::to_integer<std::size_t>(indices[x])];
            if (isGrey)
                row[x] = colour[0];
            else
                std::memcpy(row.data() + 3 * x, colour.data(), 3);
        }
    };
    return bitmap;
}

/// Takes one component out of a pixel, brought to 8 or 16 bits.
class Component {
public:
    Component(std::uint32_t mask, int targetBits)
    {
        if (mask == 0)
            return;
        shift_ = std::countr_zero(mask);
        mask_ = mask >> shift_;
        if (const int width = static_cast<int>(std::bit_width(mask_)); width > 16) {
            shift_ += width - 16;
            mask_ >>= width - 16;
        }
        scaled_.resize(mask_ + 1);
        for (std::uint32_t value = 0; value <= mask_; ++value)
            scaled_[value] =
                static_cast<std::uint16_t>(widened(value, static_cast<int>(std::bit_width(mask_)), targetBits));
    }

    unsigned of(std::uint32_t pixel) const { return scaled_[pixel >> shift_ & mask_]; }

private:
    int shift_ = 0;
    std::uint32_t mask_ = 0;
    std::vector<std::uint16_t> scaled_{0};
};

std::uint32_t littleEndianPixel(const std::byte* from, std::size_t bytes)
{
    std::uint32_t pixel = 0;
    for (std::size_t i = 0; i < bytes; ++i)
        pixel |= std::to_integer<std::uint32_t>(from[i]) << 8 * i;
    return pixel;
}

bool hasAnyAlpha(const ByteSource& file, const Dib& dib, const PlainRows& rows)
{
    const std::size_t pixelBytes = static_cast<std::size_t>(dib.bitsPerPixel) / 8;
    std::vector<std::byte> packed(usedRowBytes(dib));
    for (int y = 0; y < dib.height; ++y) {
        readExactly(file, rows.position(y), packed);
        for (std::size_t at = 0; at < packed.size(); at += pixelBytes)
            if ((littleEndianPixel(packed.data() + at, pixelBytes) & dib.masks[3]) != 0)
                return true;
    }
    return false;
}

Bitmap directBitmap(const SharedSource& file, const Dib& dib, std::uint64_t pixels, Bitmap bitmap)
{
    const PlainRows rows = plainRows(*file, dib, pixels);
    bitmap.hasAlpha = dib.masks[3] != 0 && hasAnyAlpha(*file, dib, rows);
    const auto isDeep = [](std::uint32_t mask) {
        return mask != 0 && std::bit_width(mask >> std::countr_zero(mask)) > 8;
    };
    bitmap.bits = std::ranges::any_of(dib.masks, isDeep) ? 16 : 8;
    std::vector<Component> components;
    for (int i = 0; i < bitmap.bands(); ++i)
        components.emplace_back(dib.masks[static_cast<std::size_t>(i)], bitmap.bits);
    bitmap.readRow = [file, rows, components, packedBytes = usedRowBytes(dib), isDeepPixel = bitmap.bits == 16,
                      pixelBytes = static_cast<std::size_t>(dib.bitsPerPixel) / 8](int y, std::span<std::byte> row) {
        std::vector<std::byte> packed(packedBytes);
        readExactly(*file, rows.position(y), packed);
        std::byte* to = row.data();
        for (std::size_t at = 0; at < packedBytes; at += pixelBytes) {
            const std::uint32_t pixel = littleEndianPixel(packed.data() + at, pixelBytes);
            for (const Component& component : components) {
                if (isDeepPixel) {
                    putSixteen(to, component.of(pixel));
                    to += 2;
                } else {
                    *to++ = static_cast<std::byte>(component.of(pixel));
                }
            }
        }
    };
    return bitmap;
}

} // namespace

Dib readDib(const ByteSource& file, std::uint64_t offset, std::uint64_t pixels)
{
    const auto bytes = file.read(offset, headerWithProfile + 16);
    ByteReader header{bytes, damaged("DIB header: too short")};
    const std::uint32_t headerSize = header.u32();
    Dib dib;
    std::int64_t width = 0;
    std::int64_t height = 0;
    const bool isCore = headerSize == coreHeader;
    if (isCore) {
        width = header.u16();
        height = header.u16();
    } else if (headerSize >= 16 && headerSize <= 256) {
        width = static_cast<std::int32_t>(header.u32());
        height = static_cast<std::int32_t>(header.u32());
    } else {
        throw damaged("DIB header: size " + std::to_string(headerSize));
    }
    header.skip(2); // planes
    dib.bitsPerPixel = header.u16();
    constexpr int depths[] = {1, 2, 4, 8, 16, 24, 32};
    constexpr std::int64_t longest = std::numeric_limits<std::int32_t>::max();
    dib.isTopDown = height < 0;
    height = height < 0 ? -height : height;
    if (width < 1 || height < 1 || height > longest)
        throw damaged("DIB header: width or height");
    dib.width = static_cast<int>(width);
    dib.height = static_cast<int>(height);

    dib.masks = dib.bitsPerPixel > 8 ? usualMasks(dib.bitsPerPixel) : std::array<std::uint32_t, 4>{};
    std::uint32_t colours = 0;
    std::uint64_t paletteBegin = offset + headerSize;
    if (headerSize >= infoHeader) {
        readFurtherFields(dib, header, headerSize, colours);
        if (headerSize < headerWithMasks) // masks stand behind the header
            paletteBegin = offset + std::max<std::uint64_t>(headerSize, header.position());
    }
    if (std::ranges::find(depths, dib.bitsPerPixel) == std::end(depths))
        throw damaged("DIB header: bits per pixel");
    if (headerSize == headerWithProfile) {
        constexpr std::uint32_t embedded = 0x4D424544; // 'MBED'
        header.seek(56);
        const bool isEmbedded = header.u32() == embedded;
        header.seek(112);
        const std::uint32_t profileOffset = header.u32();
        const std::uint32_t profileSize = header.u32();
        if (isEmbedded && profileOffset >= headerWithProfile) {
            dib.profileBegin = offset + profileOffset;
            dib.profileSize = profileSize;
        }
    }
    readPalette(dib, file, paletteBegin, pixels, colours, isCore ? 3 : 4);
    return dib;
}

Bitmap dibBitmap(const SharedSource& file, const Dib& dib, std::uint64_t pixels)
{
    Bitmap bitmap{.width = dib.width,
                  .height = dib.height,
                  .horizontalDotsPerMillimetre = dib.horizontalDotsPerMillimetre,
                  .verticalDotsPerMillimetre = dib.verticalDotsPerMillimetre};
    return dib.bitsPerPixel <= 8 ? paletteBitmap(file, dib, pixels, std::move(bitmap))
                                 : directBitmap(file, dib, pixels, std::move(bitmap));
}

} // namespace nivex::image
