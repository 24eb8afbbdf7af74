// Pictures in HEIF files (ISO/IEC 23008-12) coded as HEVC or AV1, by libheif.
#include "NivexWorkers/Image/Codecs/Codec.hpp"
#include "NivexWorkers/Image/Codecs/Heif/HeifColors.hpp"
#include "NivexWorkers/Image/Codecs/Heif/HeifFile.hpp"
#include "NivexWorkers/Image/Codecs/Heif/HeifReferences.hpp"
#include "NivexWorkers/Image/Codecs/Profiles.hpp"

#include "NivexKit/Foundation/Bytes/ByteReader.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

namespace nivex::image {
namespace {

using vips::VImage;

constexpr int longestCodedSide = 65'536; // of AV1 and of what an HEVC level allows; pixels are limited by the request

/// Whether the file type box (ISO/IEC 14496-12, 4.3) has sequences of frames as its main brand.
bool isSequence(const std::filesystem::path& file)
{
    std::array<char, 12> head{};
    std::ifstream{file, std::ios::binary}.read(head.data(), head.size());
    const std::string_view brand{head.data() + 8, 4};
    return brand == "msf1" || brand == "hevc" || brand == "hevx" || brand == "avis";
}

ConversionError refusal(const heif_error& error, const std::filesystem::path& file)
{
    switch (error.code) {
    case heif_error_Memory_allocation_error:
        return ConversionError::resourceLimit("l'image demande trop de mémoire"_fr);
    case heif_error_Unsupported_filetype:
    case heif_error_Unsupported_feature:
        if (isSequence(file))
            return ConversionError::unsupported("les séquences d'images HEIF"_fr);
        return ConversionError::unsupported("le codage de ce fichier HEIF"_fr);
    default:
        if (error.subcode == heif_suberror_No_meta_box && isSequence(file))
            return ConversionError::unsupported("les séquences d'images HEIF"_fr);
        return damaged(error.message ? error.message : "");
    }
}

class HeifReader {
public:
    explicit HeifReader(const ReadRequest& request);

    Picture picture() const;

private:
    void require(const heif_error& error) const
    {
        if (!isOk(error))
            throw refusal(error, request_.file);
    }
    std::vector<HeifItem> items() const;
    HeifPixels decoded(const heif_image_handle& item) const;
    VImage frame(const heif_image_handle& item) const;

    const ReadRequest& request_;
    HeifContext context_{heif_context_alloc()};
};

HeifReader::HeifReader(const ReadRequest& request) : request_{request}
{
    if (const auto file = FileSource::open(request.file); file && hasCircularItems(*file))
        throw damaged("iref: items that refer to each other in a circle"); // libheif 1.15 follows them until the memory
                                                                           // is used up
    heif_context_set_maximum_image_size_limit(context_.get(), longestCodedSide);
    require(heif_context_read_from_file(context_.get(), request.file.c_str(), nullptr));
}

/// The pictures that are wanted, the primary one first. Thumbnails, masks and depth are not among them.
std::vector<HeifItem> HeifReader::items() const
{
    heif_item_id primary{};
    require(heif_context_get_primary_image_ID(context_.get(), &primary));
    std::vector<heif_item_id> identifiers{primary};
    if (request_.wantsAllFrames) {
        const int count = heif_context_get_number_of_top_level_images(context_.get());
        std::vector<heif_item_id> all(static_cast<std::size_t>(std::max(count, 0)));
        heif_context_get_list_of_top_level_image_IDs(context_.get(), all.data(), count);
        std::ranges::copy_if(all, std::back_inserter(identifiers), [&](heif_item_id id) { return id != primary; });
    }
    std::vector<HeifItem> items;
    std::int64_t pixels = 0;
    for (const heif_item_id id : identifiers) {
        heif_image_handle* item = nullptr;
        require(heif_context_get_image_handle(context_.get(), id, &item));
        items.emplace_back(item);
        const std::int64_t width = heif_image_handle_get_width(item);
        const std::int64_t height = heif_image_handle_get_height(item);
        requireAcceptableSize(width, height, 1, request_.limits);
        pixels += width * height;
    }
    requireAcceptableSize(pixels, 1, 1, request_.limits);
    return items;
}

HeifPixels HeifReader::decoded(const heif_image_handle& item) const
{
    const std::unique_ptr<heif_decoding_options, HeifRelease<heif_decoding_options_free>> options{
        heif_decoding_options_alloc()};
    options->strict_decoding = 1; // what is cut short is an error, not a picture with grey patches
    heif_image* image = nullptr;
    // Asked for no colours in particular, libheif gives grey as a plane of grey and anything else as planes of RGB.
    require(heif_decode_image(&item, &image, heif_colorspace_undefined, heif_chroma_undefined, options.get()));
    return HeifPixels{image};
}

/// One component of a decoded picture.
struct Plane {
    const std::uint8_t* samples = nullptr;
    std::size_t rowBytes = 0;
    int bits = 8; // above 8 each sample takes two bytes
};

/// The planes of a decoded picture in the order of a frame's bands. Keeps the picture.
struct Planes {
    HeifPixels pixels;
    std::vector<Plane> bands;
    int width = 0;
    int height = 0;

