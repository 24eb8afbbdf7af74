// JPEG 2000: the boxes are read and written here, the codestream by OpenJPEG. Its own reading and writing of boxes is
// not used: it stops the program when it is to write a profile.
#include "NivexWorkers/Image/Codecs/Codec.hpp"
#include "NivexWorkers/Image/Codecs/Jpeg2000/Jpeg2000Boxes.hpp"
#include "NivexWorkers/Image/Codecs/PixelBuffer.hpp"
#include "NivexWorkers/Image/Codecs/Profiles.hpp"
#include "NivexWorkers/Image/Codecs/Release.hpp"
#include "NivexWorkers/Image/Codecs/Rows.hpp"

#include "NivexKit/Foundation/Files/OutputFile.hpp"

#include <openjpeg.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace nivex::image {
namespace {

using vips::VImage;
using ChannelKind = Jpeg2000File::Channel::Kind;

using CodecHandle = std::unique_ptr<opj_codec_t, Release<opj_destroy_codec>>;
using StreamHandle = std::unique_ptr<opj_stream_t, Release<opj_stream_destroy>>;
using ImageHandle = std::unique_ptr<opj_image_t, Release<opj_image_destroy>>;

constexpr std::size_t streamBuffer = 1 << 20;
constexpr OPJ_SIZE_T atEnd = static_cast<OPJ_SIZE_T>(-1);

void ignore(const char*, void*) {}
void keep(const char* message, void* messages) { *static_cast<std::string*>(messages) += message; }

CodecHandle silent(opj_codec_t* codec)
{
    opj_set_info_handler(codec, ignore, nullptr);
    opj_set_warning_handler(codec, ignore, nullptr);
    opj_set_error_handler(codec, ignore, nullptr);
    return CodecHandle{codec};
}

/// The codestream within its file.
struct CodestreamReading {
    const ByteSource& source;
    std::uint64_t begin;
    std::uint64_t size;
    std::uint64_t position = 0;

    static OPJ_SIZE_T read(void* buffer, OPJ_SIZE_T count, void* context)
    {
        auto& self = *static_cast<CodestreamReading*>(context);
        const auto wanted = static_cast<std::size_t>(std::min<std::uint64_t>(count, self.size - self.position));
        const std::size_t got = self.source.read(self.begin + self.position, {static_cast<std::byte*>(buffer), wanted});
        self.position += got;
        return got == 0 ? atEnd : got;
    }
    static OPJ_OFF_T skip(OPJ_OFF_T count, void* context)
    {
        auto& self = *static_cast<CodestreamReading*>(context);
        if (count < 0 || static_cast<std::uint64_t>(count) > self.size - self.position)
            return -1;
        self.position += static_cast<std::uint64_t>(count);
        return count;
    }
    static OPJ_BOOL seek(OPJ_OFF_T position, void* context)
    {
        auto& self = *static_cast<CodestreamReading*>(context);
        if (position < 0 || static_cast<std::uint64_t>(position) > self.size)
            return OPJ_FALSE;
        self.position = static_cast<std::uint64_t>(position);
        return OPJ_TRUE;
    }
};

/// The codestream that is being made. The encoder goes back to fill in lengths.
struct CodestreamWriting {
    std::string bytes;
    std::size_t position = 0;

    static OPJ_SIZE_T write(void* buffer, OPJ_SIZE_T count, void* context)
    {
        auto& self = *static_cast<CodestreamWriting*>(context);
        try {
            if (self.bytes.size() < self.position + count)
                self.bytes.resize(self.position + count);
        } catch (const std::bad_alloc&) {
            return atEnd;
        }
        std::memcpy(self.bytes.data() + self.position, buffer, count);
        self.position += count;
        return count;
    }
    static OPJ_OFF_T skip(OPJ_OFF_T count, void* context)
    {
        static_cast<CodestreamWriting*>(context)->position += static_cast<std::size_t>(count);
        return count;
    }
    static OPJ_BOOL seek(OPJ_OFF_T position, void* context)
    {
        static_cast<CodestreamWriting*>(context)->position = static_cast<std::size_t>(position);
        return OPJ_TRUE;
    }
};

/// How the picture of a file is stored in ours.
struct Layout {
    std::vector<Jpeg2000File::Channel> channels; // the colours, then alpha
    bool hasAlpha = false;
    bool isPremultiplied = false;
    bool isDeep = false;

