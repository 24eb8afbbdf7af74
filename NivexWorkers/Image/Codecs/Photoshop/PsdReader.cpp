// Photoshop documents: the merged picture of PSD and PSB files. Source: "Adobe Photoshop File Formats", November 2019.
#include "NivexWorkers/Image/Codecs/Bitmaps/Bitmap.hpp"
#include "NivexWorkers/Image/Codecs/Codec.hpp"

#include "NivexKit/Foundation/Bytes/ByteReader.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"
#include "NivexKit/Structures/PhotoshopDocument.hpp"
#include "NivexKit/Structures/PhotoshopResources.hpp"

#include <zlib.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <limits>
#include <memory>
#include <new>
#include <optional>
#include <string>

namespace nivex::image {
namespace {

enum class Mode : std::uint16_t { bitmap = 0, grey = 1, indexed = 2, rgb = 3, cmyk = 4, duotone = 8, lab = 9 };

enum class Packing : std::uint16_t { none = 0, runLengths = 1, deflate = 2, deflatedDifferences = 3 };

struct Document {
    bool isBig = false; // PSB: wider lengths
    int channels = 0;
    int width = 0;
    int height = 0;
    int depth = 0;
    Mode mode = Mode::rgb;
    std::vector<std::byte> palette; // of an indexed picture: 256 reds, greens, blues
    std::vector<std::byte> profile;
    double horizontalDotsPerMillimetre = 0;
    double verticalDotsPerMillimetre = 0;
    std::optional<std::uint16_t> transparentIndex;
    bool hasLayers = false;
    bool hasMergedPicture = true;
    bool namesTransparency = false; // the first alpha channel is called so
    bool layersLeaveHoles = false;  // the first alpha channel is what the layers leave transparent
    std::uint64_t pixels = 0;       // where the merged picture begins

