// Pictures as HEIC (HEVC by x265) and AVIF (AV1 by libaom), by libheif.
#include "NivexWorkers/Image/Codecs/Codec.hpp"
#include "NivexWorkers/Image/Codecs/Heif/HeifFile.hpp"
#include "NivexWorkers/Image/Codecs/Heif/HeifStillAv1.hpp"
#include "NivexWorkers/Image/Codecs/Profiles.hpp"
#include "NivexWorkers/Image/Codecs/Rows.hpp"
#include "NivexWorkers/Image/Codecs/Texture.hpp"

#include "NivexKit/Foundation/Files/OutputFile.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"

#include <algorithm>
#include <cmath>
#include <exception>
#include <iterator>
#include <span>
#include <string>

namespace nivex::image {
namespace {

using vips::VImage;

struct Parameter {
    const char* name;
    const char* value;
};

struct QualityPoint {
    double quality;
    double quantizer;
};

/// How an encoder treats a kind of pictures.
struct Treatment {
    bool (*fits)(const Texture& texture, double pixels);
    std::span<const Parameter> parameters;
};

struct Coding {
    heif_compression_format format;
    std::span<const QualityPoint> qualities;
    int deepBits; // for pictures of more than 8 bits
    std::span<const Parameter> parameters;
    std::span<const Treatment> treatments; // of which the first one that fits is taken; the last one always does
    const char* quantizer;                 // the parameter that takes it
    const char* processors;                // and the one that takes their number
    /// How colours are split at full quality (ITU-T H.273). Where devices show nothing but brightness and two colour
    /// differences, rounding moves a component by 1 at most.
    heif_matrix_coefficients losslessMatrix;
};

bool isDrawing(const Texture& texture, double) { return texture.isDrawing(); }

bool isSmall(const Texture&, double pixels) { return pixels <= 4e6; }

bool isCrowded(const Texture& texture, double) { return texture.busyness() > 4; }

bool isAny(const Texture&, double) { return true; }

// The encoders' quantizers, for pictures as near to the original as a JPEG file of that quality, and what they do for
// which pictures. Measured: see docs/decisions/heif.md.
constexpr QualityPoint hevcQualities[] = {{0, 46},    {0.2, 40},  {0.5, 32.5}, {0.75, 26.5},
                                          {0.85, 22}, {0.92, 17}, {1, 2.5}};
constexpr QualityPoint av1Qualities[] = {{0, 58}, {0.2, 48}, {0.5, 34}, {0.75, 22}, {0.85, 15}, {0.92, 8}, {1, 1}};

constexpr Parameter hevcParameters[] = {
    {"preset", "ultrafast"}, {"x265:rd", "1"},   {"x265:signhide", "1"},
    {"x265:sao", "1"},       {"x265:ctu", "64"}, // libheif chooses 16 for strips, which levels for large pictures
                                                 // forbid
};
constexpr Parameter hevcDrawing[] = {
    {"x265:tu-intra-depth", "3"}, {"x265:min-cu-size", "8"}, {"x265:tskip", "1"}, {"x265:rd", "3"}};
constexpr Parameter hevcSmall[] = {{"x265:tu-intra-depth", "2"}, {"x265:min-cu-size", "8"}};
constexpr Parameter hevcCrowded[] = {{"x265:tu-intra-depth", "3"}, {"x265:sao", "0"}};
constexpr Parameter hevcSmooth[] = {{"x265:tu-intra-depth", "2"}};
constexpr Treatment hevcTreatments[] = {
    {isDrawing, hevcDrawing}, {isSmall, hevcSmall}, {isCrowded, hevcCrowded}, {isAny, hevcSmooth}};
constexpr Coding hevc{heif_compression_HEVC, hevcQualities, 10,           hevcParameters,
                      hevcTreatments,        "x265:crf",    "x265:pools", heif_matrix_coefficients_ITU_R_BT_601_6};

constexpr Parameter av1Drawing[] = {{"tools", "drawing"}, {"chroma", "444"}}; // coloured lines cost few bytes more
constexpr Parameter av1Small[] = {{"tools", "small photograph"}};
constexpr Parameter av1Large[] = {{"tools", "large photograph"}};
constexpr Treatment av1Treatments[] = {{isDrawing, av1Drawing}, {isSmall, av1Small}, {isAny, av1Large}};
// libheif 1.15 with libaom 3.6 fails at 10 bits.
constexpr Coding av1{heif_compression_AV1, av1Qualities, 12,        {},
                     av1Treatments,        "quantizer",  "threads", heif_matrix_coefficients_RGB_GBR};

/// Colour is stored as finely as brightness from here on.
constexpr double fineColorQuality = 0.9;

ConversionError notEncoded()
{
    return ConversionError::encodingFailed(filled("l'image n'a pas pu être enregistrée au format {}"_fr, {"HEIF"}));
}

void require(const heif_error& error)
{
    if (!isOk(error))
        throw notEncoded();
}

bool isLossless(const WriteRequest& request) { return request.quality >= 1.0; }

bool hasFineColor(const VImage& image, const WriteRequest& request)
{
    return request.quality >= fineColorQuality && !isGrey(image); // which libheif 1.15 would make colour
}

/// The encoder of a format, the first one or one of a name.
HeifEncoder encoderNamed(heif_context& context, heif_compression_format format, const char* name)
{
    const heif_encoder_descriptor* found = nullptr;
    heif_encoder* made = nullptr;
    if (heif_context_get_encoder_descriptors(&context, format, name, &found, 1) != 1)
        throw notEncoded();
    require(heif_context_get_encoder(&context, found, &made));
    return HeifEncoder{made};
}

double quantizerOf(double quality, std::span<const QualityPoint> points)
{
    const auto above = std::ranges::find_if(points, [&](const QualityPoint& each) { return quality <= each.quality; });
    if (above == points.begin() || above == points.end())
        return above == points.end() ? points.back().quantizer : points.front().quantizer;
    const QualityPoint below = *std::prev(above);
    const double part = (quality - below.quality) / (above->quality - below.quality);
    return below.quantizer + part * (above->quantizer - below.quantizer);
}

HeifEncoder encoderFor(const VImage& image, const Texture& texture, heif_context& context, const Coding& coding,
                       const WriteRequest& request)
{
    // libheif's own AV1 encoder is kept for coding without loss.
    const bool isStillAv1 = coding.format == heif_compression_AV1 && !isLossless(request);
    if (isStillAv1)
        addStillAv1Encoder();
    HeifEncoder encoder = encoderNamed(context, coding.format, isStillAv1 ? stillAv1Encoder : nullptr);
    const auto set = [&](const char* name, const std::string& value) {
        require(heif_encoder_set_parameter(encoder.get(), name, value.c_str()));
    };
    const auto setAll = [&](std::span<const Parameter> parameters) {
        for (const Parameter& parameter : parameters)
            set(parameter.name, parameter.value);
    };
    setAll(coding.parameters);
    set(coding.processors, std::to_string(request.processors));
    set("chroma", hasFineColor(image, request) ? "444" : "420");
    if (isLossless(request)) {
        require(heif_encoder_set_lossless(encoder.get(), 1));
    } else {
        const double pixels = static_cast<double>(image.width()) * image.height();
        const auto treatment =
            std::ranges::find_if(coding.treatments, [&](const Treatment& each) { return each.fits(texture, pixels); });
        setAll(treatment->parameters);
        set(coding.quantizer, std::to_string(quantizerOf(request.quality, coding.qualities)));
    }
    return encoder;
}

/// Where the samples of one row go: all bands interleaved, or grey and alpha apart.
struct Target {
    heif_channel channel;
    std::size_t firstBand;
    std::size_t bands;
    std::uint8_t* samples = nullptr;
    std::size_t rowBytes = 0;
};

HeifPixels emptyPixels(const VImage& image, int bits, std::vector<Target>& targets)
{
    const bool isDeep = bits > 8;
    const bool hasAlpha = image.bands() % 2 == 0;
    heif_colorspace colors = heif_colorspace_RGB;
    heif_chroma layout = hasAlpha ? (isDeep ? heif_chroma_interleaved_RRGGBBAA_LE : heif_chroma_interleaved_RGBA)
                                  : (isDeep ? heif_chroma_interleaved_RRGGBB_LE : heif_chroma_interleaved_RGB);
    targets = {{heif_channel_interleaved, 0, static_cast<std::size_t>(image.bands())}};
    if (isGrey(image)) {
        colors = heif_colorspace_monochrome;
        layout = heif_chroma_monochrome;
        targets = {{heif_channel_Y, 0, 1}};
        if (hasAlpha)
            targets.push_back({heif_channel_Alpha, 1, 1});
    }
    heif_image* made = nullptr;
    require(heif_image_create(image.width(), image.height(), colors, layout, &made));
    HeifPixels pixels{made};
    for (Target& target : targets) {
        require(heif_image_add_plane(made, target.channel, image.width(), image.height(), bits));
        int rowBytes = 0;
        target.samples = heif_image_get_plane(made, target.channel, &rowBytes);
        target.rowBytes = static_cast<std::size_t>(rowBytes);
    }
    return pixels;
}

template <class Sample, class Narrow>
void copyRow(std::span<const std::byte> row, int y, std::size_t bandCount, const std::vector<Target>& targets,
             Narrow narrow)
{
    const Sample* in = samplesOf<Sample>(row);
    const std::size_t width = row.size() / sizeof(Sample) / bandCount;
    for (const Target& target : targets) {
        auto* out = reinterpret_cast<Sample*>(target.samples + static_cast<std::size_t>(y) * target.rowBytes);
        for (std::size_t x = 0; x < width; ++x)
            for (std::size_t band = 0; band < target.bands; ++band)
                out[x * target.bands + band] = narrow(in[x * bandCount + target.firstBand + band]);
    }
}

/// Says what the colours are: those of the profile, or sRGB. libheif 1.15 takes the matrix from here only.
void describeColors(heif_image& pixels, const VImage& image, heif_matrix_coefficients matrix)
{
    const std::string_view profile = profileOf(image);
    if (!profile.empty())
        require(heif_image_set_raw_color_profile(&pixels, "prof", profile.data(), profile.size()));
    const HeifCodedColors colors{heif_nclx_color_profile_alloc()};
    colors->color_primaries = profile.empty() ? heif_color_primaries_ITU_R_BT_709_5 : heif_color_primaries_unspecified;
    colors->transfer_characteristics =
        profile.empty() ? heif_transfer_characteristic_IEC_61966_2_1 : heif_transfer_characteristic_unspecified;
    colors->matrix_coefficients = matrix;
    colors->full_range_flag = 1;
    require(heif_image_set_nclx_color_profile(&pixels, colors.get()));
}

struct Pixels {
    HeifPixels held;
    Texture texture;
};

/// Computes the pixels. Reports it as the part from `begin` to `end`.
Pixels pixelsOf(const VImage& image, int deepBits, const ProgressCallback& progress, double begin, double end)
{
    const bool isDeep = image.format() == VIPS_FORMAT_USHORT;
    const int bits = isDeep ? deepBits : 8;
    const auto bandCount = static_cast<std::size_t>(image.bands());
    std::vector<Target> targets;
    Pixels pixels{.held = emptyPixels(image, bits, targets), .texture = {}};
    constexpr int sampledRows = 200; // are enough to tell the texture
    const int step = std::max(1, image.height() / sampledRows);
    pullRows(image, progress, begin, end, [&](int y, std::span<const std::byte> row) {
        const bool isSampled = y % step == 0;
        if (isDeep) {
            copyRow<std::uint16_t>(row, y, bandCount, targets, [bits](unsigned sample) {
                const unsigned most = (1u << bits) - 1;
                return static_cast<std::uint16_t>((sample * most + 32'767) / 65'535);
            });
            if (isSampled)
                pixels.texture.add({samplesOf<std::uint16_t>(row), row.size() / 2}, bandCount);
        } else {
            copyRow<std::uint8_t>(row, y, bandCount, targets, [](std::uint8_t sample) { return sample; });
            if (isSampled)
                pixels.texture.add({samplesOf<std::uint8_t>(row), row.size()}, bandCount);
        }
    });
    return pixels;
}

void embed(heif_context& context, const heif_image_handle& item, const Metadata& metadata)
{
    if (!metadata.exif.empty())
        require(heif_context_add_exif_metadata(&context, &item, metadata.exif.data(),
                                               static_cast<int>(metadata.exif.size())));
    if (!metadata.xmp.empty())
        require(
            heif_context_add_XMP_metadata(&context, &item, metadata.xmp.data(), static_cast<int>(metadata.xmp.size())));
}

struct FileWriting {
    NewFile file;
    std::exception_ptr failure;
};

/// libheif hands over the whole file at once. The exception is kept aside: this is an interface of C.
heif_error takeFile(heif_context*, const void* data, std::size_t size, void* context)
{
    auto& writing = *static_cast<FileWriting*>(context);
    try {
        writing.file.write({static_cast<const char*>(data), size});
    } catch (...) {
        writing.failure = std::current_exception();
    }
    return {heif_error_Ok, heif_suberror_Unspecified, ""};
}

void write(const Picture& picture, const WriteRequest& request, const Coding& coding)
{
    /// Of the whole; how long an encoder takes cannot be told.
    constexpr double pulling = 0.2;

    const HeifContext context{heif_context_alloc()};
    const std::unique_ptr<heif_encoding_options, HeifRelease<heif_encoding_options_free>> options{
        heif_encoding_options_alloc()};
    const double share = 1.0 / static_cast<double>(picture.frames.size());
    for (std::size_t i = 0; i < picture.frames.size(); ++i) {
        const double begin = share * static_cast<double>(i);
        const Pixels pixels =
            pixelsOf(picture.frames[i], coding.deepBits, request.progress, begin, begin + share * pulling);
        const heif_matrix_coefficients matrix = isLossless(request) && !isGrey(picture.frames[i])
                                                    ? coding.losslessMatrix
                                                    : heif_matrix_coefficients_ITU_R_BT_601_6;
        describeColors(*pixels.held, picture.frames[i], matrix);
        // A profile tells nothing of the matrix, and without it programs assume the usual one.
        options->save_two_colr_boxes_when_ICC_and_nclx_available = matrix != heif_matrix_coefficients_ITU_R_BT_601_6;
        const HeifEncoder encoder = encoderFor(picture.frames[i], pixels.texture, *context, coding, request);
        heif_image_handle* item = nullptr;
        require(heif_context_encode_image(context.get(), pixels.held.get(), encoder.get(), options.get(), &item));
        const HeifItem kept{item};
        if (i == 0) // which is the primary picture
            embed(*context, *item, picture.metadata);
    }
    FileWriting writing{NewFile{request.file}, nullptr};
    heif_writer writer{.writer_api_version = 1, .write = takeFile};
    require(heif_context_write(context.get(), &writer, &writing));
    if (writing.failure)
        std::rethrow_exception(writing.failure);
    writing.file.finish();
}

} // namespace

void writeHeic(const Picture& picture, const WriteRequest& request) { write(picture, request, hevc); }

void writeAvif(const Picture& picture, const WriteRequest& request) { write(picture, request, av1); }

} // namespace nivex::image