    int bands() const { return static_cast<int>(channels.size()); }
    int colors() const { return bands() - (hasAlpha ? 1 : 0); }
};

int bitsOf(const Jpeg2000File& file, const Jpeg2000File::Channel& channel)
{
    return channel.paletteColumn ? file.palette.bits[*channel.paletteColumn] : file.components[channel.component].bits;
}

Layout layoutOf(const Jpeg2000File& file)
{
    std::vector<Jpeg2000File::Channel> colors;
    const Jpeg2000File::Channel* alpha = nullptr;
    for (const Jpeg2000File::Channel& channel : file.channels) {
        if (channel.kind == ChannelKind::color)
            colors.push_back(channel);
        else if (channel.kind != ChannelKind::other && !alpha)
            alpha = &channel;
    }
    if (colors.empty())
        throw damaged("cdef: no channel of colour");
    const bool isCmyk = colors.size() >= 4 && (file.colorSpace == Jpeg2000File::ColorSpace::cmyk ||
                                               colorsOfProfile(file.profile) == ProfileColors::cmyk);
    const bool isGrey = colors.size() < 3 || file.colorSpace == Jpeg2000File::ColorSpace::grey ||
                        colorsOfProfile(file.profile) == ProfileColors::grey;
    colors.resize(isCmyk ? 4 : isGrey ? 1 : 3);
    Layout layout{.channels = std::move(colors)};
    if (alpha) {
        layout.hasAlpha = true;
        layout.isPremultiplied = alpha->kind == ChannelKind::premultipliedAlpha;
        layout.channels.push_back(*alpha);
    }
    layout.isDeep = std::ranges::any_of(layout.channels, [&](const auto& each) { return bitsOf(file, each) > 8; });
    return layout;
}

VipsInterpretation interpretationOf(const Layout& layout)
{
    switch (layout.colors()) {
    case 1:
        return layout.isDeep ? VIPS_INTERPRETATION_GREY16 : VIPS_INTERPRETATION_B_W;
    case 4:
        return VIPS_INTERPRETATION_CMYK;
    default:
        return layout.isDeep ? VIPS_INTERPRETATION_RGB16 : VIPS_INTERPRETATION_sRGB;
    }
}

/// Turns stored numbers of one channel into samples of 8 or 16 bits.
class SampleScale {
public:
    SampleScale(const Jpeg2000File& file, const Jpeg2000File::Channel& channel, bool isDeep)
    {
        const auto& component = file.components[channel.component];
        const int bits = component.bits;
        offset_ = component.isSigned ? std::int64_t{1} << (bits - 1) : 0;
        const std::uint32_t most = isDeep ? 65'535 : 255;
        if (channel.paletteColumn) {
            const std::size_t columns = file.palette.bits.size();
            const std::uint32_t top = (1u << file.palette.bits[*channel.paletteColumn]) - 1;
            for (std::size_t i = 0; i < file.palette.rows; ++i)
                table_.push_back(scaled(file.palette.values[i * columns + *channel.paletteColumn], top, most));
        } else if (bits <= 16) {
            const std::uint32_t top = (1u << bits) - 1;
            for (std::uint32_t i = 0; i <= top; ++i)
                table_.push_back(scaled(i, top, most));
        } else {
            shift_ = bits - 16; // the table's use of the rest of the range would need gigabytes
            for (std::uint32_t i = 0; i <= 65'535; ++i)
                table_.push_back(static_cast<std::uint16_t>(i));
        }
    }

    std::uint16_t operator()(OPJ_INT32 stored) const
    {
        const std::int64_t value = (stored + offset_) >> shift_;
        return table_[static_cast<std::size_t>(std::clamp<std::int64_t>(value, 0, std::ssize(table_) - 1))];
    }

private:
    static std::uint16_t scaled(std::uint32_t value, std::uint32_t top, std::uint32_t most)
    {
        return static_cast<std::uint16_t>((std::uint64_t{std::min(value, top)} * most + top / 2) / top);
    }

    std::int64_t offset_ = 0;
    int shift_ = 0;
    std::vector<std::uint16_t> table_;
};

/// Luma and colour differences of the whole range (IEC 61966-2-1, amendment 1) to red, green and blue.
template <class Sample>
void convertFromYcc(Sample* pixel, std::size_t count, std::size_t bands)
{
    const float most = sizeof(Sample) == 1 ? 255.F : 65'535.F;
    const float middle = sizeof(Sample) == 1 ? 128.F : 32'768.F;
    const auto whole = [=](float value) { return static_cast<Sample>(std::lrint(std::clamp(value, 0.F, most))); };
    for (; count > 0; --count, pixel += bands) {
        const float y = pixel[0];
        const float blue = static_cast<float>(pixel[1]) - middle;
        const float red = static_cast<float>(pixel[2]) - middle;
        pixel[0] = whole(y + 1.402F * red);
        pixel[1] = whole(y - 0.344136F * blue - 0.714136F * red);
        pixel[2] = whole(y + 1.772F * blue);
    }
}

class Decoding {
public:
    Decoding(const ByteSource& source, const Jpeg2000File& file, OPJ_UINT32 halvings)
        : file_{file}, layout_{layoutOf(file)}, halvings_{halvings}, reading_{source, file.codestreamBegin,
                                                                              file.codestreamEnd -
                                                                                  file.codestreamBegin},
          codec_{silent(opj_create_decompress(OPJ_CODEC_J2K))}, stream_{opj_stream_create(streamBuffer, OPJ_TRUE)}
    {
        opj_set_error_handler(codec_.get(), keep, &told_);
        opj_stream_set_user_data(stream_.get(), &reading_, nullptr);
        opj_stream_set_user_data_length(stream_.get(), reading_.size);
        opj_stream_set_read_function(stream_.get(), CodestreamReading::read);
        opj_stream_set_skip_function(stream_.get(), CodestreamReading::skip);
        opj_stream_set_seek_function(stream_.get(), CodestreamReading::seek);
        opj_dparameters_t parameters;
        opj_set_default_decoder_parameters(&parameters);
        parameters.cp_reduce = halvings;
        opj_image_t* image = nullptr;
        require(opj_setup_decoder(codec_.get(), &parameters) && opj_decoder_set_strict_mode(codec_.get(), OPJ_TRUE));
        opj_codec_set_threads(codec_.get(), static_cast<int>(std::thread::hardware_concurrency()));
        const bool isHeader = opj_read_header(stream_.get(), codec_.get(), &image);
        image_.reset(image);
        require(isHeader && image && image->numcomps == file.components.size());
    }