    std::size_t planeRowBytes() const
    {
        return (static_cast<std::size_t>(width) * static_cast<std::size_t>(depth) + 7) / 8;
    }
    int colourChannels() const { return mode == Mode::rgb || mode == Mode::lab ? 3 : mode == Mode::cmyk ? 4 : 1; }
    bool hasAlphaChannel() const
    {
        return channels > colourChannels() && (namesTransparency || layersLeaveHoles) && mode != Mode::indexed;
    }
    int usedChannels() const { return colourChannels() + (hasAlphaChannel() ? 1 : 0); }
};

Document readHeader(const ByteSource& file)
{
    constexpr std::size_t headerBytes = 26;
    const auto bytes = file.read(0, headerBytes);
    ByteReader header{bytes, damaged("PSD header: too short"), ByteOrder::big};
    if (header.text(4) != "8BPS")
        throw damaged("PSD header: no 8BPS");
    const unsigned version = header.u16();
    header.skip(6);
    Document document{.isBig = version == 2, .channels = header.u16()};
    const std::uint32_t height = header.u32();
    const std::uint32_t width = header.u32();
    document.depth = header.u16();
    const unsigned mode = header.u16();
    document.mode = static_cast<Mode>(mode);
    constexpr std::uint32_t longest = 300'000;
    constexpr int mostChannels = 57; // 56 are documented; 53 alpha channels beside colour and transparency exist
    if (version < 1 || version > 2 || width < 1 || height < 1 || width > longest || height > longest ||
        document.channels > mostChannels)
        throw damaged("PSD header: version, size or channels");
    document.width = static_cast<int>(width);
    document.height = static_cast<int>(height);
    constexpr unsigned multichannel = 7;
    if (mode == multichannel)
        throw ConversionError::unsupported("les images multicanal"_fr);
    const bool isSoundMode = mode <= 4 || document.mode == Mode::duotone || document.mode == Mode::lab;
    const bool isSoundDepth = document.mode == Mode::bitmap    ? document.depth == 1
                              : document.mode == Mode::indexed ? document.depth == 8
                              : document.mode == Mode::rgb || document.mode == Mode::grey
                                  ? document.depth == 8 || document.depth == 16 || document.depth == 32
                                  : document.depth == 8 || document.depth == 16;
    if (!isSoundMode || !isSoundDepth || document.channels < document.colourChannels())
        throw damaged("PSD header: colour mode, depth and channels do not go together");
    return document;
}

void readResource(Document& document, std::uint16_t identifier, std::span<const std::byte> contents)
{
    ByteReader reader{contents, ByteOrder::big};
    switch (identifier) {
    case photoshop::resolution: {
        constexpr double perInch = 65'536 * 25.4; // 16.16 fixed point
        document.horizontalDotsPerMillimetre = reader.u32() / perInch;
        reader.skip(4); // the units in which it is shown
        document.verticalDotsPerMillimetre = reader.u32() / perInch;
        break;
    }
    case photoshop::alphaNames:
        document.namesTransparency = reader.text(reader.u8()) == "Transparency";
        break;
    case photoshop::profile:
        document.profile.assign(contents.begin(), contents.end());
        break;
    case photoshop::transparentIndex:
        document.transparentIndex = reader.u16();
        break;
    case photoshop::version:
        reader.skip(4);
        document.hasMergedPicture = reader.u8() != 0;
        break;
    default:
        break;
    }
}

Document readDocument(const ByteSource& file)
{
    Document document = readHeader(file);
    const auto parts = PhotoshopDocument::of(file);
    const auto layers = parts ? photoshopLayers(file, *parts) : std::nullopt;
    if (!layers)
        throw damaged("PSD sections: one is larger than the file");
    if (document.mode == Mode::indexed) {
        constexpr std::size_t paletteBytes = 3 * 256;
        if (parts->modeData.size() < paletteBytes)
            throw damaged("PSD palette: too short");
        document.palette = readExactly(file, parts->modeData.begin, paletteBytes);
    }
    const auto blocks = readExactly(file, parts->resources.begin, static_cast<std::size_t>(parts->resources.size()));
    forEachResource(blocks, [&](std::uint16_t identifier, std::span<const std::byte> contents) {
        readResource(document, identifier, contents);
    });
    document.hasLayers = layers->areThere;
    document.layersLeaveHoles = layers->leaveHoles;
    document.pixels = parts->pixels();
    if (document.hasLayers && !document.hasMergedPicture)
        throw ConversionError::unsupported(
            "les documents enregistrés sans image aplatie (compatibilité maximale désactivée)"_fr);
    return document;
}

/// The rows of each channel of the merged picture, as they are stored once unpacked: big-endian.
class Planes {
public:
    virtual ~Planes() = default;
    virtual void read(int channel, int y, std::span<std::byte> row) const = 0;
};

class PlainPlanes final : public Planes {
public:
    PlainPlanes(SharedSource file, const Document& document, std::uint64_t begin)
        : file_{std::move(file)}, begin_{begin}, rowBytes_{document.planeRowBytes()}, height_{
                                                                                          static_cast<std::uint64_t>(
                                                                                              document.height)}
    {
        const std::uint64_t needed = height_ * rowBytes_ * static_cast<unsigned>(document.usedChannels());
        if (begin_ > file_->size() || file_->size() - begin_ < needed)
            throw damaged("PSD pixels: fewer than the header announces");
    }

