// The chunks of animated PNG: acTL tells of the animation, an fcTL of each frame; the pixels follow in fdAT, those of a
// first frame that other programs show as the picture in IDAT.
#include "NivexWorkers/Image/Codecs/Codec.hpp"
#include "NivexWorkers/Image/Codecs/Png/Apng.hpp"
#include "NivexWorkers/Image/Codecs/Png/CheckedChunks.hpp"

#include "NivexKit/Foundation/Bytes/ByteWriter.hpp"

#include <algorithm>
#include <cmath>
#include <span>
#include <string>
#include <string_view>
#include <utility>

namespace nivex::image {
namespace {

constexpr std::size_t sequenceBytes = 4;

std::vector<std::byte> soundData(const ByteSource& file, const PngChunk& chunk)
{
    auto data = checkedData(file, chunk);
    if (!data)
        throw damaged(chunk.type + ": checksum");
    return std::move(*data);
}

/// Reads the chunks of one file in their order.
class ApngChunks {
public:
    ApngChunks(const ByteSource& file, const ResourceLimits& limits) : file_{file}, limits_{limits} {}

    std::optional<Apng> read()
    {
        PngChunks chunks{file_};
        while (const auto next = chunks.next()) {
            take(*next);
            if (hasPicture_ && !isAnimated_)
                return std::nullopt;
            if (next->type == "IEND")
                return finished();
        }
        if (isAnimated_)
            throw damaged("APNG: ends before IEND");
        return std::nullopt;
    }

private:
    void take(const PngChunk& chunk)
    {
        if (chunk.type == "IHDR")
            takeHeader(chunk);
        else if (chunk.type == "acTL" && !hasPicture_)
            takeControl(chunk);
        else if ((chunk.type == "PLTE" || chunk.type == "tRNS") && !hasPicture_)
            takePalette(chunk);
        else if (chunk.type == "IDAT")
            takePicture(chunk);
        else if (chunk.type == "fcTL" && isAnimated_)
            takeFrame(chunk);
        else if (chunk.type == "fdAT" && isAnimated_)
            takePixels(chunk);
    }

    void takeHeader(const PngChunk& chunk)
    {
        constexpr std::size_t headerBytes = 13;
        if (chunk.count != headerBytes || !apng_.header.empty())
            throw damaged("IHDR: length, or a second one");
        apng_.header = soundData(file_, chunk);
        ByteReader reader{apng_.header, damaged("IHDR: too short"), ByteOrder::big};
        const std::uint32_t width = reader.u32();
        const std::uint32_t height = reader.u32();
        requireAcceptableSize(width, height, 1, limits_);
        apng_.width = static_cast<int>(width);
        apng_.height = static_cast<int>(height);
    }