    const Layout& layout() const { return layout_; }

    VImage picture()
    {
        const std::int64_t left = first(file_.originX, file_.stepX());
        const std::int64_t top = first(file_.originY, file_.stepY());
        PixelBuffer pixels{first(file_.endX, file_.stepX()) - left, first(file_.endY, file_.stepY()) - top,
                           layout_.bands(), layout_.isDeep ? VIPS_FORMAT_USHORT : VIPS_FORMAT_UCHAR,
                           interpretationOf(layout_)};
        for (const Jpeg2000File::Channel& channel : layout_.channels)
            scales_.emplace_back(file_, channel, layout_.isDeep);
        for (std::int64_t tile = 0; tile < file_.tilesAcross * file_.tilesDown; ++tile) {
            require(opj_get_decoded_tile(codec_.get(), stream_.get(), image_.get(), static_cast<OPJ_UINT32>(tile)));
            const auto& finest = *std::min_element(image_->comps, image_->comps + image_->numcomps, isFiner);
            const Area area{.left = halved(finest.x0) - left,
                            .top = halved(finest.y0) - top,
                            .width = finest.w,
                            .height = finest.h};
            require(area.left >= 0 && area.top >= 0 &&
                    static_cast<std::size_t>(area.left + area.width) * pixelBytes() <= pixels.rowBytes() &&
                    static_cast<std::size_t>(area.top + area.height) * pixels.rowBytes() <= pixels.bytes().size());
            if (layout_.isDeep)
                fill<std::uint16_t>(pixels, area);
            else
                fill<std::uint8_t>(pixels, area);
        }
        return pixels.image();
    }

private:
    struct Area {
        std::int64_t left, top, width, height;
    };

    static bool isFiner(const opj_image_comp_t& a, const opj_image_comp_t& b) { return a.dx * a.dy < b.dx * b.dy; }

    void require(bool condition) const
    {
        if (!condition)
            throw damaged(told_.empty() ? "OpenJPEG: a tile that does not fit" : "OpenJPEG: " + told_);
    }

    std::size_t pixelBytes() const { return layout_.channels.size() * (layout_.isDeep ? 2 : 1); }

    std::int64_t halved(std::int64_t position) const
    {
        const std::int64_t unit = std::int64_t{1} << halvings_;
        return (position + unit - 1) / unit;
    }

