// Targa pictures. Source: "Truevision TGA File Format", version 2.0.
#include "NivexWorkers/Image/Codecs/Bitmaps/Bitmap.hpp"
#include "NivexWorkers/Image/Codecs/Codec.hpp"

#include "NivexKit/Foundation/Bytes/ByteReader.hpp"

#include <algorithm>
#include <array>
#include <optional>

namespace nivex::image {
namespace {

enum class Kind { indexed = 1, colour = 2, grey = 3 };

/// What the extension area says about the alpha of the pixels.
enum class Attribute : std::uint8_t { none = 0, ignored = 1, undefined = 2, alpha = 3, premultiplied = 4 };

struct TgaLayout {
    Kind kind = Kind::colour;
    bool isPacked = false;
    int width = 0;
    int height = 0;
    int bitsPerPixel = 0;
    int alphaBits = 0;
    bool isRightToLeft = false;
    bool isTopDown = false;
    std::size_t pixelBytes = 0;
    std::uint64_t pixels = 0; // where they begin
    int paletteBits = 0;
    unsigned paletteFirst = 0;
    std::vector<std::byte> palette;
};

/// The bits of one pixel or palette entry that carry colour.
int colourBits(const TgaLayout& layout)
{
    return layout.kind == Kind::indexed ? layout.paletteBits : layout.bitsPerPixel;
}

bool isOneOf(int value, std::initializer_list<int> values) { return std::ranges::find(values, value) != values.end(); }

TgaLayout readLayout(const ByteSource& file)
{
    constexpr std::size_t headerBytes = 18;
    const auto bytes = file.read(0, headerBytes);
    ByteReader header{bytes, damaged("TGA header: too short")};
    const unsigned identificationBytes = header.u8();
    const bool hasPalette = header.u8() != 0;
    const unsigned type = header.u8();
    TgaLayout layout;
    layout.paletteFirst = header.u16();
    const unsigned paletteLength = header.u16();
    layout.paletteBits = header.u8();
    header.skip(4); // where on a screen the picture belonged
    layout.width = header.u16();
    layout.height = header.u16();
    layout.bitsPerPixel = header.u8();
    const unsigned descriptor = header.u8();

    constexpr unsigned packedFlag = 8;
    constexpr unsigned rightToLeft = 0x10;
    constexpr unsigned topDown = 0x20;
    constexpr unsigned interleaving = 0xC0;
    layout.isPacked = (type & packedFlag) != 0;
    layout.kind = static_cast<Kind>(type & ~packedFlag);
    layout.alphaBits = static_cast<int>(descriptor & 0x0F);
    layout.isRightToLeft = (descriptor & rightToLeft) != 0;
    layout.isTopDown = (descriptor & topDown) != 0;
    layout.pixelBytes = static_cast<std::size_t>(layout.bitsPerPixel + 7) / 8;

    const std::size_t entryBytes = static_cast<std::size_t>(layout.paletteBits + 7) / 8;
    const std::uint64_t palette = headerBytes + identificationBytes;
    const std::uint64_t paletteBytes = hasPalette ? paletteLength * std::uint64_t{entryBytes} : 0;
    layout.pixels = palette + paletteBytes;
    const bool isSound = layout.kind == Kind::indexed  ? isOneOf(layout.bitsPerPixel, {8, 15, 16}) && hasPalette
                         : layout.kind == Kind::colour ? isOneOf(layout.bitsPerPixel, {15, 16, 24, 32})
                         : layout.kind == Kind::grey   ? isOneOf(layout.bitsPerPixel, {8, 16})
                                                       : false;
    if (!isSound || (descriptor & interleaving) != 0)
        throw damaged("TGA header: kind and bits per pixel");
    if (layout.kind == Kind::indexed) {
        if (!isOneOf(layout.paletteBits, {15, 16, 24, 32}))
            throw damaged("TGA header: bits per palette entry");
        layout.palette = readExactly(file, palette, static_cast<std::size_t>(paletteBytes));
    }
    return layout;
}

/// What the file of version 2 says in its extension area; none where it has no such area.
std::optional<Attribute> attributeType(const ByteSource& file)
{
    constexpr std::size_t footerBytes = 26;
    constexpr std::uint64_t attributeOffset = 494;
    if (file.size() < footerBytes)
        return std::nullopt;
    const auto bytes = file.read(file.size() - footerBytes, footerBytes);
    ByteReader footer{bytes};
    const std::uint32_t extension = footer.u32();
    footer.skip(4); // the developer's directory
    if (footer.text(16) != "TRUEVISION-XFILE" || extension == 0)
        return std::nullopt;
    const auto attribute = file.read(extension + attributeOffset, 1);
    if (attribute.empty() || std::to_integer<unsigned>(attribute[0]) > 4)
        return std::nullopt;
    return static_cast<Attribute>(attribute[0]);
}

/// Red, green, blue and alpha of one pixel or palette entry.
std::array<std::byte, 4> colourOf(const std::byte* from, int bits)
{
    if (bits >= 24)
        return {from[2], from[1], from[0], bits == 32 ? from[3] : std::byte{0xFF}};
    const unsigned packed = std::to_integer<unsigned>(from[0]) | std::to_integer<unsigned>(from[1]) << 8;
    const auto five = [packed](int shift) { return static_cast<std::byte>(widened(packed >> shift & 31, 5, 8)); };
    return {five(10), five(5), five(0), (packed & 0x8000) != 0 ? std::byte{0xFF} : std::byte{0}};
}

/// Yields the stored bytes of any row, the first being the first in the file.
class StoredRows {
public:
    StoredRows(SharedSource file, const TgaLayout& layout)
        : file_{std::move(file)}, pixels_{layout.pixels},
          pixelBytes_{layout.pixelBytes}, width_{static_cast<std::size_t>(layout.width)}, isPacked_{layout.isPacked}
    {
        const std::uint64_t needed = std::uint64_t{width_} * pixelBytes_ * static_cast<unsigned>(layout.height);
        if (!isPacked_) {
            if (pixels_ > file_->size() || file_->size() - pixels_ < needed)
                throw damaged("TGA: fewer rows than the header announces");
            return;
        }
        ByteStream stream{*file_, pixels_, file_->size()};
        Packet packet;
        starts_.reserve(static_cast<std::size_t>(layout.height) + 1);
        for (int row = 0; row < layout.height; ++row) {
            starts_.push_back({stream.position(), packet});
            unpack(stream, packet, {});
        }
        starts_.push_back({stream.position(), packet});
    }