    void read(int channel, int y, std::span<std::byte> row) const override
    {
        const std::uint64_t number = height_ * static_cast<unsigned>(channel) + static_cast<unsigned>(y);
        readExactly(*file_, begin_ + number * rowBytes_, row);
    }

private:
    SharedSource file_;
    std::uint64_t begin_;
    std::uint64_t rowBytes_;
    std::uint64_t height_;
};

/// PackBits, row by row, behind a table of the packed rows' lengths.
class RunLengthPlanes final : public Planes {
public:
    RunLengthPlanes(SharedSource file, const Document& document, std::uint64_t begin)
        : file_{std::move(file)}, height_{static_cast<std::size_t>(document.height)}
    {
        const std::uint64_t rows = std::uint64_t{height_} * static_cast<unsigned>(document.channels);
        const std::size_t lengthBytes = document.isBig ? 4 : 2;
        if (begin > file_->size() || (file_->size() - begin) / lengthBytes < rows)
            throw damaged("PSD run lengths: their table is cut");
        std::uint64_t offset = begin + rows * lengthBytes;
        ByteStream table{*file_, begin, offset};
        const std::size_t used = height_ * static_cast<std::size_t>(document.usedChannels());
        begins_.reserve(used + 1);
        begins_.push_back(offset);
        for (std::size_t i = 0; i < used; ++i) {
            std::uint64_t length = 0;
            for (std::size_t digit = 0; digit < lengthBytes; ++digit)
                length = length << 8 | table.u8();
            offset += length;
            begins_.push_back(offset);
        }
        if (offset > file_->size())
            throw damaged("PSD run lengths: more than the file holds");
    }

    void read(int channel, int y, std::span<std::byte> row) const override
    {
        const std::size_t number = height_ * static_cast<std::size_t>(channel) + static_cast<std::size_t>(y);
        ByteStream stream{*file_, begins_[number], begins_[number + 1]};
        for (std::size_t at = 0; at < row.size();) {
            const int head = static_cast<std::int8_t>(stream.u8());
            constexpr int nothing = -128;
            if (head == nothing)
                continue;
            const std::size_t count =
                std::min(row.size() - at, static_cast<std::size_t>(head >= 0 ? head + 1 : 1 - head));
            if (head >= 0)
                stream.read(row.subspan(at, count));
            else
                std::fill_n(row.begin() + static_cast<std::ptrdiff_t>(at), count, static_cast<std::byte>(stream.u8()));
            at += count;
        }
    }

private:
    SharedSource file_;
    std::size_t height_;
    std::vector<std::uint64_t> begins_; // of the packed rows, and the end of the last
};

/// One stream of the ZIP methods for all channels. It has no places to start from, so it is unpacked whole.
class DeflatedPlanes final : public Planes {
public:
    DeflatedPlanes(const SharedSource& file, const Document& document, std::uint64_t begin, bool areDifferences)
        : rowBytes_{document.planeRowBytes()}, height_{static_cast<std::size_t>(document.height)}
    {
        const std::uint64_t needed =
            std::uint64_t{rowBytes_} * height_ * static_cast<unsigned>(document.usedChannels());
        // Nothing packs better than a thousandfold.
        if (begin > file->size() || needed / 1'100 > file->size() - begin)
            throw damaged("PSD deflate: more pixels than its data can hold");
        planes_.resize(static_cast<std::size_t>(needed));
        inflateInto(planes_, *file, begin);
        if (!areDifferences)
            return;
        for (std::size_t at = 0; at < planes_.size(); at += rowBytes_)
            addUp(std::span{planes_}.subspan(at, rowBytes_), document.depth);
    }

    void read(int channel, int y, std::span<std::byte> row) const override
    {
        const std::size_t number = height_ * static_cast<std::size_t>(channel) + static_cast<std::size_t>(y);
        std::copy_n(planes_.begin() + static_cast<std::ptrdiff_t>(number * rowBytes_), rowBytes_, row.begin());
    }

private:
    static void inflateInto(std::span<std::byte> to, const ByteSource& file, std::uint64_t begin)
    {
        z_stream stream{};
        if (::inflateInit(&stream) != Z_OK)
            throw std::bad_alloc{};
        const std::unique_ptr<z_stream, decltype(&::inflateEnd)> owner{&stream, ::inflateEnd};
        std::vector<std::byte> window;
        std::size_t done = 0;
        while (done < to.size()) {
            if (stream.avail_in == 0) {
                window = file.read(begin, 64 * 1024);
                begin += window.size();
                if (window.empty())
                    throw damaged("PSD deflate: ends too early");
                stream.next_in = reinterpret_cast<Bytef*>(window.data());
                stream.avail_in = static_cast<uInt>(window.size());
            }
            const auto room = static_cast<uInt>(std::min<std::size_t>(to.size() - done, 1 << 30));
            stream.next_out = reinterpret_cast<Bytef*>(to.data() + done);
            stream.avail_out = room;
            const int outcome = ::inflate(&stream, Z_NO_FLUSH);
            done += room - stream.avail_out;
            if (outcome != Z_OK && !(outcome == Z_STREAM_END && done == to.size()))
                throw damaged(stream.msg ? std::string{"PSD deflate: "} + stream.msg : "PSD deflate: ends too early");
        }
    }

    /// Turns the differences between neighbours back into values. Floating point stores the bytes of a row by rank.
    static void addUp(std::span<std::byte> row, int depth)
    {
        const auto value = [&row](std::size_t at) { return std::to_integer<unsigned>(row[at]); };
        if (depth == 16) {
            for (std::size_t at = 2; at + 1 < row.size(); at += 2) {
                const unsigned sum = (value(at) << 8 | value(at + 1)) + (value(at - 2) << 8 | value(at - 1));
                row[at] = static_cast<std::byte>(sum >> 8);
                row[at + 1] = static_cast<std::byte>(sum);
            }
            return;
        }
        for (std::size_t at = 1; at < row.size(); ++at)
            row[at] = static_cast<std::byte>(value(at) + value(at - 1));
        if (depth != 32)
            return;
        const std::vector<std::byte> ranked{row.begin(), row.end()};
        const std::size_t width = row.size() / 4;
        for (std::size_t x = 0; x < width; ++x)
            for (std::size_t rank = 0; rank < 4; ++rank)
                row[4 * x + rank] = ranked[rank * width + x];
    }

    std::size_t rowBytes_;
    std::size_t height_;
    std::vector<std::byte> planes_;
};

std::unique_ptr<const Planes> planesOf(const SharedSource& file, const Document& document)
{
    const auto bytes = file->read(document.pixels, 2);
    ByteReader reader{bytes, damaged("PSD pixels: none"), ByteOrder::big};
    const auto packing = static_cast<Packing>(reader.u16());
    const std::uint64_t begin = document.pixels + 2;
    switch (packing) {
    case Packing::none:
        return std::make_unique<PlainPlanes>(file, document, begin);
    case Packing::runLengths:
        return std::make_unique<RunLengthPlanes>(file, document, begin);
    case Packing::deflate:
    case Packing::deflatedDifferences:
        return std::make_unique<DeflatedPlanes>(file, document, begin, packing == Packing::deflatedDifferences);
    }
    throw damaged("PSD pixels: no such compression");
}

/// Puts the rows of the channels together as a bitmap has them.
struct Weaving {
    Document document;
    std::shared_ptr<const Planes> planes;
    bool isInked = false;  // stored inverted
    bool isMatted = false; // over white: its share is taken out again

