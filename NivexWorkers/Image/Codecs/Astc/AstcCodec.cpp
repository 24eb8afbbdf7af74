// ASTC textures in the file format of the reference encoder: a header of 16 bytes, then blocks of 16 bytes
// (Khronos Data Format 1.3, chapter 23; astc-encoder, Docs/FileFormat.md).
#include "NivexWorkers/Image/Codecs/Codec.hpp"
#include "NivexWorkers/Image/Codecs/PixelBuffer.hpp"
#include "NivexWorkers/Image/Codecs/Rows.hpp"

#include "NivexKit/Foundation/Bytes/ByteReader.hpp"
#include "NivexKit/Foundation/Bytes/ByteSource.hpp"
#include "NivexKit/Foundation/Bytes/ByteWriter.hpp"
#include "NivexKit/Foundation/Files/OutputFile.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"

#include <astcenc.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace nivex::image {
namespace {

using vips::VImage;

constexpr std::uint32_t signature = 0x5CA1'AB13;
constexpr std::size_t headerBytes = 16;
constexpr std::size_t blockBytes = 16;
constexpr astcenc_swizzle asStored{ASTCENC_SWZ_R, ASTCENC_SWZ_G, ASTCENC_SWZ_B, ASTCENC_SWZ_A};
constexpr std::size_t bands = 4; // the decoder and the encoder want no other number

struct BlockSize {
    unsigned width;
    unsigned height;

    bool operator==(const BlockSize&) const = default;
};

// Khronos Data Format 1.3, table of the block sizes of two dimensions
constexpr BlockSize blockSizes[] = {{4, 4}, {5, 4},  {5, 5},  {6, 5},  {6, 6},   {8, 5},   {8, 6},
                                    {8, 8}, {10, 5}, {10, 6}, {10, 8}, {10, 10}, {12, 10}, {12, 12}};

struct Texture {
    BlockSize block;
    std::int64_t width;
    std::int64_t height;