    std::size_t rowBytes() const { return width_ * pixelBytes_; }

    void read(int row, std::span<std::byte> bytes) const
    {
        if (!isPacked_)
            return readExactly(*file_, pixels_ + std::uint64_t{rowBytes()} * static_cast<unsigned>(row), bytes);
        const Start& start = starts_[static_cast<std::size_t>(row)];
        ByteStream stream{*file_, start.position, starts_[static_cast<std::size_t>(row) + 1].position};
        Packet packet = start.packet;
        unpack(stream, packet, bytes);
    }

private:
    /// The packet that the decoder is in: those of old writers go on into the next row.
    struct Packet {
        std::size_t left = 0; // pixels
        bool isRun = false;
        std::array<std::byte, 4> value{}; // of a run
    };
    struct Start {
        std::uint64_t position;
        Packet packet;
    };

    /// Decodes one row; without `bytes` only passes it.
    void unpack(ByteStream& stream, Packet& packet, std::span<std::byte> bytes) const
    {
        std::size_t done = 0;
        while (done < width_) {
            if (packet.left == 0) {
                const unsigned head = stream.u8();
                packet.left = (head & 0x7F) + 1;
                packet.isRun = (head & 0x80) != 0;
                if (packet.isRun)
                    stream.read(std::span{packet.value}.first(pixelBytes_));
            }
            const std::size_t count = std::min(packet.left, width_ - done);
            if (bytes.empty()) {
                if (!packet.isRun)
                    stream.skip(count * pixelBytes_);
            } else if (packet.isRun) {
                for (std::size_t i = 0; i < count; ++i)
                    std::memcpy(bytes.data() + (done + i) * pixelBytes_, packet.value.data(), pixelBytes_);
            } else {
                stream.read(bytes.subspan(done * pixelBytes_, count * pixelBytes_));
            }
            done += count;
            packet.left -= count;
        }
    }

    SharedSource file_;
    std::uint64_t pixels_;
    std::size_t pixelBytes_;
    std::size_t width_;
    bool isPacked_;
    std::vector<Start> starts_; // of each row of a packed picture, and the end
};

/// Brings stored pixels into the order of a bitmap.
struct Unpacking {
    TgaLayout layout;
    bool isGrey = false;
    bool hasAlpha = false;
    bool isPremultiplied = false;