    void takeControl(const PngChunk& chunk)
    {
        constexpr std::size_t controlBytes = 8;
        if (chunk.count != controlBytes || apng_.header.empty())
            throw damaged("acTL: length, or before IHDR");
        const auto data = soundData(file_, chunk);
        ByteReader reader{data, damaged("acTL: too short"), ByteOrder::big};
        reader.skip(4); // the number of frames, which the frames tell themselves
        apng_.plays = static_cast<int>(std::min<std::uint32_t>(reader.u32(), 65'535));
        isAnimated_ = true;
    }

    void takePalette(const PngChunk& chunk)
    {
        constexpr std::size_t largest = 3 * 256;
        if (chunk.count > largest)
            return; // libpng knows what to make of it
        const auto whole = file_.read(chunk.offset, static_cast<std::size_t>(chunk.end() - chunk.offset));
        apng_.palette.insert(apng_.palette.end(), whole.begin(), whole.end());
    }

    void takePicture(const PngChunk& chunk)
    {
        if (!hasPicture_)
            isFirstFrame_ = !apng_.frames.empty();
        hasPicture_ = true;
        if (isFirstFrame_ && apng_.frames.size() == 1)
            apng_.frames.front().pixels.push_back(chunk);
    }

    void takeFrame(const PngChunk& chunk)
    {
        constexpr std::size_t controlBytes = 26;
        if (chunk.count != controlBytes)
            throw damaged("fcTL: length");
        const auto data = soundData(file_, chunk);
        ByteReader reader{data, damaged("fcTL: too short"), ByteOrder::big};
        requireNext(reader.u32());
        const std::int64_t width = reader.u32();
        const std::int64_t height = reader.u32();
        const std::int64_t x = reader.u32();
        const std::int64_t y = reader.u32();
        const double numerator = reader.u16();
        const unsigned denominator = reader.u16();
        const std::uint8_t disposal = reader.u8();
        const std::uint8_t blending = reader.u8();
        if (width < 1 || height < 1 || x + width > apng_.width || y + height > apng_.height || disposal > 2 ||
            blending > 1)
            throw damaged("fcTL: area, disposal or blending");
        requireAcceptableSize(apng_.width, apng_.height, std::ssize(apng_.frames) + 1, limits_);
        apng_.frames.push_back({
            .x = static_cast<int>(x),
            .y = static_cast<int>(y),
            .width = static_cast<int>(width),
            .height = static_cast<int>(height),
            .milliseconds = static_cast<int>(std::lround(numerator * 1000 / (denominator == 0 ? 100 : denominator))),
            .disposal = static_cast<ApngFrame::Disposal>(disposal),
            .isBlended = blending == 1,
        });
    }

    void takePixels(const PngChunk& chunk)
    {
        const bool isOfPicture = isFirstFrame_ && apng_.frames.size() == 1;
        if (chunk.count < sequenceBytes || apng_.frames.empty() || isOfPicture)
            throw damaged("fdAT: before the first fcTL, or too short");
        const auto head = file_.read(chunk.data(), sequenceBytes);
        ByteReader reader{head, damaged("fdAT: too short"), ByteOrder::big};
        requireNext(reader.u32());
        apng_.frames.back().pixels.push_back(chunk);
        apng_.frames.back().leadingBytes = sequenceBytes;
    }

    /// Frames and their pixels are numbered together.
    void requireNext(std::uint32_t number)
    {
        if (number != next_++)
            throw damaged("fcTL or fdAT: number " + std::to_string(number) + " out of order");
    }

    std::optional<Apng> finished()
    {
        if (!isAnimated_ || apng_.frames.size() < 2)
            return std::nullopt;
        for (const ApngFrame& frame : apng_.frames)
            if (frame.pixels.empty())
                throw damaged("APNG: a frame without pixels");
        const ApngFrame& first = apng_.frames.front();
        if (isFirstFrame_ && (first.width != apng_.width || first.height != apng_.height))
            throw damaged("fcTL: the first frame is smaller than the picture");
        return std::move(apng_);
    }

    const ByteSource& file_;
    const ResourceLimits& limits_;
    Apng apng_;
    bool isAnimated_ = false;
    bool hasPicture_ = false;   // what programs show that know no animations has begun
    bool isFirstFrame_ = false; // and is one of the frames
    std::uint32_t next_ = 0;
};

} // namespace

std::optional<Apng> openApng(const ByteSource& file, const ResourceLimits& limits)
{
    return ApngChunks{file, limits}.read();
}

std::vector<std::byte> pngOf(const ByteSource& file, const Apng& animation, const ApngFrame& frame)
{
    ByteWriter header{ByteOrder::big};
    header.u32(static_cast<std::uint32_t>(frame.width)).u32(static_cast<std::uint32_t>(frame.height));
    header.bytes(std::span{animation.header}.subspan(8)); // depth, colours and interlacing are the same for all

    ByteWriter png{ByteOrder::big};
    png.text(pngSignature).text(pngChunk("IHDR", header.view())).bytes(animation.palette);
    for (const PngChunk& chunk : frame.pixels) {
        const auto data = soundData(file, chunk);
        const auto pixels = std::span{data}.subspan(frame.leadingBytes);
        png.text(pngChunk("IDAT", {reinterpret_cast<const char*>(pixels.data()), pixels.size()}));
    }
    png.text(pngChunk("IEND", {}));
    return std::move(png).release();
}

} // namespace nivex::image