    explicit Planes(HeifPixels image, bool asColor);
    bool isDeep() const
    {
        return std::ranges::any_of(bands, [](const Plane& plane) { return plane.bits > 8; });
    }

private:
    void add(heif_channel channel);
};

Planes::Planes(HeifPixels image, bool asColor)
    : pixels{std::move(image)}, width{heif_image_get_primary_width(pixels.get())}, height{heif_image_get_primary_height(
                                                                                       pixels.get())}
{
    if (width < 1 || height < 1)
        throw damaged("libheif: a picture without pixels");
    if (heif_image_get_colorspace(pixels.get()) == heif_colorspace_monochrome)
        for (int i = 0; i < (asColor ? 3 : 1); ++i)
            add(heif_channel_Y);
    else
        for (const heif_channel channel : {heif_channel_R, heif_channel_G, heif_channel_B})
            add(channel);
    if (heif_image_has_channel(pixels.get(), heif_channel_Alpha))
        add(heif_channel_Alpha);
}

void Planes::add(heif_channel channel)
{
    int rowBytes = 0;
    Plane plane{.samples = heif_image_get_plane_readonly(pixels.get(), channel, &rowBytes),
                .rowBytes = static_cast<std::size_t>(rowBytes),
                .bits = heif_image_get_bits_per_pixel_range(pixels.get(), channel)};
    if (!plane.samples || plane.bits < 8 || plane.bits > 16 || heif_image_get_width(pixels.get(), channel) < width ||
        heif_image_get_height(pixels.get(), channel) < height)
        throw damaged("libheif: a plane smaller than its picture");
    bands.push_back(plane);
}

/// Spreads samples of `bits` over all 16 bits, so that the brightest becomes 65,535.
std::uint16_t widened(unsigned sample, int bits)
{
    return static_cast<std::uint16_t>(sample << (16 - bits) | sample >> (2 * bits - 16));
}

template <class Sample>
void copyBand(const Plane& plane, const VipsRect& area, int y, std::size_t band, std::size_t bandCount, Sample* out)
{
    const std::uint8_t* row = plane.samples + static_cast<std::size_t>(y) * plane.rowBytes;
    const auto copy = [&](const auto* samples) {
        samples += area.left;
        for (std::size_t x = 0; x < static_cast<std::size_t>(area.width); ++x)
            if constexpr (sizeof(Sample) == 1)
                out[x * bandCount + band] = static_cast<Sample>(samples[x]);
            else
                out[x * bandCount + band] = widened(samples[x], plane.bits);
    };
    if (plane.bits > 8)
        copy(reinterpret_cast<const std::uint16_t*>(row));
    else
        copy(row);
}

template <class Sample>
int fill(VipsRegion* region, void*, void* context, void*, gboolean*)
{
    const Planes& planes = *static_cast<const Planes*>(context);
    const VipsRect& area = region->valid;
    for (int y = area.top; y < area.top + area.height; ++y) {
        const auto line = static_cast<std::size_t>(y - area.top) * static_cast<std::size_t>(region->bpl);
        auto* out = reinterpret_cast<Sample*>(region->data + line);
        for (std::size_t band = 0; band < planes.bands.size(); ++band)
            copyBand(planes.bands[band], area, y, band, planes.bands.size(), out);
    }
    return 0;
}

void release(VipsImage*, Planes* planes) { delete planes; }

/// An image that hands out the pixels of `planes` without a copy of its own.
VImage wrapped(std::unique_ptr<Planes> planes, bool isGreyPicture)
{
    const bool isDeep = planes->isDeep();
    const VipsInterpretation interpretation = isGreyPicture
                                                  ? (isDeep ? VIPS_INTERPRETATION_GREY16 : VIPS_INTERPRETATION_B_W)
                                                  : (isDeep ? VIPS_INTERPRETATION_RGB16 : VIPS_INTERPRETATION_sRGB);
    const VImage image{vips_image_new()};
    VipsImage* const raw = image.get_image();
    vips_image_init_fields(raw, planes->width, planes->height, static_cast<int>(planes->bands.size()),
                           isDeep ? VIPS_FORMAT_USHORT : VIPS_FORMAT_UCHAR, VIPS_CODING_NONE, interpretation, 72 / 25.4,
                           72 / 25.4);
    Planes* const kept = planes.release();
    g_signal_connect(raw, "postclose", G_CALLBACK(release), kept);
    if (vips_image_pipelinev(raw, VIPS_DEMAND_STYLE_ANY, nullptr) != 0 ||
        vips_image_generate(raw, nullptr, isDeep ? fill<std::uint16_t> : fill<std::uint8_t>, nullptr, kept, nullptr) !=
            0)
        throw vips::VError{};
    return image;
}

std::string iccProfile(const heif_image_handle& item)
{
    const heif_color_profile_type type = heif_image_handle_get_color_profile_type(&item);
    if (type != heif_color_profile_type_prof && type != heif_color_profile_type_rICC)
        return {};
    std::string profile(heif_image_handle_get_raw_color_profile_size(&item), '\0');
    return isOk(heif_image_handle_get_raw_color_profile(&item, profile.data())) ? profile : std::string{};
}

std::string codedProfile(const heif_image_handle& item)
{
    heif_color_profile_nclx* colors = nullptr;
    if (!isOk(heif_image_handle_get_nclx_color_profile(&item, &colors)))
        return {};
    return profileOfCodedColors(*HeifCodedColors{colors});
}

VImage HeifReader::frame(const heif_image_handle& item) const
{
    const std::string profile = iccProfile(item);
    // A profile for colours explains grey only when it is stored as colours.
    auto planes = std::make_unique<Planes>(decoded(item), colorsOfProfile(profile) == ProfileColors::rgb);
    requireAcceptableSize(planes->width, planes->height, 1, request_.limits);
    const bool isGreyPicture = planes->bands.size() < 3;
    VImage image = wrapped(std::move(planes), isGreyPicture);
    if (heif_image_handle_is_premultiplied_alpha(&item) && image.has_alpha())
        image = image.unpremultiply().cast(image.format());
    embedProfile(image, profile.empty() ? codedProfile(item) : profile);
    return image;
}

std::vector<std::byte> block(const heif_image_handle& item, heif_item_id id)
{
    std::vector<std::byte> bytes(heif_image_handle_get_metadata_size(&item, id));
    if (bytes.empty() || !isOk(heif_image_handle_get_metadata(&item, id, bytes.data())))
        return {};
    return bytes;
}

/// The TIFF structure of an Exif item, which begins with how far behind the next bytes it lies (ISO/IEC 23008-12,
/// A.2.1).
std::vector<std::byte> exifOf(const std::vector<std::byte>& item)
{
    ByteReader reader{item, ByteOrder::big};
    reader.skip(reader.u32());
    const auto exif = reader.bytes(reader.left());
    return reader.failed() ? std::vector<std::byte>{} : std::vector(exif.begin(), exif.end());
}

Metadata metadataOf(const heif_image_handle& item)
{
    Metadata metadata;
    const int count = heif_image_handle_get_number_of_metadata_blocks(&item, nullptr);
    std::vector<heif_item_id> identifiers(static_cast<std::size_t>(std::max(count, 0)));
    heif_image_handle_get_list_of_metadata_block_IDs(&item, nullptr, identifiers.data(), count);
    for (const heif_item_id id : identifiers) {
        const std::string_view type = heif_image_handle_get_metadata_type(&item, id);
        const std::string_view content = heif_image_handle_get_metadata_content_type(&item, id);
        if (type == "Exif" && metadata.exif.empty())
            metadata.exif = exifOf(block(item, id));
        else if (type == "mime" && content == "application/rdf+xml" && metadata.xmp.empty()) {
            const std::vector<std::byte> packet = block(item, id);
            metadata.xmp.assign(reinterpret_cast<const char*>(packet.data()), packet.size());
        }
    }
    return metadata;
}

Picture HeifReader::picture() const
{
    const std::vector<HeifItem> pictures = items();
    Picture picture{.kind = pictures.size() > 1 ? FrameKind::pages : FrameKind::single};
    for (const HeifItem& item : pictures)
        picture.frames.push_back(frame(*item));
    picture.metadata = metadataOf(*pictures.front());
    return picture;
}

} // namespace

Picture readHeif(const ReadRequest& request) { return HeifReader{request}.picture(); }

} // namespace nivex::image