    std::array<std::byte, 4> colour(const std::byte* stored) const
    {
        if (layout.kind == Kind::grey)
            return {stored[0], stored[0], stored[0], layout.pixelBytes == 2 ? stored[1] : std::byte{0xFF}};
        if (layout.kind == Kind::colour)
            return colourOf(stored, layout.bitsPerPixel);
        unsigned index = std::to_integer<unsigned>(stored[0]);
        if (layout.pixelBytes == 2)
            index |= std::to_integer<unsigned>(stored[1]) << 8;
        const std::size_t entryBytes = static_cast<std::size_t>(layout.paletteBits + 7) / 8;
        const std::size_t count = layout.palette.size() / entryBytes;
        if (index < layout.paletteFirst || index - layout.paletteFirst >= count)
            return {std::byte{0}, std::byte{0}, std::byte{0}, std::byte{0xFF}};
        return colourOf(layout.palette.data() + (index - layout.paletteFirst) * entryBytes, layout.paletteBits);
    }

    void row(std::span<const std::byte> stored, std::span<std::byte> to) const
    {
        const auto width = static_cast<std::size_t>(layout.width);
        const std::size_t colours = isGrey ? 1 : 3;
        const std::size_t bands = colours + (hasAlpha ? 1 : 0);
        for (std::size_t x = 0; x < width; ++x) {
            const std::size_t at = layout.isRightToLeft ? width - 1 - x : x;
            std::array<std::byte, 4> pixel = colour(stored.data() + x * layout.pixelBytes);
            if (isPremultiplied)
                pixel = divided(pixel);
            std::copy_n(pixel.begin(), colours, to.begin() + static_cast<std::ptrdiff_t>(at * bands));
            if (hasAlpha)
                to[at * bands + colours] = pixel[3];
        }
    }

private:
    static std::array<std::byte, 4> divided(std::array<std::byte, 4> pixel)
    {
        const unsigned alpha = std::to_integer<unsigned>(pixel[3]);
        for (std::size_t i = 0; alpha > 0 && i < 3; ++i)
            pixel[i] =
                static_cast<std::byte>(std::min(255U, (std::to_integer<unsigned>(pixel[i]) * 255 + alpha / 2) / alpha));
        return pixel;
    }
};

bool hasGreyPalette(const Unpacking& unpacking)
{
    const TgaLayout& layout = unpacking.layout;
    if (layout.kind != Kind::indexed)
        return false;
    const std::size_t entryBytes = static_cast<std::size_t>(layout.paletteBits + 7) / 8;
    for (std::size_t at = 0; at + entryBytes <= layout.palette.size(); at += entryBytes) {
        const auto colour = colourOf(layout.palette.data() + at, layout.paletteBits);
        if (colour[0] != colour[1] || colour[1] != colour[2])
            return false;
    }
    return true;
}

/// Whether any pixel is not wholly transparent.
bool hasAnyAlpha(const StoredRows& rows, const Unpacking& unpacking)
{
    std::vector<std::byte> stored(rows.rowBytes());
    for (int row = 0; row < unpacking.layout.height; ++row) {
        rows.read(row, stored);
        for (std::size_t at = 0; at < stored.size(); at += unpacking.layout.pixelBytes)
            if (unpacking.colour(stored.data() + at)[3] != std::byte{0})
                return true;
    }
    return false;
}

bool canHaveAlpha(const TgaLayout& layout)
{
    const int bits = colourBits(layout);
    return layout.kind == Kind::grey ? bits == 16 : bits == 32 || bits == 16;
}

} // namespace

Bitmap openTga(const SharedSource& file, const ResourceLimits& limits)
{
    Unpacking unpacking{.layout = readLayout(*file)};
    const TgaLayout& layout = unpacking.layout;
    requireAcceptableSize(layout.width, layout.height, 1, limits);
    const auto rows = std::make_shared<StoredRows>(file, layout);
    unpacking.isGrey = layout.kind == Kind::grey || hasGreyPalette(unpacking);
    if (canHaveAlpha(layout)) {
        const auto attribute = attributeType(*file);
        unpacking.isPremultiplied = attribute == Attribute::premultiplied;
        // Without the extension area some writers count bits in which they store nothing, and many store alpha in 32
        // bits without counting it.
        const bool isAlphaLikely = layout.alphaBits > 0 || colourBits(layout) == 32;
        unpacking.hasAlpha = attribute ? attribute == Attribute::alpha || unpacking.isPremultiplied
                                       : isAlphaLikely && hasAnyAlpha(*rows, unpacking);
    }

    Bitmap bitmap{.width = layout.width,
                  .height = layout.height,
                  .colors = unpacking.isGrey ? BitmapColors::grey : BitmapColors::rgb,
                  .hasAlpha = unpacking.hasAlpha};
    bitmap.readRow = [rows, unpacking](int y, std::span<std::byte> row) {
        std::vector<std::byte> stored(rows->rowBytes());
        rows->read(unpacking.layout.isTopDown ? y : unpacking.layout.height - 1 - y, stored);
        unpacking.row(stored, row);
    };
    return bitmap;
}

} // namespace nivex::image