    void row(int y, std::span<std::byte> to) const
    {
        const auto bands = static_cast<std::size_t>(document.usedChannels());
        const auto componentBytes = static_cast<std::size_t>(document.depth) / 8;
        const auto width = static_cast<std::size_t>(document.width);
        std::vector<std::byte> stored(document.planeRowBytes());
        for (std::size_t band = 0; band < bands; ++band) {
            planes->read(static_cast<int>(band), y, stored);
            const bool isInverted = isInked && band < 4;
            std::byte* next = to.data() + band * componentBytes;
            for (std::size_t x = 0; x < width; ++x, next += bands * componentBytes)
                for (std::size_t i = 0; i < componentBytes; ++i) {
                    const std::byte value = stored[x * componentBytes + i];
                    const std::size_t place = std::endian::native == std::endian::little ? componentBytes - 1 - i : i;
                    next[place] = isInverted ? ~value : value;
                }
        }
        if (isMatted && document.depth == 8)
            unmatte<std::uint8_t>(to, bands);
        else if (isMatted && document.depth == 16)
            unmatte<std::uint16_t>(to, bands);
    }

    void bitmapRow(int y, std::span<std::byte> to) const
    {
        std::vector<std::byte> stored(document.planeRowBytes());
        planes->read(0, y, stored);
        for (std::size_t x = 0; x < to.size(); ++x) {
            const bool isBlack = (std::to_integer<unsigned>(stored[x / 8]) >> (7 - x % 8) & 1) != 0;
            to[x] = isBlack ? std::byte{0} : std::byte{0xFF};
        }
    }

