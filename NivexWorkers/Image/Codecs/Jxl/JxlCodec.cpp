// JPEG XL (ISO/IEC 18181) by libjxl itself: libvips' reader and writer lose animations, Exif and XMP.
#include "NivexWorkers/Image/Codecs/Codec.hpp"
#include "NivexWorkers/Image/Codecs/PixelBuffer.hpp"
#include "NivexWorkers/Image/Codecs/Profiles.hpp"
#include "NivexWorkers/Image/Codecs/Rows.hpp"
#include "NivexWorkers/Image/Pixels/Primaries.hpp"

#include "NivexKit/Foundation/Bytes/ByteReader.hpp"
#include "NivexKit/Foundation/Bytes/ByteSource.hpp"
#include "NivexKit/Foundation/Files/OutputFile.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"

#include <jxl/decode_cxx.h>
#include <jxl/encode_cxx.h>
#include <jxl/thread_parallel_runner_cxx.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace nivex::image {
namespace {

using vips::VImage;

constexpr std::size_t largestMetadata = 64u << 20;
constexpr std::size_t profileLimit = 16u << 20;
constexpr int shownWithoutDuration = 100; // milliseconds of a frame that names none

JxlDataType dataType(VipsBandFormat format)
{
    return format == VIPS_FORMAT_UCHAR    ? JXL_TYPE_UINT8
           : format == VIPS_FORMAT_USHORT ? JXL_TYPE_UINT16
                                          : JXL_TYPE_FLOAT;
}

JxlPixelFormat pixelFormat(int bands, VipsBandFormat format)
{
    return {.num_channels = static_cast<std::uint32_t>(bands),
            .data_type = dataType(format),
            .endianness = JXL_NATIVE_ENDIAN,
            .align = 0};
}

// Reading

class JxlDecoding {
public:
    explicit JxlDecoding(const ReadRequest& request)
        : request_{request}, bytes_{contents(request.file)}, decoder_{JxlDecoderMake(nullptr)},
          runner_{JxlThreadParallelRunnerMake(nullptr, std::thread::hardware_concurrency())}
    {
    }

    Picture picture()
    {
        require(JxlDecoderSetParallelRunner(decoder_.get(), JxlThreadParallelRunner, runner_.get()));
        require(JxlDecoderSubscribeEvents(decoder_.get(), JXL_DEC_BASIC_INFO | JXL_DEC_COLOR_ENCODING | JXL_DEC_FRAME |
                                                              JXL_DEC_FULL_IMAGE | JXL_DEC_BOX));
        require(JxlDecoderSetUnpremultiplyAlpha(decoder_.get(), JXL_TRUE));
        require(JxlDecoderSetDecompressBoxes(decoder_.get(), JXL_TRUE));
        require(
            JxlDecoderSetInput(decoder_.get(), reinterpret_cast<const std::uint8_t*>(bytes_.data()), bytes_.size()));
        JxlDecoderCloseInput(decoder_.get());
        while (advance()) {
        }
        if (picture_.frames.empty())
            throw damaged("libjxl: no frame");
        if (picture_.frames.size() > 1)
            picture_.kind = FrameKind::animation;
        else
            picture_.delays.clear();
        return std::move(picture_);
    }

private:
    static std::vector<std::byte> contents(const std::filesystem::path& file)
    {
        const auto source = FileSource::open(file);
        if (!source)
            throw damaged(cannotOpen);
        return source->read(0, static_cast<std::size_t>(source->size()));
    }

    static void require(JxlDecoderStatus status)
    {
        if (status != JXL_DEC_SUCCESS)
            throw damaged("libjxl: status " + std::to_string(status));
    }

