#include "NivexWorkers/Image/Codecs/HeifFastAv1.hpp"

#include <libheif/heif_plugin.h>
#include <svt-av1/EbSvtAv1Enc.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string_view>
#include <vector>

namespace nivex::image {
namespace {

constexpr int preset = 8; // 0 (slowest) to 12; see docs/decisions/heif.md

struct FastAv1 {
    int quality = 85;
    int processors = 1;
    std::vector<std::uint8_t> coded;
    bool isHandedOver = false;
};

constexpr heif_error done{heif_error_Ok, heif_suberror_Unspecified, "done"};
constexpr heif_error failed{heif_error_Encoder_plugin_error, heif_suberror_Unspecified, "failed"};
constexpr heif_error unknownParameter{heif_error_Usage_error, heif_suberror_Unsupported_parameter, "unknown parameter"};

FastAv1& state(void* encoder) { return *static_cast<FastAv1*>(encoder); }

struct CloseEncoder {
    void operator()(EbComponentType* encoder) const
    {
        svt_av1_enc_deinit(encoder);
        svt_av1_enc_deinit_handle(encoder);
    }
};
using SvtEncoder = std::unique_ptr<EbComponentType, CloseEncoder>;

/// The quantizer, 0…63, at which a file has the size that libaom's has at this quality. A key frame gets a finer one
/// than it asks for, because frames that build on it are expected.
std::uint32_t quantizerOf(int quality)
{
    return static_cast<std::uint32_t>(std::clamp(std::lround(78 - 0.545 * quality), 1L, 63L));
}

EbSvtAv1EncConfiguration configured(EbSvtAv1EncConfiguration configuration, const FastAv1& settings, int width,
                                    int height)
{
    configuration.enc_mode = preset;
    configuration.source_width = static_cast<std::uint32_t>(width);
    configuration.source_height = static_cast<std::uint32_t>(height);
    configuration.encoder_bit_depth = 8;
    configuration.encoder_color_format = EB_YUV420;
    configuration.color_range = EB_CR_FULL_RANGE;
    configuration.profile = MAIN_PROFILE;
    configuration.frame_rate_numerator = 1;
    configuration.frame_rate_denominator = 1;
    configuration.intra_period_length = 0;
    configuration.hierarchical_levels = 3;
    configuration.rate_control_mode = 0; // one quantizer
    configuration.enable_adaptive_quantization = 0;
    configuration.qp = quantizerOf(settings.quality);
    configuration.logical_processors = static_cast<std::uint32_t>(settings.processors);
    return configuration;
}

/// The planes stay libheif's; the encoder copies them. Its interface is not const.
EbSvtIOFormat planesOf(const heif_image* image, int width, int height)
{
    const auto plane = [image](heif_channel channel, std::uint32_t& rowBytes) {
        int bytes = 0;
        auto* samples = const_cast<std::uint8_t*>(heif_image_get_plane_readonly(image, channel, &bytes));
        rowBytes = static_cast<std::uint32_t>(bytes);
        return samples;
    };
    EbSvtIOFormat planes{};
    planes.luma = plane(heif_channel_Y, planes.y_stride);
    planes.cb = plane(heif_channel_Cb, planes.cb_stride);
    planes.cr = plane(heif_channel_Cr, planes.cr_stride);
    planes.width = static_cast<std::uint32_t>(width);
    planes.height = static_cast<std::uint32_t>(height);
    planes.color_fmt = EB_YUV420;
    planes.bit_depth = EB_EIGHT_BIT;
    return planes;
}

bool encode(FastAv1& settings, const heif_image* image)
{
    settings.coded.clear();
    settings.isHandedOver = false;
    const int width = heif_image_get_width(image, heif_channel_Y);
    const int height = heif_image_get_height(image, heif_channel_Y);
    EbSvtIOFormat planes = planesOf(image, width, height);
    if (!planes.luma || !planes.cb || !planes.cr)
        return false;

    EbComponentType* made = nullptr;
    EbSvtAv1EncConfiguration defaults{};
    if (svt_av1_enc_init_handle(&made, nullptr, &defaults) != EB_ErrorNone)
        return false;
    const SvtEncoder encoder{made};
    EbSvtAv1EncConfiguration configuration = configured(defaults, settings, width, height);
    if (svt_av1_enc_set_parameter(made, &configuration) != EB_ErrorNone || svt_av1_enc_init(made) != EB_ErrorNone)
        return false;

    EbBufferHeaderType picture{};
    picture.size = sizeof picture;
    picture.p_buffer = reinterpret_cast<std::uint8_t*>(&planes);
    picture.n_filled_len = static_cast<std::uint32_t>(width) * static_cast<std::uint32_t>(height) / 2 * 3;
    picture.pic_type = EB_AV1_KEY_PICTURE;
    EbBufferHeaderType end{};
    end.size = sizeof end;
    end.flags = EB_BUFFERFLAG_EOS;
    if (svt_av1_enc_send_picture(made, &picture) != EB_ErrorNone ||
        svt_av1_enc_send_picture(made, &end) != EB_ErrorNone)
        return false;
    for (bool isLast = false; !isLast;) {
        EbBufferHeaderType* packet = nullptr;
        if (svt_av1_enc_get_packet(made, &packet, 1) != EB_ErrorNone)
            return false;
        isLast = (packet->flags & EB_BUFFERFLAG_EOS) != 0;
        settings.coded.insert(settings.coded.end(), packet->p_buffer, packet->p_buffer + packet->n_filled_len);
        svt_av1_enc_release_out_buffer(&packet);
    }
    return true;
}

heif_encoder_plugin plugin()
{
    heif_encoder_plugin made{};
    made.plugin_api_version = 3;
    made.compression_format = heif_compression_AV1;
    made.id_name = fastAv1Encoder;
    made.priority = 10; // below libaom: it is asked for by name
    made.supports_lossy_compression = 1;
    made.get_plugin_name = [] { return svt_av1_get_version(); };
    made.new_encoder = [](void** encoder) {
        *encoder = new FastAv1;
        return done;
    };
    made.free_encoder = [](void* encoder) { delete static_cast<FastAv1*>(encoder); };
    made.set_parameter_quality = [](void* encoder, int quality) {
        state(encoder).quality = quality;
        return done;
    };
    made.get_parameter_quality = [](void* encoder, int* quality) {
        *quality = state(encoder).quality;
        return done;
    };
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
        if (std::string_view{name} != "threads")
            return unknownParameter;
        state(encoder).processors = std::max(1, std::atoi(value));
        return done;
    };
    made.get_parameter_string = [](void*, const char*, char*, int) { return unknownParameter; };
    made.query_input_colorspace = [](heif_colorspace* colors, heif_chroma* chroma) {
        *colors = heif_colorspace_YCbCr;
        *chroma = heif_chroma_420;
    };
    made.query_input_colorspace2 = [](void*, heif_colorspace* colors, heif_chroma* chroma) {
        *colors = heif_colorspace_YCbCr;
        *chroma = heif_chroma_420;
    };
    made.encode_image = [](void* encoder, const heif_image* image, heif_image_input_class) {
        return encode(state(encoder), image) ? done : failed;
    };
    made.get_compressed_data = [](void* encoder, std::uint8_t** data, int* size, heif_encoded_data_type*) {
        FastAv1& settings = state(encoder);
        *data = settings.isHandedOver ? nullptr : settings.coded.data();
        *size = settings.isHandedOver ? 0 : static_cast<int>(settings.coded.size());
        settings.isHandedOver = true;
        return done;
    };
    return made;
}

} // namespace

void addFastAv1Encoder()
{
    static const heif_encoder_plugin encoder = plugin();
    static const bool isAdded = [] {
        ::setenv("SVT_LOG", "0", 1); // else it tells its settings on standard error
        heif_register_encoder_plugin(&encoder);
        return true;
    }();
    static_cast<void>(isAdded);
}

} // namespace nivex::image