    void indexedRow(int y, std::span<std::byte> to) const
    {
        std::vector<std::byte> stored(document.planeRowBytes());
        planes->read(0, y, stored);
        std::byte* next = to.data();
        for (const std::byte each : stored) {
            const auto index = std::to_integer<std::size_t>(each);
            for (std::size_t band = 0; band < 3; ++band)
                *next++ = document.palette[256 * band + index];
            if (document.transparentIndex)
                *next++ = index == *document.transparentIndex ? std::byte{0} : std::byte{0xFF};
        }
    }

private:
    template <typename Component>
    static void unmatte(std::span<std::byte> row, std::size_t bands)
    {
        constexpr std::uint64_t most = std::numeric_limits<Component>::max();
        const auto at = [&row](std::size_t number) {
            Component value;
            std::memcpy(&value, row.data() + number * sizeof value, sizeof value);
            return std::uint64_t{value};
        };
        for (std::size_t pixel = 0; (pixel + bands) * sizeof(Component) <= row.size(); pixel += bands) {
            const std::uint64_t alpha = at(pixel + bands - 1);
            if (alpha == 0 || alpha == most)
                continue;
            const std::uint64_t white = (most - alpha) * most;
            for (std::size_t i = pixel; i + 1 < pixel + bands; ++i) {
                const std::uint64_t over = std::max(at(i) * most, white) - white;
                const auto value = static_cast<Component>(std::min(most, (over + alpha / 2) / alpha));
                std::memcpy(row.data() + i * sizeof value, &value, sizeof value);
            }
        }
    }
};

} // namespace

Bitmap openPsd(const SharedSource& file, const ResourceLimits& limits)
{
    const Document document = readDocument(*file);
    requireAcceptableSize(document.width, document.height, 1, limits);
    const bool isIndexed = document.mode == Mode::indexed;
    const bool isBitmap = document.mode == Mode::bitmap;
    Bitmap bitmap{.width = document.width,
                  .height = document.height,
                  .colors = document.mode == Mode::rgb || isIndexed ? BitmapColors::rgb
                            : document.mode == Mode::cmyk           ? BitmapColors::cmyk
                            : document.mode == Mode::lab            ? BitmapColors::lab
                                                                    : BitmapColors::grey,
                  .hasAlpha = isIndexed ? document.transparentIndex.has_value() : document.hasAlphaChannel(),
                  .bits = isBitmap ? 8 : document.depth,
                  .horizontalDotsPerMillimetre = document.horizontalDotsPerMillimetre,
                  .verticalDotsPerMillimetre = document.verticalDotsPerMillimetre,
                  .profile = document.profile};
    const bool isLight = document.mode == Mode::rgb || document.mode == Mode::grey;
    if (isBitmap)
        bitmap.hasAlpha = false;
    const Weaving weaving{.document = document,
                          .planes = planesOf(file, document),
                          .isInked = document.mode == Mode::cmyk,
                          .isMatted = bitmap.hasAlpha && isLight && document.layersLeaveHoles};
    if (isBitmap)
        bitmap.readRow = [weaving](int y, std::span<std::byte> row) { weaving.bitmapRow(y, row); };
    else if (isIndexed)
        bitmap.readRow = [weaving](int y, std::span<std::byte> row) { weaving.indexedRow(y, row); };
    else
        bitmap.readRow = [weaving](int y, std::span<std::byte> row) { weaving.row(y, row); };
    return bitmap;
}

} // namespace nivex::image