    /// The first decoded sample at or after a position of the reference grid.
    std::int64_t first(std::int64_t position, int step) const { return halved((position + step - 1) / step); }

    template <class Sample>
    void fill(PixelBuffer& pixels, const Area& area)
    {
        const std::size_t bands = layout_.channels.size();
        for (std::size_t band = 0; band < bands; ++band) {
            const opj_image_comp_t& component = image_->comps[layout_.channels[band].component];
            require(component.data && component.w > 0 && component.h > 0);
            const auto columns = nearest(area.width, component.w);
            for (std::int64_t y = 0; y < area.height; ++y) {
                const auto line = static_cast<std::size_t>(y * component.h / area.height);
                const OPJ_INT32* stored = component.data + line * component.w;
                Sample* out = pixels.samples<Sample>(area.top + y) + static_cast<std::size_t>(area.left) * bands + band;
                if (component.w == area.width)
                    for (std::int64_t x = 0; x < area.width; ++x, out += bands)
                        *out = static_cast<Sample>(scales_[band](stored[x]));
                else
                    for (std::int64_t x = 0; x < area.width; ++x, out += bands)
                        *out = static_cast<Sample>(scales_[band](stored[columns[static_cast<std::size_t>(x)]]));
            }
        }
        if (isYcc())
            for (std::int64_t y = 0; y < area.height; ++y)
                convertFromYcc(pixels.samples<Sample>(area.top + y) + static_cast<std::size_t>(area.left) * bands,
                               static_cast<std::size_t>(area.width), bands);
    }

    /// For each of `wanted` columns the one of `stored` that covers it.
    static std::vector<std::uint32_t> nearest(std::int64_t wanted, std::uint32_t stored)
    {
        std::vector<std::uint32_t> columns(static_cast<std::size_t>(wanted));
        for (std::int64_t x = 0; x < wanted; ++x)
            columns[static_cast<std::size_t>(x)] = static_cast<std::uint32_t>(x * stored / wanted);
        return columns;
    }

    /// A bare codestream does not name its colours, but only colour differences are stored more coarsely.
    bool isYcc() const
    {
        const auto& components = file_.components;
        return layout_.colors() == 3 &&
               (file_.colorSpace == Jpeg2000File::ColorSpace::sYCC ||
                (file_.colorSpace == Jpeg2000File::ColorSpace::unknown && components.size() == 3 &&
                 components[0].stepX < components[1].stepX && components[1].stepX == components[2].stepX));
    }

