#include "NivexWorkers/Image/Codecs/Heif/HeifStillAv1.hpp"

#include "NivexWorkers/Image/Codecs/Heif/HeifFile.hpp"

#include <aom/aom_encoder.h>
#include <aom/aomcx.h>
#include <libheif/heif_plugin.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <iterator>
#include <memory>
#include <ranges>
#include <span>
#include <string_view>
#include <vector>

namespace nivex::image {
namespace {

struct Option {
    const char* name;
    const char* value;
};

// libaom's tools but those that cost a kind of pictures much time for little; see docs/decisions/heif.md.
constexpr Option everywhere[] = {
    {"row-mt", "1"},
    {"enable-rect-partitions", "0"},
    {"enable-intrabc", "0"},
    {"enable-restoration", "0"},
    {"enable-filter-intra", "0"},
    {"enable-smooth-intra", "0"},
};
constexpr Option inDrawings[] = {{"tune-content", "screen"}};
constexpr Option inPhotographs[] = {
    {"enable-palette", "0"},
    {"use-intra-dct-only", "1"},
    {"max-partition-size", "64"},
};
constexpr Option inSmallOnes[] = {{"min-partition-size", "8"}};
constexpr Option inLargeOnes[] = {
    {"min-partition-size", "16"},
    {"enable-directional-intra", "0"},
    {"enable-paeth-intra", "0"},
    {"enable-cfl-intra", "0"},
};

struct Tools {
    std::string_view name;
    std::array<std::span<const Option>, 3> options;
    double bitsPart; // of the bit rate that a photograph needs for a quantizer
    double cdefFrom; // the quantizer from which on ringing is worth the time of looking for it (CDEF)
};

constexpr Tools allTools[] = {
    {"drawing", {everywhere, inDrawings}, 0.5, 0},
    {"small photograph", {everywhere, inPhotographs, inSmallOnes}, 1, 0},
    {"large photograph", {everywhere, inPhotographs, inLargeOnes}, 1, 23},
};

struct StillAv1 {
    double quantizer = 20;
    const Tools* tools = &allTools[2];
    unsigned processors = 1;
    heif_chroma chroma = heif_chroma_420;
    std::vector<std::uint8_t> coded;
    bool isHandedOver = false;
};

constexpr heif_error done{heif_error_Ok, heif_suberror_Unspecified, "done"};
constexpr heif_error failed{heif_error_Encoder_plugin_error, heif_suberror_Unspecified, "failed"};
constexpr heif_error unknownParameter{heif_error_Usage_error, heif_suberror_Unsupported_parameter, "unknown parameter"};

StillAv1& state(void* encoder) { return *static_cast<StillAv1*>(encoder); }

using Encoder = std::unique_ptr<aom_codec_ctx_t, HeifRelease<aom_codec_destroy>>;

/// A picture as libaom is told of it. The planes stay libheif's; libaom copies them, though its interface is not const.
aom_image_t planesOf(const heif_image* picture)
{
    const bool isGrey = heif_image_get_colorspace(picture) == heif_colorspace_monochrome;
    const bool isDeep = heif_image_get_bits_per_pixel_range(picture, heif_channel_Y) > 8;
    const bool isFine = heif_image_get_chroma_format(picture) == heif_chroma_444;
    const int format = (isFine ? AOM_IMG_FMT_I444 : AOM_IMG_FMT_I420) | (isDeep ? AOM_IMG_FMT_HIGHBITDEPTH : 0);

    int rowBytes = 0;
    const auto plane = [&](heif_channel channel) {
        return const_cast<std::uint8_t*>(heif_image_get_plane_readonly(picture, channel, &rowBytes));
    };
    aom_image_t planes{};
    aom_img_wrap(&planes, static_cast<aom_img_fmt_t>(format),
                 static_cast<unsigned>(heif_image_get_width(picture, heif_channel_Y)),
                 static_cast<unsigned>(heif_image_get_height(picture, heif_channel_Y)), 1, plane(heif_channel_Y));
    planes.monochrome = isGrey ? 1 : 0;
    planes.range = AOM_CR_FULL_RANGE;
    const heif_channel channels[] = {heif_channel_Y, heif_channel_Cb, heif_channel_Cr};
    for (int i = 0; i < (isGrey ? 1 : 3); ++i) {
        planes.planes[i] = plane(channels[i]);
        planes.stride[i] = rowBytes;
    }
    return planes;
}

/// The bit rate in kilobits for which libaom 3.6 chooses an index, 4 times a quantizer, for a single picture. It counts
/// blocks and looks at nothing else, but for what it takes for a drawing on its own: there it takes the finer
/// quantizer. Found by trying.
unsigned bitRateOf(unsigned index, unsigned width, unsigned height, double part)
{
    constexpr double kilobitsOfBlock = 7.85;
    constexpr double firstSteep = 95; // up to it the step of the format grows by 1, then by about 2 %
    const double blocks = std::ceil(width / 16.0) * std::ceil(height / 16.0);
    const double beyond = std::max(0.0, index - firstSteep);
    const double step = (std::min<double>(index, firstSteep) + 7) * std::exp(beyond * (0.0156 + 0.000016 * beyond));
    return std::max(1u, static_cast<unsigned>(std::lround(part * kilobitsOfBlock * blocks / step)));
}

aom_codec_enc_cfg_t configured(aom_codec_enc_cfg_t configuration, const StillAv1& settings, const aom_image_t& planes,
                               int bits)
{
    const bool isFine = planes.x_chroma_shift == 0;
    configuration.g_w = planes.d_w;
    configuration.g_h = planes.d_h;
    configuration.g_limit = 1;
    configuration.g_lag_in_frames = 0;
    configuration.g_threads = settings.processors;
    configuration.g_profile = bits == 12 ? 2 : isFine ? 1 : 0;
    configuration.g_bit_depth = static_cast<aom_bit_depth_t>(bits);
    configuration.g_input_bit_depth = static_cast<unsigned>(bits);
    configuration.monochrome = static_cast<unsigned>(planes.monochrome);
    // Between two quantizers lie three finer ones, which libaom takes only where a bit rate asks for them.
    const auto index = static_cast<unsigned>(std::lround(settings.quantizer * 4));
    const bool isBetween = index % 4 != 0;
    configuration.rc_end_usage = isBetween ? AOM_CBR : AOM_Q;
    configuration.rc_min_quantizer = index / 4;
    configuration.rc_max_quantizer = index / 4 + (isBetween ? 1 : 0);
    if (isBetween)
        configuration.rc_target_bitrate = bitRateOf(index, planes.d_w, planes.d_h, settings.tools->bitsPart);
    return configuration;
}

/// The colours, for programs that look into the coded picture rather than the file around it.
bool describeColors(aom_codec_ctx_t& encoder, const heif_image* picture)
{
    if (aom_codec_control(&encoder, AV1E_SET_COLOR_RANGE, AOM_CR_FULL_RANGE) != AOM_CODEC_OK)
        return false;
    heif_color_profile_nclx* found = nullptr;
    if (!isOk(heif_image_get_nclx_color_profile(picture, &found)))
        return true;
    const HeifCodedColors colors{found};
    return aom_codec_control(&encoder, AV1E_SET_COLOR_PRIMARIES, colors->color_primaries) == AOM_CODEC_OK &&
           aom_codec_control(&encoder, AV1E_SET_TRANSFER_CHARACTERISTICS, colors->transfer_characteristics) ==
               AOM_CODEC_OK &&
           aom_codec_control(&encoder, AV1E_SET_MATRIX_COEFFICIENTS, colors->matrix_coefficients) == AOM_CODEC_OK;
}

bool isSet(aom_codec_ctx_t& encoder, const StillAv1& settings)
{
    constexpr int speed = 6; // the fastest of this way of coding
    return aom_codec_control(&encoder, AOME_SET_CPUUSED, speed) == AOM_CODEC_OK &&
           aom_codec_control(&encoder, AOME_SET_CQ_LEVEL, static_cast<unsigned>(std::lround(settings.quantizer))) ==
               AOM_CODEC_OK &&
           aom_codec_control(&encoder, AV1E_SET_ENABLE_CDEF, settings.quantizer < settings.tools->cdefFrom ? 0 : 1) ==
               AOM_CODEC_OK &&
           std::ranges::all_of(settings.tools->options | std::views::join, [&](const Option& option) {
               return aom_codec_set_option(&encoder, option.name, option.value) == AOM_CODEC_OK;
           });
}

bool encode(StillAv1& settings, const heif_image* picture, heif_image_input_class kind)
{
    settings.coded.clear();
    settings.isHandedOver = false;
    const aom_image_t planes = planesOf(picture);
    const int bits = heif_image_get_bits_per_pixel_range(picture, heif_channel_Y);

    aom_codec_enc_cfg_t defaults{};
    if (aom_codec_enc_config_default(aom_codec_av1_cx(), &defaults, AOM_USAGE_GOOD_QUALITY) != AOM_CODEC_OK)
        return false;
    const aom_codec_enc_cfg_t configuration = configured(defaults, settings, planes, bits);
    aom_codec_ctx_t context{};
    if (aom_codec_enc_init(&context, aom_codec_av1_cx(), &configuration, bits > 8 ? AOM_CODEC_USE_HIGHBITDEPTH : 0) !=
        AOM_CODEC_OK)
        return false;
    const Encoder encoder{&context};
    const bool hasColors = kind != heif_image_input_class_alpha;
    if (!isSet(context, settings) || (hasColors && !describeColors(context, picture)) ||
        aom_codec_encode(&context, &planes, 0, 1, 0) != AOM_CODEC_OK)
        return false;
    aom_codec_iter_t position = nullptr;
    while (const aom_codec_cx_pkt_t* packet = aom_codec_get_cx_data(&context, &position)) {
        if (packet->kind != AOM_CODEC_CX_FRAME_PKT)
            continue;
        const auto* bytes = static_cast<const std::uint8_t*>(packet->data.frame.buf);
        settings.coded.insert(settings.coded.end(), bytes, bytes + packet->data.frame.sz);
    }
    return !settings.coded.empty();
}

heif_error setParameter(StillAv1& settings, std::string_view name, const char* value)
{
    const auto* const found = std::ranges::find(allTools, std::string_view{value}, &Tools::name);
    if (name == "quantizer")
        settings.quantizer = std::clamp(std::atof(value), 1.0, 61.0);
    else if (name == "threads")
        settings.processors = static_cast<unsigned>(std::max(1, std::atoi(value)));
    else if (name == "chroma")
        settings.chroma = std::string_view{value} == "444" ? heif_chroma_444 : heif_chroma_420;
    else if (name == "tools" && found != std::end(allTools))
        settings.tools = found;
    else
        return unknownParameter;
    return done;
}

heif_encoder_plugin plugin()
{
    heif_encoder_plugin made{};
    made.plugin_api_version = 3;
    made.compression_format = heif_compression_AV1;
    made.id_name = stillAv1Encoder;
    made.priority = 10; // below libheif's own: it is asked for by name
    made.supports_lossy_compression = 1;
    made.get_plugin_name = [] { return aom_codec_version_str(); };
    made.new_encoder = [](void** encoder) {
        *encoder = new StillAv1;
        return done;
    };
    made.free_encoder = [](void* encoder) { delete static_cast<StillAv1*>(encoder); };
    made.set_parameter_quality = [](void*, int) { return unknownParameter; };
    made.get_parameter_quality = [](void*, int*) { return unknownParameter; };
    made.set_parameter_lossless = [](void*, int) { return unknownParameter; };
    made.get_parameter_lossless = [](void*, int* isLossless) {
        *isLossless = 0;
        return done;
    };
    made.set_parameter_logging_level = [](void*, int) { return done; };
    made.get_parameter_logging_level = [](void*, int* level) {
        *level = 0;
        return done;
    };
    made.list_parameters = [](void*) {
        static const heif_encoder_parameter* parameters[] = {nullptr};
        return static_cast<const heif_encoder_parameter**>(parameters);
    };
    made.set_parameter_integer = [](void*, const char*, int) { return unknownParameter; };
    made.get_parameter_integer = [](void*, const char*, int*) { return unknownParameter; };
    made.set_parameter_boolean = [](void*, const char*, int) { return unknownParameter; };
    made.get_parameter_boolean = [](void*, const char*, int*) { return unknownParameter; };
    // libheif hands on what is in no list of parameters as text.
    made.set_parameter_string = [](void* encoder, const char* name, const char* value) {
        return setParameter(state(encoder), name, value);
    };
    made.get_parameter_string = [](void*, const char*, char*, int) { return unknownParameter; };
    made.query_input_colorspace = [](heif_colorspace* colors, heif_chroma* chroma) {
        *colors = heif_colorspace_YCbCr;
        *chroma = heif_chroma_420;
    };
    made.query_input_colorspace2 = [](void* encoder, heif_colorspace* colors, heif_chroma* chroma) {
        const bool isGrey = *colors == heif_colorspace_monochrome;
        *colors = isGrey ? heif_colorspace_monochrome : heif_colorspace_YCbCr;
        *chroma = isGrey ? heif_chroma_monochrome : state(encoder).chroma;
    };
    made.encode_image = [](void* encoder, const heif_image* picture, heif_image_input_class kind) {
        return encode(state(encoder), picture, kind) ? done : failed;
    };
    made.get_compressed_data = [](void* encoder, std::uint8_t** data, int* size, heif_encoded_data_type*) {
        StillAv1& settings = state(encoder);
        *data = settings.isHandedOver ? nullptr : settings.coded.data();
        *size = settings.isHandedOver ? 0 : static_cast<int>(settings.coded.size());
        settings.isHandedOver = true;
        return done;
    };
    return made;
}

} // namespace

void addStillAv1Encoder()
{
    static const heif_encoder_plugin encoder = plugin();
    static const bool isAdded = [] {
        heif_register_encoder_plugin(&encoder);
        return true;
    }();
    static_cast<void>(isAdded);
}

} // namespace nivex::image
