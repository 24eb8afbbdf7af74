// Photoshop documents: the merged picture is read; what is written has no layers.
#include "NivexWorkers/Image/Codecs/Bitmaps/BitmapImage.hpp"
#include "NivexWorkers/Image/Codecs/Profiles.hpp"
#include "NivexWorkers/Image/Codecs/Rows.hpp"

#include "NivexKit/Foundation/Bytes/ByteWriter.hpp"
#include "NivexKit/Foundation/Files/OutputFile.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"
#include "NivexKit/Structures/PhotoshopResources.hpp"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <deque>
#include <limits>

namespace nivex::image {
namespace {

using vips::VImage;

/// Grey with transparency as colour: ImageMagick 6 for one reads wrong alpha in grey documents. A profile for grey
/// would no longer fit, so a picture that has one stays grey.
VImage widelyRead(const VImage& image)
{
    if (image.bands() != 2 || hasProfile(image))
        return image;
    return image.colourspace(image.format() == VIPS_FORMAT_USHORT ? VIPS_INTERPRETATION_RGB16
                                                                  : VIPS_INTERPRETATION_sRGB);
}

/// The image resources: resolution, what the extra channel means, profile and metadata.
std::vector<std::byte> resourcesOf(const VImage& image, const Metadata& metadata)
{
    ByteWriter blocks{ByteOrder::big};
    const auto put = [&blocks](std::uint16_t identifier, std::span<const std::byte> contents) {
        if (!contents.empty())
            blocks.bytes(resourceBlock(identifier, contents));
    };
    constexpr std::uint16_t perInch = 1;
    const auto fixed = [](double dotsPerMillimetre) {
        return static_cast<std::uint32_t>(std::clamp(std::round(dotsPerMillimetre * 25.4 * 65'536), 1.0, 4e9));
    };
    ByteWriter resolution{ByteOrder::big};
    resolution.u32(fixed(image.xres())).u16(perInch).u16(perInch);
    resolution.u32(fixed(image.yres())).u16(perInch).u16(perInch);
    put(photoshop::resolution, std::move(resolution).release());
    if (image.has_alpha()) {
        ByteWriter names{ByteOrder::big};
        names.u8(12).text("Transparency");
        put(photoshop::alphaNames, std::move(names).release());
    }
    put(photoshop::iptc, metadata.iptc);
    put(photoshop::profile, std::as_bytes(std::span{profileOf(image)}));
    put(photoshop::exif, metadata.exif);
    put(photoshop::xmp, std::as_bytes(std::span{metadata.xmp}));
    return std::move(blocks).release();
}

/// Everything before the table of packed lengths.
std::vector<std::byte> headOf(const VImage& image, const Metadata& metadata)
{
    constexpr std::uint16_t grey = 1;
    constexpr std::uint16_t rgb = 3;
    constexpr std::uint16_t cmyk = 4;
    constexpr std::uint16_t runLengths = 1;
    const auto resources = resourcesOf(image, metadata);
    ByteWriter head{ByteOrder::big};
    head.text("8BPS").u16(1).zeros(6);
    head.u16(static_cast<std::uint16_t>(image.bands()));
    head.u32(static_cast<std::uint32_t>(image.height())).u32(static_cast<std::uint32_t>(image.width()));
    head.u16(image.format() == VIPS_FORMAT_USHORT ? 16 : 8);
    head.u16(isCmyk(image) ? cmyk : isGrey(image) ? grey : rgb);
    head.u32(0); // no data of the colour mode
    head.u32(static_cast<std::uint32_t>(resources.size())).bytes(resources);
    if (image.has_alpha()) {
        // No layers and no mask, and a block that makes the first extra channel the transparency of the picture.
        head.u32(4 + 4 + 12).u32(0).u32(0).text("8BIM");
        head.text(image.format() == VIPS_FORMAT_USHORT ? "Mt16" : "Mtrn").u32(0);
    } else {
        head.u32(0);
    }
    head.u16(runLengths);
    return std::move(head).release();
}

/// Appends a row of one channel in PackBits.
void appendPackBits(std::string& to, std::string_view row)
{
    constexpr std::size_t longest = 128;
    constexpr std::size_t shortestRun = 3;
    const auto runAt = [row](std::size_t begin) {
        std::size_t end = begin + 1;
        while (end < row.size() && end - begin < longest && row[end] == row[begin])
            ++end;
        return end - begin;
    };
    for (std::size_t at = 0; at < row.size();) {
        if (const std::size_t run = runAt(at); run >= shortestRun) {
            to.push_back(static_cast<char>(257 - run));
            to.push_back(row[at]);
            at += run;
            continue;
        }
        const std::size_t begin = at;
        while (at < row.size() && at - begin < longest && runAt(at) < shortestRun)
            ++at;
        to.push_back(static_cast<char>(at - begin - 1));
        to.append(row.substr(begin, at - begin));
    }
}

/// The packed rows of one channel, on their way into the file.
struct PackedChannel {
    explicit PackedChannel(const std::filesystem::path& location) : path{location}, scratch{location} {}

    void flush()
    {
        scratch.write(packed);
        packed.clear();
    }

    std::filesystem::path path;
    NewFile scratch; // never finished, so that it goes away
    std::string packed;
    ByteWriter lengths{ByteOrder::big};
};

/// One channel of a row of interleaved components, big-endian.
void takeChannel(std::string& to, std::span<const std::byte> row, std::size_t band, std::size_t bands,
                 std::size_t componentBytes, bool isInverted)
{
    to.clear();
    for (std::size_t at = band * componentBytes; at < row.size(); at += bands * componentBytes)
        for (std::size_t i = 0; i < componentBytes; ++i) {
            const std::size_t place = std::endian::native == std::endian::little ? componentBytes - 1 - i : i;
            const std::byte value = row[at + place];
            to.push_back(static_cast<char>(isInverted ? ~value : value));
        }
}

/// Lays a row over white, as merged pictures with transparency are stored.
template <typename Component>
void matte(std::span<std::byte> row, std::size_t bands)
{
    constexpr std::uint64_t most = std::numeric_limits<Component>::max();
    for (std::size_t pixel = 0; pixel < row.size(); pixel += bands * sizeof(Component)) {
        std::byte* const first = row.data() + pixel;
        Component alpha;
        std::memcpy(&alpha, first + (bands - 1) * sizeof alpha, sizeof alpha);
        for (std::size_t band = 0; band + 1 < bands; ++band) {
            Component value;
            std::memcpy(&value, first + band * sizeof value, sizeof value);
            value = static_cast<Component>((value * std::uint64_t{alpha} + (most - alpha) * most + most / 2) / most);
            std::memcpy(first + band * sizeof value, &value, sizeof value);
        }
    }
}

void appendFile(NewFile& to, const std::filesystem::path& from)
{
    const auto source = FileSource::open(from);
    if (!source)
        throw ConversionError::encodingFailed("fichier impossible à écrire"_fr);
    constexpr std::size_t atOnce = 1024 * 1024;
    for (std::uint64_t offset = 0; offset < source->size(); offset += atOnce) {
        const auto bytes = source->read(offset, atOnce);
        to.write({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
    }
}

} // namespace

Picture readPsd(const ReadRequest& request)
{
    return {.frames = {imageOf(openPsd(openedSource(request), request.limits))}};
}

void writePsd(const Picture& picture, const WriteRequest& request)
{
    const VImage image = widelyRead(picture.first());
    const auto bands = static_cast<std::size_t>(image.bands());
    const std::size_t componentBytes = image.format() == VIPS_FORMAT_USHORT ? 2 : 1;
    // The channels stand one after the other but come row by row: each waits in a file of its own.
    std::deque<PackedChannel> channels;
    for (std::size_t band = 0; band < bands; ++band) {
        std::filesystem::path location = request.file;
        location += "." + std::to_string(band);
        channels.emplace_back(location);
    }
    std::string row;
    const bool isMatted = image.has_alpha() && !isCmyk(image);
    pullRows(image, request.progress, 0, 1, [&](int, std::span<const std::byte> pulled) {
        std::vector<std::byte> pixels{pulled.begin(), pulled.end()};
        if (isMatted && componentBytes == 1)
            matte<std::uint8_t>(pixels, bands);
        else if (isMatted)
            matte<std::uint16_t>(pixels, bands);
        for (std::size_t band = 0; band < bands; ++band) {
            PackedChannel& channel = channels[band];
            takeChannel(row, pixels, band, bands, componentBytes, isCmyk(image) && band < 4);
            const std::size_t before = channel.packed.size();
            appendPackBits(channel.packed, row);
            channel.lengths.u16(static_cast<std::uint16_t>(channel.packed.size() - before));
            constexpr std::size_t muchAtOnce = 256 * 1024;
            if (channel.packed.size() >= muchAtOnce)
                channel.flush();
        }
    });
    NewFile file{request.file};
    const auto head = headOf(image, picture.metadata);
    file.write({reinterpret_cast<const char*>(head.data()), head.size()});
    for (const PackedChannel& channel : channels)
        file.write(channel.lengths.view());
    for (PackedChannel& channel : channels) {
        channel.flush();
        appendFile(file, channel.path);
    }
    file.finish();
}

} // namespace nivex::image