    std::size_t blocksAcross() const { return (static_cast<std::size_t>(width) + block.width - 1) / block.width; }
    std::size_t blocksDown() const { return (static_cast<std::size_t>(height) + block.height - 1) / block.height; }
    /// How many rows of blocks are handled at once, so that all of them never lie in memory.
    std::size_t rowsAtOnce() const { return std::max<std::size_t>(1, 65'536 / blocksAcross()); }
};

using Context = std::unique_ptr<astcenc_context, decltype(&astcenc_context_free)>;

Context context(astcenc_profile profile, BlockSize block, float quality, unsigned flags, unsigned threads,
                const ConversionError& error)
{
    astcenc_config config{};
    astcenc_context* made = nullptr;
    if (astcenc_config_init(profile, block.width, block.height, 1, quality, flags, &config) != ASTCENC_SUCCESS ||
        astcenc_context_alloc(&config, threads, &made) != ASTCENC_SUCCESS)
        throw error;
    return {made, astcenc_context_free};
}

/// Calls `work` with the numbers 0 to threads - 1, each in a thread; true when all of them return success.
bool succeedsInAll(unsigned threads, const std::function<astcenc_error(unsigned)>& work)
{
    std::atomic<bool> succeeded = true;
    const auto run = [&](unsigned number) {
        if (work(number) != ASTCENC_SUCCESS)
            succeeded = false;
    };
    {
        std::vector<std::jthread> others;
        for (unsigned number = 1; number < threads; ++number)
            others.emplace_back(run, number);
        run(0);
    }
    return succeeded;
}

// Reading

Texture readHeader(const ByteSource& source, const ResourceLimits& limits)
{
    const auto bytes = source.read(0, headerBytes);
    ByteReader header{bytes, damaged("ASTC header: too short or without its signature")};
    header.expect(signature);
    Texture texture{};
    texture.block.width = header.u8();
    texture.block.height = header.u8();
    const unsigned blockDepth = header.u8();
    texture.width = header.u24();
    texture.height = header.u24();
    if (const std::uint32_t depth = header.u24(); blockDepth > 1 || depth > 1)
        throw ConversionError::unsupported("les textures ASTC en trois dimensions"_fr);
    if (std::ranges::find(blockSizes, texture.block) == std::end(blockSizes))
        throw damaged("ASTC header: no such block size");
    requireAcceptableSize(texture.width, texture.height, 1, limits);
    if ((source.size() - headerBytes) / blockBytes < texture.blocksAcross() * texture.blocksDown())
        throw damaged("ASTC: fewer blocks than the header announces");
    return texture;
}

class AstcDecoding {
public:
    AstcDecoding(const ByteSource& source, const Texture& texture) : source_{source}, texture_{texture} {}

    VImage image()
    {
        return hasHighRange()
                   ? decoded<float>(ASTCENC_PRF_HDR, ASTCENC_TYPE_F32, VIPS_FORMAT_FLOAT, VIPS_INTERPRETATION_scRGB)
                   : decoded<std::uint8_t>(ASTCENC_PRF_LDR_SRGB, ASTCENC_TYPE_U8, VIPS_FORMAT_UCHAR,
                                           VIPS_INTERPRETATION_sRGB);
    }

private:
    template <class Visit>
    void eachStrip(Visit visit)
    {
        for (std::size_t row = 0; row < texture_.blocksDown(); row += texture_.rowsAtOnce()) {
            const std::size_t rows = std::min(texture_.rowsAtOnce(), texture_.blocksDown() - row);
            const std::size_t size = rows * texture_.blocksAcross() * blockBytes;
            auto blocks = source_.read(headerBytes + row * texture_.blocksAcross() * blockBytes, size);
            if (blocks.size() != size)
                throw damaged("ASTC: the file ends inside its blocks");
            visit(row, rows, reinterpret_cast<const std::uint8_t*>(blocks.data()), size);
        }
    }

    /// Looks at every block: the file does not say which kind it holds, and a block that means nothing is damage.
    bool hasHighRange()
    {
        const Context context = image::context(ASTCENC_PRF_HDR, texture_.block, ASTCENC_PRE_FASTEST, 0, 1,
                                               damaged("ASTC: the decoder refuses the block size"));
        std::atomic<bool> found = false;
        eachStrip([&](std::size_t, std::size_t, const std::uint8_t* blocks, std::size_t size) {
            const bool isWhole = succeedsInAll(threads_, [&](unsigned number) {
                astcenc_block_info info;
                for (std::size_t at = number * blockBytes; at < size; at += threads_ * blockBytes) {
                    const astcenc_error status = astcenc_get_block_info(context.get(), blocks + at, &info);
                    if (status != ASTCENC_SUCCESS || info.is_error_block)
                        return ASTCENC_ERR_BAD_PARAM;
                    if (info.is_hdr_block || isHighRangeConstant(blocks + at))
                        found = true;
                }
                return ASTCENC_SUCCESS;
            });
            if (!isWhole)
                throw damaged("ASTC: a block that means nothing");
        });
        return found;
    }

    /// A block of one colour begins with nine bits of its own; the next tells half floats from whole numbers. The
    /// library's description of a block leaves that out.
    static bool isHighRangeConstant(const std::uint8_t* block)
    {
        const unsigned mode = block[0] | static_cast<unsigned>(block[1]) << 8;
        return (mode & 0x1FF) == 0x1FC && (mode & 0x200) != 0;
    }

    template <class Sample>
    VImage decoded(astcenc_profile profile, astcenc_type type, VipsBandFormat format, VipsInterpretation colors)
    {
        const Context context =
            image::context(profile, texture_.block, ASTCENC_PRE_FASTEST, ASTCENC_FLG_DECOMPRESS_ONLY, threads_,
                           damaged("ASTC: the decoder refuses the block size"));
        PixelBuffer pixels{texture_.width, texture_.height, bands, format, colors};
        bool isOpaque = true;
        eachStrip([&](std::size_t row, std::size_t rows, const std::uint8_t* blocks, std::size_t size) {
            const auto top = static_cast<std::int64_t>(row * texture_.block.height);
            const auto bottom =
                std::min(texture_.height, static_cast<std::int64_t>((row + rows) * texture_.block.height));
            void* slice = pixels.row(top);
            astcenc_image strip{.dim_x = static_cast<unsigned>(texture_.width),
                                .dim_y = static_cast<unsigned>(bottom - top),
                                .dim_z = 1,
                                .data_type = type,
                                .data = &slice};
            if (!succeedsInAll(threads_, [&](unsigned number) {
                    return astcenc_decompress_image(context.get(), blocks, size, &strip, &asStored, number);
                }))
                throw damaged("ASTC: a block that cannot be decoded");
            astcenc_decompress_reset(context.get());
            Sample* sample = pixels.samples<Sample>(top);
            for (auto count = static_cast<std::size_t>((bottom - top) * texture_.width); count > 0; --count) {
                isOpaque = tidied(sample) && isOpaque;
                sample += bands;
            }
        });
        const VImage image = pixels.image();
        return isOpaque ? image.extract_band(0, VImage::option()->set("n", 3)) : image;
    }

    /// Brings a pixel into the range of our pictures; true when it is opaque.
    static bool tidied(std::uint8_t* pixel) { return pixel[3] == 255; }
    static bool tidied(float* pixel)
    {
        for (std::size_t band = 0; band < bands; ++band)
            if (!std::isfinite(pixel[band]))
                pixel[band] = pixel[band] > 0 ? 65'504.F : 0; // the largest half float
        pixel[3] = std::clamp(pixel[3], 0.F, 1.F);
        return pixel[3] >= 1;
    }

    const ByteSource& source_;
    const Texture texture_;
    const unsigned threads_ = std::max(1u, std::thread::hardware_concurrency());
};

// Writing

/// The size of the block is the quality: each takes 128 bits, whatever it covers.
BlockSize blockFor(double quality)
{
    return quality >= 0.95   ? BlockSize{4, 4}
           : quality >= 0.9  ? BlockSize{5, 5}
           : quality >= 0.7  ? BlockSize{6, 6}
           : quality >= 0.5  ? BlockSize{8, 8}
           : quality >= 0.25 ? BlockSize{10, 10}
                             : BlockSize{12, 12};
}

class AstcEncoding {
public:
    AstcEncoding(const VImage& image, const WriteRequest& request)
        : image_{image}, request_{request}, threads_{request.processors}, texture_{.block = blockFor(request.quality),
                                                                                   .width = image.width(),
                                                                                   .height = image.height()},
          context_{context(ASTCENC_PRF_LDR_SRGB, texture_.block, ASTCENC_PRE_FAST, 0, threads_, failed())},
          file_{request.file}
    {
    }

    void write()
    {
        writeHeader();
        const std::size_t linesAtOnce = texture_.rowsAtOnce() * texture_.block.height;
        std::size_t lines = 0;
        pullRows(image_, request_.progress, 0, 1, [&](int y, std::span<const std::byte> row) {
            append(row);
            if (++lines == linesAtOnce || y + 1 == image_.height()) {
                encode(lines);
                lines = 0;
            }
        });
        file_.finish();
    }

private:
    static ConversionError failed() { return notSaved("ASTC"); }

    void writeHeader()
    {
        ByteWriter header{ByteOrder::little};
        header.u32(signature);
        header.u8(static_cast<std::uint8_t>(texture_.block.width));
        header.u8(static_cast<std::uint8_t>(texture_.block.height));
        header.u8(1); // the depth of a block
        header.u24(static_cast<std::uint32_t>(texture_.width)).u24(static_cast<std::uint32_t>(texture_.height)).u24(1);
        file_.write(header.view());
    }

    /// Adds a row of 1 to 4 bands as red, green, blue, alpha.
    void append(std::span<const std::byte> row)
    {
        const auto stored = static_cast<std::size_t>(image_.bands());
        const auto* pixel = samplesOf<std::uint8_t>(row);
        for (const auto* end = pixel + row.size(); pixel < end; pixel += stored) {
            const bool isGrey = stored < 3;
            const std::uint8_t samples[] = {pixel[0], pixel[isGrey ? 0 : 1], pixel[isGrey ? 0 : 2],
                                            stored % 2 == 0 ? pixel[stored - 1] : std::uint8_t{255}};
            pixels_.insert(pixels_.end(), std::begin(samples), std::end(samples));
        }
    }

    void encode(std::size_t lines)
    {
        void* slice = pixels_.data();
        astcenc_image strip{.dim_x = static_cast<unsigned>(texture_.width),
                            .dim_y = static_cast<unsigned>(lines),
                            .dim_z = 1,
                            .data_type = ASTCENC_TYPE_U8,
                            .data = &slice};
        const std::size_t rows = (lines + texture_.block.height - 1) / texture_.block.height;
        std::string blocks(rows * texture_.blocksAcross() * blockBytes, '\0');
        if (!succeedsInAll(threads_, [&](unsigned number) {
                return astcenc_compress_image(context_.get(), &strip, &asStored,
                                              reinterpret_cast<std::uint8_t*>(blocks.data()), blocks.size(), number);
            }))
            throw failed();
        astcenc_compress_reset(context_.get());
        file_.write(blocks);
        pixels_.clear();
    }

    const VImage image_;
    const WriteRequest& request_;
    const unsigned threads_;
    const Texture texture_;
    const Context context_;
    NewFile file_;
    std::vector<std::uint8_t> pixels_; // of the strip that is being pulled
};

} // namespace

Picture readAstc(const ReadRequest& request)
{
    const auto source = FileSource::open(request.file);
    if (!source)
        throw damaged(cannotOpen);
    const Texture texture = readHeader(*source, request.limits);
    return {.frames = {AstcDecoding{*source, texture}.image()}};
}

void writeAstc(const Picture& picture, const WriteRequest& request) { AstcEncoding{picture.first(), request}.write(); }

} // namespace nivex::image
