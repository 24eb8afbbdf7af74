// Camera raw, by LibRaw: DNG and the cameras' own formats.
#include "NivexWorkers/Image/Codecs/Codec.hpp"
#include "NivexWorkers/Image/Codecs/PixelBuffer.hpp"

#include "NivexKit/Foundation/Text/StringTable.hpp"

#include <libraw/libraw.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <iterator>
#include <memory>
#include <string>
#include <string_view>

namespace nivex::image {
namespace {

void ignoreDamage(void*, const char*, int) {}

/// A failure in words: an unknown camera cannot be told from a head that makes no sense.
void require(int status)
{
    switch (status) {
    case LIBRAW_SUCCESS:
        return;
    case LIBRAW_FILE_UNSUPPORTED:
        throw ConversionError::unreadableSource(
            "son contenu est endommagé ou vient d'un appareil photo qui n'est pas pris en charge"_fr);
    case LIBRAW_UNSUFFICIENT_MEMORY:
    case LIBRAW_TOO_BIG:
        throw ConversionError::resourceLimit("l'image demande trop de mémoire"_fr);
    default:
        throw damaged(libraw_strerror(status));
    }
}

/// Brightness is not fitted to each picture, so that those of a series stay comparable; a DNG file says itself how much
/// brighter than its data it is meant to be (DNG 1.4, BaselineExposure, in stops).
float brightness(const LibRaw& raw)
{
    constexpr float absent = -999; // what LibRaw puts where the file is silent
    const float stops = raw.imgdata.color.dng_levels.baseline_exposure;
    const bool isTold = raw.imgdata.idata.dng_version != 0 && std::isfinite(stops) && stops > absent;
    return isTold ? std::exp2(std::clamp(stops, -4.0F, 4.0F)) : 1;
}

constexpr int adaptiveHomogeneity = 3; // the demosaicing of the best quality for its time
constexpr int srgb = 1;
constexpr int clippedWhite = 0; // else overexposed places turn pink

void setUp(LibRaw& raw, const ReadRequest& request)
{
    auto& parameters = raw.imgdata.params;
    parameters.use_camera_wb = 1;
    parameters.output_color = srgb;
    parameters.output_bps = 16;
    parameters.gamm[0] = 1 / 2.4; // the curve of sRGB
    parameters.gamm[1] = 12.92;
    parameters.no_auto_bright = 1;
    parameters.bright = brightness(raw);
    // The white level of a DNG file is right; that of a camera is found in the picture where it comes close.
    if (raw.imgdata.idata.dng_version != 0)
        parameters.adjust_maximum_thr = 0;
    parameters.highlight = clippedWhite;
    parameters.user_qual = adaptiveHomogeneity;
    const std::int64_t longest = std::max(raw.imgdata.sizes.iwidth, raw.imgdata.sizes.iheight);
    // Four sensor elements make one pixel, and nothing is left to guess.
    parameters.half_size = request.longestSide > 0 && longest / 2 >= request.longestSide;
}

/// How few bits a sensor element can take in a file, by LibRaw's decoder.
struct LeastBits {
    std::string_view decoder;
    double bits;
};

// clang-format off
constexpr LeastBits leastBits[] = {
    {"unpacked_load_raw()",   16},
    {"sony_arw2_load_raw()",  8},
    {"eight_bit_load_raw()",  8},
    {"panasonic_load_raw()",  128.0 / 14}, // blocks of 16 bytes, which it reads without asking how many there are
    {"lossy_dng_load_raw()",  1.0 / 64},
    {"deflate_dng_load_raw()", 1.0 / 64},
    {"crxLoadRaw()",          1.0 / 64},
};
// clang-format on
constexpr double leastBitsOfOthers = 1; // of the shortest code word

/// Throws ConversionError where the file is too short for the picture that it announces: some decoders make up what is
/// missing, and all would allocate for it.
void requireRoomForElements(LibRaw& raw)
{
    libraw_decoder_info_t decoder{};
    require(raw.get_decoder_info(&decoder));
    const auto row = std::ranges::find(leastBits, decoder.decoder_name, &LeastBits::decoder);
    const libraw_internal_data_t& internal = *raw.get_internal_data_pointer();
    const double bytes = static_cast<double>(internal.internal_data.input->size() - internal.unpacker_data.data_offset);
    const double elements =
        static_cast<double>(raw.imgdata.sizes.raw_width) * static_cast<double>(raw.imgdata.sizes.raw_height);
    if (bytes * 8 < std::floor(elements * (row == std::end(leastBits) ? leastBitsOfOthers : row->bits)))
        throw damaged("raw data: fewer bytes than the sensor's elements need");
}

std::uint32_t wordAt(LibRaw_abstract_datastream& file, std::int64_t offset, bool isBigEndian)
{
    std::uint8_t bytes[4];
    if (file.seek(offset, SEEK_SET) != 0 || file.read(bytes, 1, sizeof bytes) != sizeof bytes)
        throw damaged("raw tiles: their table is cut");
    if (!isBigEndian)
        std::ranges::reverse(bytes);
    return std::uint32_t{bytes[0]} << 24 | std::uint32_t{bytes[1]} << 16 | std::uint32_t{bytes[2]} << 8 | bytes[3];
}

/// Throws ConversionError where a piece of the picture that should be a JPEG stream is none: there the library leaves
/// the rest of the picture black without a word.
void requireJpegPieces(LibRaw& raw)
{
    static constexpr std::string_view decodersOfJpeg[] = {"lossless_dng_load_raw()", "lossy_dng_load_raw()",
                                                          "lossless_jpeg_load_raw()"};
    constexpr std::uint32_t startOfImage = 0xFFD8; // ITU-T T.81
    libraw_decoder_info_t decoder{};
    require(raw.get_decoder_info(&decoder));
    if (std::ranges::find(decodersOfJpeg, decoder.decoder_name) == std::end(decodersOfJpeg))
        return;
    const libraw_internal_data_t& internal = *raw.get_internal_data_pointer();
    const unpacker_data_t& layout = internal.unpacker_data;
    LibRaw_abstract_datastream& file = *internal.internal_data.input;
    const auto beginsAsJpeg = [&](std::int64_t offset) { return wordAt(file, offset, true) >> 16 == startOfImage; };
    const auto pieces = [](std::int64_t whole, unsigned piece) { return piece == 0 ? 1 : (whole + piece - 1) / piece; };
    const bool isTiled = layout.tile_length < INT_MAX;
    const std::int64_t count = isTiled ? pieces(raw.imgdata.sizes.raw_width, layout.tile_width) *
                                             pieces(raw.imgdata.sizes.raw_height, layout.tile_length)
                                       : 1;
    constexpr short bigEndian = 0x4D4D; // "MM"
    for (std::int64_t i = 0; i < count; ++i)
        if (!beginsAsJpeg(isTiled ? wordAt(file, layout.data_offset + 4 * i, layout.order == bigEndian)
                                  : layout.data_offset))
            throw damaged("raw tiles: no JPEG where one is announced");
}

} // namespace

Picture readRaw(const ReadRequest& request)
{
    const auto raw = std::make_unique<LibRaw>();
    raw->set_dataerror_handler(ignoreDamage, nullptr);
    require(raw->open_file(request.file.c_str()));
    requireAcceptableSize(raw->imgdata.sizes.raw_width, raw->imgdata.sizes.raw_height, 1, request.limits);
    requireAcceptableSize(raw->imgdata.sizes.iwidth, raw->imgdata.sizes.iheight, 1, request.limits);
    requireRoomForElements(*raw);
    setUp(*raw, request);

    requireJpegPieces(*raw);
    require(raw->unpack());
    if (raw->error_count() > 0)
        throw damaged("LibRaw: " + std::to_string(raw->error_count()) +
                      " errors in the data"); // the library goes on where data end too early
    require(raw->dcraw_process());            // turns the picture upright, too

    int width = 0;
    int height = 0;
    int colors = 0;
    int bits = 0;
    raw->get_mem_image_format(&width, &height, &colors, &bits);
    requireAcceptableSize(width, height, 1, request.limits);
    if (bits != 16 || (colors != 1 && colors != 3))
        throw damaged("LibRaw: a picture of " + std::to_string(colors) + " colours and " + std::to_string(bits) +
                      " bits");
    PixelBuffer pixels{width, height, colors, VIPS_FORMAT_USHORT,
                       colors == 1 ? VIPS_INTERPRETATION_GREY16 : VIPS_INTERPRETATION_RGB16};
    require(raw->copy_mem_image(pixels.bytes().data(), static_cast<int>(pixels.rowBytes()), 0));
    return {.frames = {pixels.image()}};
}

} // namespace nivex::image