    const Jpeg2000File& file_;
    const Layout layout_;
    const OPJ_UINT32 halvings_;
    CodestreamReading reading_;
    std::string told_; // by the library
    CodecHandle codec_;
    StreamHandle stream_;
    ImageHandle image_;
    std::vector<SampleScale> scales_;
};

/// How often the picture may be halved and still be as large as asked.
int halvings(const Jpeg2000File& file, std::int64_t longestSide)
{
    int count = 0;
    if (longestSide > 0)
        while (count < file.resolutionLevels && (std::max(file.width(), file.height()) >> (count + 1)) >= longestSide)
            ++count;
    return count;
}

VImage decoded(const ByteSource& source, const Jpeg2000File& file, int halvings)
{
    Decoding decoding{source, file, static_cast<OPJ_UINT32>(halvings)};
    VImage image = decoding.picture();
    if (decoding.layout().isPremultiplied)
        image = image.unpremultiply().cast(image.format());
    return image;
}

// Writing

/// A picture is encoded in tiles no larger than this: they are what memory holds, and progress is told after each line
/// of them.
constexpr int tileSide = 512;

/// A goal in bytes is shared out among tiles by their area, whatever they show, so there must be few.
constexpr int tileSideUnderGoal = 4096;

struct Tiles {
    int width;
    int height;
    int across;
    int down;
};

Tiles tilesOf(const VImage& image, int longestSide)
{
    const int width = std::min(image.width(), longestSide);
    const int height = std::min(image.height(), longestSide);
    return {width, height, (image.width() + width - 1) / width, (image.height() + height - 1) / height};
}

/// A picture of so few pixels is coded without loss: the encoder's measure of what it may lose means nothing for them,
/// and it costs no more than a few kilobytes.
constexpr std::int64_t fewestPixelsToLoseSome = 64 * 64;

bool isCodedWithLoss(const VImage& image, double quality)
{
    return quality < 1 && std::int64_t{image.width()} * image.height() >= fewestPixelsToLoseSome;
}

/// The peak signal-to-noise ratio in decibels that a quality stands for: 0.85 is free of visible loss.
float decibels(double quality) { return static_cast<float>(26 + 19 * quality); }

class Encoding {
public:
    Encoding(const VImage& image, const WriteRequest& request, std::int64_t codestreamGoal)
        : image_{image}, tiles_{tilesOf(image, codestreamGoal > 0 ? tileSideUnderGoal : tileSide)},
          bands_{static_cast<std::size_t>(image.bands())}, sampleBytes_{image.format() == VIPS_FORMAT_USHORT ? 2u : 1u},
          codec_{silent(opj_create_compress(OPJ_CODEC_J2K))}, stream_{opj_stream_create(streamBuffer, OPJ_FALSE)}
    {
        opj_stream_set_user_data(stream_.get(), &writing_, nullptr);
        opj_stream_set_write_function(stream_.get(), CodestreamWriting::write);
        opj_stream_set_skip_function(stream_.get(), CodestreamWriting::skip);
        opj_stream_set_seek_function(stream_.get(), CodestreamWriting::seek);

        opj_cparameters_t parameters;
        opj_set_default_encoder_parameters(&parameters);
        parameters.tcp_numlayers = 1;
        parameters.tcp_mct = bands_ >= 3 ? 1 : 0;
        const bool isWithLoss = isCodedWithLoss(image, request.quality);
        parameters.irreversible = isWithLoss ? 1 : 0;
        if (codestreamGoal > 0) {
            parameters.cp_disto_alloc = 1;
            const double raw =
                static_cast<double>(image.width()) * image.height() * static_cast<double>(bands_ * sampleBytes_);
            parameters.tcp_rates[0] = static_cast<float>(std::max(1.0, raw / static_cast<double>(codestreamGoal)));
        } else if (isWithLoss) {
            parameters.cp_fixed_quality = 1;
            parameters.tcp_distoratio[0] = decibels(request.quality);
        } else {
            parameters.cp_disto_alloc = 1;
        }
        parameters.tile_size_on = OPJ_TRUE;
        parameters.cp_tdx = tiles_.width;
        parameters.cp_tdy = tiles_.height;
        const auto shortest = static_cast<unsigned>(std::min(tiles_.width, tiles_.height));
        parameters.numresolution = std::min(6, static_cast<int>(std::bit_width(shortest)));

        createImage();
        require(opj_setup_encoder(codec_.get(), &parameters, image_opj_.get()));
        opj_codec_set_threads(codec_.get(), static_cast<int>(request.processors));
        require(opj_start_compress(codec_.get(), image_opj_.get(), stream_.get()));
    }

    std::string codestream(const ProgressCallback& progress)
    {
        strips_.resize(static_cast<std::size_t>(tiles_.across));
        pullRows(image_, progress, 0, 1, [this](int y, std::span<const std::byte> row) {
            if (sampleBytes_ == 2)
                take<std::uint16_t>(y, row);
            else
                take<std::uint8_t>(y, row);
            if (y + 1 == image_.height() || (y + 1) % tiles_.height == 0)
                encodeStrip(y / tiles_.height);
        });
        require(opj_end_compress(codec_.get(), stream_.get()));
        return std::move(writing_.bytes);
    }

private:
    static void require(bool condition)
    {
        if (!condition)
            throw notSaved("JPEG 2000");
    }

    void createImage()
    {
        std::vector<opj_image_cmptparm_t> components(bands_);
        for (opj_image_cmptparm_t& each : components) {
            each = {};
            each.dx = each.dy = 1;
            each.w = static_cast<OPJ_UINT32>(image_.width());
            each.h = static_cast<OPJ_UINT32>(image_.height());
            each.prec = static_cast<OPJ_UINT32>(8 * sampleBytes_);
        }
        image_opj_.reset(opj_image_tile_create(static_cast<OPJ_UINT32>(bands_), components.data(),
                                               bands_ < 3 ? OPJ_CLRSPC_GRAY : OPJ_CLRSPC_SRGB));
        require(image_opj_ != nullptr);
        image_opj_->x1 = static_cast<OPJ_UINT32>(image_.width());
        image_opj_->y1 = static_cast<OPJ_UINT32>(image_.height());
    }

    int widthOf(int column) const { return std::min(tiles_.width, image_.width() - column * tiles_.width); }
    int heightOf(int line) const { return std::min(tiles_.height, image_.height() - line * tiles_.height); }