    /// Handles the next event; false after the last one.
    bool advance()
    {
        const JxlDecoderStatus event = JxlDecoderProcessInput(decoder_.get());
        switch (event) {
        case JXL_DEC_BASIC_INFO:
            readInfo();
            return true;
        case JXL_DEC_COLOR_ENCODING:
            readColors();
            return true;
        case JXL_DEC_FRAME:
            beginFrame();
            return true;
        case JXL_DEC_NEED_IMAGE_OUT_BUFFER:
            giveFrameBuffer();
            return true;
        case JXL_DEC_FULL_IMAGE:
            endFrame();
            return true;
        case JXL_DEC_BOX:
            endBox();
            beginBox();
            return true;
        case JXL_DEC_BOX_NEED_MORE_OUTPUT:
            growBox();
            return true;
        case JXL_DEC_SUCCESS:
            endBox();
            return false;
        default: // an error, or an end before the end
            throw damaged("libjxl: event " + std::to_string(event));
        }
    }

    void readInfo()
    {
        require(JxlDecoderGetBasicInfo(decoder_.get(), &info_));
        requireAcceptableSize(info_.xsize, info_.ysize, 1, request_.limits);
        for (std::uint32_t i = 0; i < info_.num_extra_channels; ++i) {
            JxlExtraChannelInfo channel;
            require(JxlDecoderGetExtraChannelInfo(decoder_.get(), i, &channel));
            if (channel.type == JXL_CHANNEL_BLACK)
                throw ConversionError::unsupported("la façon dont ce fichier décrit ses couleurs"_fr);
        }
        isGrey_ = info_.num_color_channels == 1;
        hasAlpha_ = info_.alpha_bits > 0;
        picture_.loops = info_.have_animation ? static_cast<int>(std::min(info_.animation.num_loops, 65'535u)) : 0;
    }

    void readColors()
    {
        format_ =
            info_.bits_per_sample <= 8 && info_.exponent_bits_per_sample == 0 ? VIPS_FORMAT_UCHAR : VIPS_FORMAT_USHORT;
        const bool isFloating = info_.exponent_bits_per_sample > 0 || info_.bits_per_sample > 16;
        JxlColorEncoding colors;
        if (isFloating && !info_.uses_original_profile) {
            JxlColorEncodingSetToLinearSRGB(&colors, isGrey_);
            JxlDecoderSetPreferredColorProfile(decoder_.get(), &colors);
        }
        const bool isNamed = JxlDecoderGetColorAsEncodedProfile(decoder_.get(), nullptr, JXL_COLOR_PROFILE_TARGET_DATA,
                                                                &colors) == JXL_DEC_SUCCESS;
        if (isNamed && isFloating && colors.transfer_function == JXL_TRANSFER_FUNCTION_LINEAR) {
            format_ = VIPS_FORMAT_FLOAT; // of any other curve 16 bits and its profile say as much
            if (!isGrey_ && (colors.primaries != JXL_PRIMARIES_SRGB || colors.white_point != JXL_WHITE_POINT_D65))
                primaries_ = primariesOf(colors);
            return;
        }
        const bool isSrgb = isNamed && colors.transfer_function == JXL_TRANSFER_FUNCTION_SRGB &&
                            colors.white_point == JXL_WHITE_POINT_D65 &&
                            (isGrey_ || colors.primaries == JXL_PRIMARIES_SRGB);
        std::size_t size = 0;
        if (isSrgb || JxlDecoderGetICCProfileSize(decoder_.get(), nullptr, JXL_COLOR_PROFILE_TARGET_DATA, &size) !=
                          JXL_DEC_SUCCESS)
            return;
        if (size > profileLimit)
            throw damaged("libjxl: colour profile too large");
        profile_.resize(size);
        require(JxlDecoderGetColorAsICCProfile(decoder_.get(), nullptr, JXL_COLOR_PROFILE_TARGET_DATA,
                                               reinterpret_cast<std::uint8_t*>(profile_.data()), size));
    }

    static Primaries primariesOf(const JxlColorEncoding& colors)
    {
        const auto point = [](const double(&xy)[2]) { return Chromaticity{xy[0], xy[1]}; };
        return {point(colors.primaries_red_xy), point(colors.primaries_green_xy), point(colors.primaries_blue_xy),
                point(colors.white_point_xy)};
    }

    void beginFrame()
    {
        JxlFrameHeader header;
        require(JxlDecoderGetFrameHeader(decoder_.get(), &header));
        int milliseconds = 0;
        if (info_.have_animation && info_.animation.tps_numerator > 0) {
            const double ticksPerSecond =
                static_cast<double>(info_.animation.tps_numerator) / info_.animation.tps_denominator;
            milliseconds = static_cast<int>(std::clamp(std::round(header.duration * 1000 / ticksPerSecond), 0.0, 1e9));
        }
        picture_.delays.push_back(milliseconds > 0 ? milliseconds : shownWithoutDuration);
        requireAcceptableSize(info_.xsize, info_.ysize, std::ssize(picture_.frames) + 1, request_.limits);
    }

    int bands() const { return (isGrey_ ? 1 : 3) + (hasAlpha_ ? 1 : 0); }

    void giveFrameBuffer()
    {
        const bool isDeep = format_ == VIPS_FORMAT_USHORT;
        buffer_.emplace(info_.xsize, info_.ysize, bands(), format_,
                        format_ == VIPS_FORMAT_FLOAT ? VIPS_INTERPRETATION_scRGB
                        : isGrey_                    ? isDeep ? VIPS_INTERPRETATION_GREY16 : VIPS_INTERPRETATION_B_W
                        : isDeep                     ? VIPS_INTERPRETATION_RGB16
                                                     : VIPS_INTERPRETATION_sRGB);
        const JxlPixelFormat format = pixelFormat(bands(), format_);
        std::size_t size = 0;
        require(JxlDecoderImageOutBufferSize(decoder_.get(), &format, &size));
        if (size > buffer_->bytes().size())
            throw damaged("libjxl: a frame larger than its header says");
        require(JxlDecoderSetImageOutBuffer(decoder_.get(), &format, buffer_->bytes().data(), size));
    }

    void endFrame()
    {
        if (!buffer_)
            throw damaged("libjxl: a frame without pixels");
        VImage frame = buffer_->image();
        buffer_.reset();
        if (format_ == VIPS_FORMAT_FLOAT && isGrey_) { // floating point is always colour
            std::vector<VImage> planes(3, frame[0]);
            if (hasAlpha_)
                planes.push_back(frame[1]);
            frame = VImage::bandjoin(planes).copy(VImage::option()->set("interpretation", VIPS_INTERPRETATION_scRGB));
        } else if (primaries_) {
            frame = toLinearSrgb(frame, *primaries_).value_or(frame);
        }
        embedProfile(frame, profile_);
        picture_.frames.push_back(std::move(frame));
        if (!request_.wantsAllFrames)
            JxlDecoderSkipFrames(decoder_.get(), 1u << 30); // what follows may still be metadata
    }

    // Boxes: Exif and XMP, compressed or not

    void beginBox()
    {
        JxlBoxType type;
        require(JxlDecoderGetBoxType(decoder_.get(), type, JXL_TRUE));
        const std::string_view name{type, sizeof type};
        if ((name == "Exif" && picture_.metadata.exif.empty()) || (name == "xml " && picture_.metadata.xmp.empty())) {
            boxName_ = name;
            box_.resize(64u << 10);
            require(JxlDecoderSetBoxBuffer(decoder_.get(), reinterpret_cast<std::uint8_t*>(box_.data()), box_.size()));
        }
    }

    void growBox()
    {
        const std::size_t filled = box_.size() - JxlDecoderReleaseBoxBuffer(decoder_.get());
        if (boxName_.empty() || box_.size() >= largestMetadata)
            throw damaged("libjxl: metadata box too large");
        box_.resize(box_.size() * 2);
        require(JxlDecoderSetBoxBuffer(decoder_.get(), reinterpret_cast<std::uint8_t*>(box_.data()) + filled,
                                       box_.size() - filled));
    }

    void endBox()
    {
        if (boxName_.empty())
            return;
        box_.resize(box_.size() - JxlDecoderReleaseBoxBuffer(decoder_.get()));
        if (boxName_ == "xml ") {
            picture_.metadata.xmp.assign(reinterpret_cast<const char*>(box_.data()), box_.size());
        } else if (ByteReader reader{box_, ByteOrder::big}; reader.left() > 4) {
            reader.skip(reader.u32()); // how far the TIFF structure is
            const auto exif = reader.bytes(reader.left());
            picture_.metadata.exif.assign(exif.begin(), exif.end());
        }
        boxName_.clear();
    }

    const ReadRequest& request_;
    const std::vector<std::byte> bytes_;
    JxlDecoderPtr decoder_;
    JxlThreadParallelRunnerPtr runner_;
    JxlBasicInfo info_{};
    bool isGrey_ = false;
    bool hasAlpha_ = false;
    VipsBandFormat format_ = VIPS_FORMAT_UCHAR;
    std::string profile_;
    std::optional<Primaries> primaries_;
    std::optional<PixelBuffer> buffer_; // of the frame that is being decoded
    std::string boxName_;               // of the box that is being read
    std::vector<std::byte> box_;
    Picture picture_;
};

// Writing

/// The distance from the original that a quality stands for, as the reference encoder's own program has it.
float distance(double quality)
{
    const double percent = quality * 100;
    return static_cast<float>(percent >= 30 ? 0.1 + (100 - percent) * 0.09
                                            : std::min(15.0, 6.4 + std::pow(2.5, (30 - percent) / 5) / 6.25));
}

constexpr int lossyEffort = 4;
constexpr int losslessEffort = 3;

class JxlEncoding {
public:
    JxlEncoding(const Picture& picture, const WriteRequest& request)
        : picture_{picture}, request_{request}, isLossless_{request.quality >= 1}, file_{request.file},
          encoder_{JxlEncoderMake(nullptr)}, runner_{JxlThreadParallelRunnerMake(nullptr, request.processors)}
    {
    }

    void write()
    {
        require(JxlEncoderSetParallelRunner(encoder_.get(), JxlThreadParallelRunner, runner_.get()));
        const bool hasMetadata = !picture_.metadata.exif.empty() || !picture_.metadata.xmp.empty();
        if (hasMetadata)
            require(JxlEncoderUseBoxes(encoder_.get()));
        describe();
        if (hasMetadata)
            addMetadata();
        const auto count = static_cast<double>(picture_.frames.size());
        for (std::size_t i = 0; i < picture_.frames.size(); ++i) {
            addFrame(i, static_cast<double>(i) / count, (static_cast<double>(i) + pullingShare) / count);
            if (i + 1 == picture_.frames.size())
                JxlEncoderCloseInput(encoder_.get());
            takeOutput();
        }
        file_.finish();
    }

private:
    static constexpr double pullingShare = 0.3; // of the time for a frame

    static void require(JxlEncoderStatus status)
    {
        if (status != JXL_ENC_SUCCESS)
            throw notSaved("JPEG XL");
    }

    void describe()
    {
        const VImage& image = picture_.first();
        const bool isGrey = image.bands() < 3;
        const bool isFloating = image.format() == VIPS_FORMAT_FLOAT;
        JxlBasicInfo info;
        JxlEncoderInitBasicInfo(&info);
        info.xsize = static_cast<std::uint32_t>(image.width());
        info.ysize = static_cast<std::uint32_t>(image.height());
        info.bits_per_sample = static_cast<std::uint32_t>(vips_format_sizeof(image.format()) * 8);
        info.exponent_bits_per_sample = isFloating ? 8 : 0;
        info.num_color_channels = isGrey ? 1 : 3;
        if (image.bands() % 2 == 0) {
            info.num_extra_channels = 1;
            info.alpha_bits = info.bits_per_sample;
            info.alpha_exponent_bits = info.exponent_bits_per_sample;
        }
        info.uses_original_profile = isLossless_ ? JXL_TRUE : JXL_FALSE;
        if (picture_.kind == FrameKind::animation) {
            info.have_animation = JXL_TRUE;
            info.animation.tps_numerator = 1000; // durations are milliseconds
            info.animation.tps_denominator = 1;
            info.animation.num_loops = static_cast<std::uint32_t>(std::max(0, picture_.loops));
        }
        require(JxlEncoderSetBasicInfo(encoder_.get(), &info));
        if (JxlEncoderGetRequiredCodestreamLevel(encoder_.get()) == 10)
            require(JxlEncoderSetCodestreamLevel(encoder_.get(), 10));

        const std::string_view profile = isFloating ? std::string_view{} : profileOf(image);
        if (!profile.empty() &&
            JxlEncoderSetICCProfile(encoder_.get(), reinterpret_cast<const std::uint8_t*>(profile.data()),
                                    profile.size()) == JXL_ENC_SUCCESS)
            return;
        JxlColorEncoding colors;
        if (isFloating)
            JxlColorEncodingSetToLinearSRGB(&colors, isGrey);
        else
            JxlColorEncodingSetToSRGB(&colors, isGrey);
        require(JxlEncoderSetColorEncoding(encoder_.get(), &colors));
    }

    void addMetadata()
    {
        const Metadata& metadata = picture_.metadata;
        if (!metadata.exif.empty()) {
            std::vector<std::uint8_t> box(4 + metadata.exif.size()); // four bytes tell where the structure begins: 0
            std::memcpy(box.data() + 4, metadata.exif.data(), metadata.exif.size());
            require(JxlEncoderAddBox(encoder_.get(), "Exif", box.data(), box.size(), JXL_FALSE));
        }
        if (!metadata.xmp.empty())
            require(JxlEncoderAddBox(encoder_.get(), "xml ", reinterpret_cast<const std::uint8_t*>(metadata.xmp.data()),
                                     metadata.xmp.size(), JXL_FALSE));
    }

    void addFrame(std::size_t index, double begin, double end)
    {
        JxlEncoderFrameSettings* settings = JxlEncoderFrameSettingsCreate(encoder_.get(), nullptr);
        if (isLossless_)
            require(JxlEncoderSetFrameLossless(settings, JXL_TRUE));
        else
            require(JxlEncoderSetFrameDistance(settings, distance(request_.quality)));
        require(JxlEncoderFrameSettingsSetOption(settings, JXL_ENC_FRAME_SETTING_EFFORT,
                                                 isLossless_ ? losslessEffort : lossyEffort));
        if (picture_.kind == FrameKind::animation) {
            JxlFrameHeader header;
            JxlEncoderInitFrameHeader(&header);
            header.duration = index < picture_.delays.size()
                                  ? static_cast<std::uint32_t>(std::max(0, picture_.delays[index]))
                                  : static_cast<std::uint32_t>(shownWithoutDuration);
            require(JxlEncoderSetFrameHeader(settings, &header));
        }
        const VImage& frame = picture_.frames[index];
        std::vector<std::byte> pixels;
        pullRows(frame, request_.progress, begin, end, [&](int, std::span<const std::byte> row) {
            if (pixels.empty())
                pixels.reserve(row.size() * static_cast<std::size_t>(frame.height()));
            pixels.insert(pixels.end(), row.begin(), row.end());
        });
        const JxlPixelFormat format = pixelFormat(frame.bands(), frame.format());
        require(JxlEncoderAddImageFrame(settings, &format, pixels.data(), pixels.size()));
    }

    void takeOutput()
    {
        std::string chunk(1u << 20, '\0');
        for (;;) {
            auto* next = reinterpret_cast<std::uint8_t*>(chunk.data());
            std::size_t left = chunk.size();
            const JxlEncoderStatus status = JxlEncoderProcessOutput(encoder_.get(), &next, &left);
            file_.write({chunk.data(), chunk.size() - left});
            if (status == JXL_ENC_NEED_MORE_OUTPUT)
                continue;
            require(status);
            return;
        }
    }

    const Picture& picture_;
    const WriteRequest& request_;
    const bool isLossless_;
    NewFile file_;
    JxlEncoderPtr encoder_;
    JxlThreadParallelRunnerPtr runner_;
};

} // namespace

Picture readJxl(const ReadRequest& request) { return JxlDecoding{request}.picture(); }

void writeJxl(const Picture& picture, const WriteRequest& request) { JxlEncoding{picture, request}.write(); }

} // namespace nivex::image
