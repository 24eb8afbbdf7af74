#include "NivexWorkers/Image/Codecs/Png/PngWriter.hpp"

#include "NivexWorkers/Image/Codecs/Deflate/DeflatedPixels.hpp"
#include "NivexWorkers/Image/Codecs/Png/Apng.hpp"
#include "NivexWorkers/Image/Codecs/Png/CheckedChunks.hpp"
#include "NivexWorkers/Image/Codecs/Png/PngFilters.hpp"
#include "NivexWorkers/Image/Codecs/Profiles.hpp"
#include "NivexWorkers/Image/Codecs/Rows.hpp"

#include "NivexKit/Foundation/Bytes/ByteWriter.hpp"
#include "NivexKit/Foundation/Files/OutputFile.hpp"

#include <algorithm>
#include <cmath>
#include <utility>

namespace nivex::image {
namespace {

using vips::VImage;

constexpr std::size_t stripBytes = 1 << 20;
constexpr std::size_t mostRowBytes = 1 << 30; // far above what programs read

std::string_view asText(const std::vector<std::byte>& bytes)
{
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

/// Some rows from all over a strip, as `form` makes them.
std::vector<std::byte> sampleOf(const PngRows& strip, std::vector<std::byte> (*form)(const PngRows&))
{
    constexpr std::size_t bytesOfPlace = 8 * 1024;
    const std::size_t rows = strip.rows.size() / strip.rowBytes;
    const std::size_t places = std::min<std::size_t>(8, rows);
    const std::size_t most = std::max<std::size_t>(1, bytesOfPlace / strip.rowBytes);
    std::vector<std::byte> sample;
    for (std::size_t place = 0; place < places; ++place) {
        const std::size_t first = place * rows / places;
        const std::size_t count = std::min(most, rows / places);
        const auto from = [&](std::size_t row, std::size_t number) {
            return strip.rows.subspan(row * strip.rowBytes, number * strip.rowBytes);
        };
        const auto part = form({.above = first == 0 ? strip.above : from(first - 1, 1),
                                .rows = from(first, count),
                                .rowBytes = strip.rowBytes,
                                .pixelBytes = strip.pixelBytes});
        sample.insert(sample.end(), part.begin(), part.end());
    }
    return sample;
}

/// Photographs are smaller as differences, drawings and pages of text as they are; a sample tells. It knows little of
/// repetitions, which differences hide, so these must win clearly.
DeflatedPart compressed(const PngRows& strip)
{
    const std::size_t differences = deflatedSize(sampleOf(strip, filtered));
    const std::size_t samples = deflatedSize(sampleOf(strip, unfiltered));
    return differences < samples - samples / 8 ? deflatedPart(filtered(strip), StripContents::differences)
                                               : deflatedPart(unfiltered(strip));
}

std::string headerData(const VImage& image)
{
    constexpr std::uint8_t colorTypes[] = {0, 4, 2, 6}; // grey, RGB, each with alpha, by the number of bands
    constexpr std::uint8_t widths[] = {8, 16};
    ByteWriter header{ByteOrder::big};
    header.u32(static_cast<std::uint32_t>(image.width())).u32(static_cast<std::uint32_t>(image.height()));
    header.u8(widths[image.format() == VIPS_FORMAT_USHORT]).u8(colorTypes[image.bands() - 1]);
    header.zeros(3); // compression, filters and order, of which there is one each
    return std::string{header.view()};
}

std::string resolutionData(const VImage& image)
{
    const auto perMetre = [](double perMillimetre) {
        return static_cast<std::uint32_t>(std::clamp<long long>(std::llround(perMillimetre * 1000), 0, INT32_MAX));
    };
    ByteWriter data{ByteOrder::big};
    data.u32(perMetre(image.xres())).u32(perMetre(image.yres())).u8(1);
    return std::string{data.view()};
}

std::string profileData(std::string_view profile)
{
    constexpr std::string_view nameAndMethod{"ICC profile\0\0", 13};
    return std::string{nameAndMethod} + zlibStream(std::as_bytes(std::span{profile}));
}

std::vector<std::byte> withHigherBytesFirst(std::span<const std::byte> row)
{
    std::vector<std::byte> turned(row.size());
    for (std::size_t i = 0; i + 1 < row.size(); i += 2) {
        turned[i] = row[i + 1];
        turned[i + 1] = row[i];
    }
    return turned;
}

/// How the pixels of a picture lie in its rows.
struct RowLayout {
    std::size_t pixelBytes;
    std::size_t rowBytes;
    bool isDeep;
};

RowLayout layoutOf(const VImage& image)
{
    const bool isDeep = image.format() == VIPS_FORMAT_USHORT;
    const std::size_t pixelBytes = static_cast<std::size_t>(image.bands()) * (isDeep ? 2 : 1);
    const std::size_t rowBytes = static_cast<std::size_t>(image.width()) * pixelBytes;
    if (rowBytes > mostRowBytes)
        throw notSaved("PNG");
    return {pixelBytes, rowBytes, isDeep};
}

/// What stands in front of the pixels, with the chunk that tells of an animation.
void writeHead(NewFile& file, const VImage& image, std::string_view animation)
{
    file.write(pngSignature);
    file.write(pngChunk("IHDR", headerData(image)));
    if (hasProfile(image))
        file.write(pngChunk("iCCP", profileData(profileOf(image))));
    file.write(pngChunk("pHYs", resolutionData(image)));
    file.write(animation);
}

/// The frames of an animation (PNG, Third Edition, W3C, 11.3.3), each only where it differs from the one before. The
/// first is the picture that programs show which know no animations.
class ApngFrames {
public:
    /// `like` is one of the frames.
    ApngFrames(NewFile& file, const VImage& like, unsigned processors)
        : file_{file}, like_{like}, layout_{layoutOf(like)}, processors_{processors}
    {
    }

    void add(const VImage& frame, int milliseconds)
    {
        if (frame.width() != like_.width() || frame.height() != like_.height() || frame.bands() != like_.bands() ||
            frame.format() != like_.format())
            throw notSaved("PNG");
        const bool isFirst = before_.is_null();
        const VImage shown = frame.copy_memory();
        const Part part = isFirst ? Part{0, 0, frame.width(), frame.height()} : changed(shown);
        addControl(part, milliseconds);
        PngPixels pixels{static_cast<std::size_t>(part.width) * layout_.pixelBytes, layout_.pixelBytes, processors_,
                         [this, isFirst](std::string_view piece) { addPixels(piece, isFirst); }};
        for (int y = part.top; y < part.top + part.height; ++y) {
            const auto row = rowOf(shown, y).subspan(static_cast<std::size_t>(part.left) * layout_.pixelBytes,
                                                     static_cast<std::size_t>(part.width) * layout_.pixelBytes);
            if (layout_.isDeep)
                pixels.add(withHigherBytesFirst(row));
            else
                pixels.add(row);
        }
        pixels.finish();
        before_ = shown;
    }

private:
    struct Part {
        int left;
        int top;
        int width;
        int height;
    };

    std::span<const std::byte> rowOf(const VImage& frame, int y) const
    {
        const auto* const pixels = static_cast<const std::byte*>(frame.data());
        return {pixels + static_cast<std::size_t>(y) * layout_.rowBytes, layout_.rowBytes};
    }

    /// Where a frame differs from the one before; a single pixel where it does not, since its time counts.
    Part changed(const VImage& frame) const
    {
        std::size_t left = layout_.rowBytes;
        std::size_t right = 0;
        int top = frame.height();
        int bottom = 0;
        for (int y = 0; y < frame.height(); ++y) {
            const auto now = rowOf(frame, y);
            const auto then = rowOf(before_, y);
            const auto first = std::ranges::mismatch(now, then).in1;
            if (first == now.end())
                continue;
            const auto last = std::mismatch(now.rbegin(), now.rend(), then.rbegin()).first.base();
            left = std::min(left, static_cast<std::size_t>(first - now.begin()) / layout_.pixelBytes);
            right = std::max(right, static_cast<std::size_t>(last - now.begin() - 1) / layout_.pixelBytes + 1);
            top = std::min(top, y);
            bottom = y + 1;
        }
        if (bottom == 0)
            return {0, 0, 1, 1};
        return {static_cast<int>(left), top, static_cast<int>(right - left), bottom - top};
    }

    void addControl(const Part& part, int milliseconds)
    {
        // Above a minute thousandths of a second do not fit.
        const int perSecond = milliseconds > UINT16_MAX ? 100 : 1000;
        const int units = std::clamp(perSecond == 100 ? milliseconds / 10 : milliseconds, 0, int{UINT16_MAX});
        ByteWriter data{ByteOrder::big};
        data.u32(number_++);
        data.u32(static_cast<std::uint32_t>(part.width)).u32(static_cast<std::uint32_t>(part.height));
        data.u32(static_cast<std::uint32_t>(part.left)).u32(static_cast<std::uint32_t>(part.top));
        data.u16(static_cast<std::uint16_t>(units)).u16(static_cast<std::uint16_t>(perSecond));
        data.u8(static_cast<std::uint8_t>(ApngFrame::Disposal::none)).u8(0); // in the stead of what is there
        file_.write(pngChunk("fcTL", data.view()));
    }

    void addPixels(std::string_view piece, bool isFirst)
    {
        ByteWriter data{ByteOrder::big};
        file_.write(isFirst ? pngChunk("IDAT", piece) : pngChunk("fdAT", data.u32(number_++).text(piece).view()));
    }

    NewFile& file_;
    const VImage& like_;
    RowLayout layout_;
    unsigned processors_;
    VImage before_;
    std::uint32_t number_ = 0; // of the next chunk of frames
};

} // namespace

PngPixels::PngPixels(std::size_t rowBytes, std::size_t pixelBytes, unsigned processors,
                     std::function<void(std::string_view)> take)
    : rowBytes_{rowBytes}, pixelBytes_{pixelBytes}, take_{std::move(take)},
      compression_{processors, [this](const DeflatedPart& part) { takePart(part); }}
{
}

void PngPixels::add(std::span<const std::byte> row)
{
    strip_.insert(strip_.end(), row.begin(), row.end());
    if (strip_.size() >= stripBytes)
        compressStrip();
}

void PngPixels::finish()
{
    if (!strip_.empty())
        compressStrip();
    compression_.finish();
    take_(stream_.end());
}

void PngPixels::compressStrip()
{
    std::vector<std::byte> last{strip_.end() - static_cast<std::ptrdiff_t>(rowBytes_), strip_.end()};
    compression_.add([above = std::exchange(above_, std::move(last)), rows = std::exchange(strip_, {}),
                      rowBytes = rowBytes_, pixelBytes = pixelBytes_] {
        return compressed({above, rows, rowBytes, pixelBytes});
    });
    strip_.reserve(stripBytes + rowBytes_);
}

void PngPixels::takePart(const DeflatedPart& part)
{
    if (!std::exchange(hasBegun_, true))
        take_(std::string{ZlibStream::head} + std::string{asText(part.bytes)});
    else
        take_(asText(part.bytes));
    stream_.add(part);
}

void writePngFile(const VImage& image, const WriteRequest& request)
{
    const RowLayout layout = layoutOf(image);
    NewFile file{request.file};
    writeHead(file, image, "");
    PngPixels pixels{layout.rowBytes, layout.pixelBytes, request.processors,
                     [&file](std::string_view piece) { file.write(pngChunk("IDAT", piece)); }};
    pullRows(image, request.progress, 0, 1, [&](int, std::span<const std::byte> row) {
        if (layout.isDeep)
            pixels.add(withHigherBytesFirst(row));
        else
            pixels.add(row);
    });
    pixels.finish();
    file.write(pngChunk("IEND", {}));
    file.finish();
}

void writeApngFile(const Picture& picture, const WriteRequest& request)
{
    NewFile file{request.file};
    ByteWriter control{ByteOrder::big};
    control.u32(static_cast<std::uint32_t>(picture.frames.size())).u32(static_cast<std::uint32_t>(picture.loops));
    writeHead(file, picture.first(), pngChunk("acTL", control.view()));
    ApngFrames frames{file, picture.first(), request.processors};
    const auto count = static_cast<double>(picture.frames.size());
    for (std::size_t i = 0; i < picture.frames.size(); ++i) {
        frames.add(picture.frames[i], i < picture.delays.size() ? picture.delays[i] : 0);
        request.progress(static_cast<double>(i + 1) / count);
    }
    file.write(pngChunk("IEND", {}));
    file.finish();
}

} // namespace nivex::image