    /// Sorts a row into the tiles of its strip, component after component as the encoder wants them.
    template <class Sample>
    void take(int y, std::span<const std::byte> row)
    {
        const auto line = static_cast<std::size_t>(y % tiles_.height);
        const auto lines = static_cast<std::size_t>(heightOf(y / tiles_.height));
        const Sample* pixel = samplesOf<Sample>(row);
        for (int column = 0; column < tiles_.across; ++column) {
            const auto width = static_cast<std::size_t>(widthOf(column));
            auto& tile = strips_[static_cast<std::size_t>(column)];
            if (line == 0)
                tile.resize(width * lines * bands_ * sizeof(Sample));
            auto* samples = reinterpret_cast<Sample*>(tile.data());
            for (std::size_t band = 0; band < bands_; ++band) {
                Sample* out = samples + (band * lines + line) * width;
                for (std::size_t x = 0; x < width; ++x)
                    out[x] = pixel[x * bands_ + band];
            }
            pixel += width * bands_;
        }
    }

    void encodeStrip(int line)
    {
        for (int column = 0; column < tiles_.across; ++column) {
            auto& tile = strips_[static_cast<std::size_t>(column)];
            require(opj_write_tile(codec_.get(), static_cast<OPJ_UINT32>(line * tiles_.across + column),
                                   reinterpret_cast<OPJ_BYTE*>(tile.data()), static_cast<OPJ_UINT32>(tile.size()),
                                   stream_.get()));
        }
    }

    const VImage image_;
    const Tiles tiles_;
    const std::size_t bands_;
    const std::size_t sampleBytes_;
    CodestreamWriting writing_;
    CodecHandle codec_;
    StreamHandle stream_;
    ImageHandle image_opj_;
    std::vector<std::vector<std::byte>> strips_; // the tiles of the strip that is being pulled
};

/// Resolution in the file's unit; libvips' default is a picture that does not tell.
double pixelsPerMetre(double pixelsPerMillimetre)
{
    return std::abs(pixelsPerMillimetre - 72 / 25.4) < 0.001 ? 0 : pixelsPerMillimetre * 1000;
}

} // namespace

Picture readJpeg2000(const ReadRequest& request)
{
    const auto source = FileSource::open(request.file);
    if (!source)
        throw damaged(cannotOpen);
    return readJpeg2000(*source, request);
}

Picture readJpeg2000(const ByteSource& source, const ReadRequest& request)
{
    const Jpeg2000File file = readJpeg2000File(source);
    requireAcceptableSize(file.width(), file.height(), 1, request.limits);

    const int count = halvings(file, request.longestSide);
    VImage image;
    try {
        image = decoded(source, file, count);
    } catch (const ConversionError&) {
        if (count == 0)
            throw;
        image = decoded(source, file, 0); // a tile may have fewer resolutions than the main header says
    }
    embedProfile(image, file.profile);
    if (file.pixelsPerMetreX > 0 && file.pixelsPerMetreY > 0 && count == 0)
        image = image.copy(
            VImage::option()->set("xres", file.pixelsPerMetreX / 1000)->set("yres", file.pixelsPerMetreY / 1000));
    return {.frames = {std::move(image)}};
}

void writeJpeg2000(const Picture& picture, const WriteRequest& request) { writeJpeg2000OfBytes(picture, request, 0); }

void writeJpeg2000OfBytes(const Picture& picture, const WriteRequest& request, std::int64_t bytes)
{
    const VImage& image = picture.first();
    const std::string_view profile = profileOf(image);
    const Jpeg2000Head head{.width = static_cast<std::uint32_t>(image.width()),
                            .height = static_cast<std::uint32_t>(image.height()),
                            .components = static_cast<std::uint16_t>(image.bands()),
                            .bits = image.format() == VIPS_FORMAT_USHORT ? 16 : 8,
                            .profile = profile,
                            .pixelsPerMetreX = pixelsPerMetre(image.xres()),
                            .pixelsPerMetreY = pixelsPerMetre(image.yres())};
    const auto around = static_cast<std::int64_t>(jpeg2000Head(head, 0).size());
    const std::int64_t goal = bytes == 0 ? 0 : std::max<std::int64_t>(1, bytes - around);
    const std::string codestream = Encoding{image, request, goal}.codestream(request.progress);
    NewFile file{request.file};
    file.write(jpeg2000Head(head, codestream.size()));
    file.write(codestream);
    file.finish();
}

} // namespace nivex::image
