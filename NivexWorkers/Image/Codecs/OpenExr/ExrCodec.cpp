// OpenEXR. Its pixels are linear light with associated alpha; ours have unassociated alpha.
#include "NivexWorkers/Image/Codecs/Codec.hpp"
#include "NivexWorkers/Image/Codecs/PixelBuffer.hpp"
#include "NivexWorkers/Image/Codecs/Rows.hpp"
#include "NivexWorkers/Image/Pixels/Colors.hpp"
#include "NivexWorkers/Image/Pixels/Primaries.hpp"

#include "NivexKit/Foundation/Bytes/ByteReader.hpp"
#include "NivexKit/Foundation/Bytes/ByteSource.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"
#include "NivexKit/Structures/ExrAttributes.hpp"

#include <ImfChannelList.h>
#include <ImfChromaticities.h>
#include <ImfFrameBuffer.h>
#include <ImfHeader.h>
#include <ImfInputFile.h>
#include <ImfOutputFile.h>
#include <ImfRgbaFile.h>
#include <ImfStandardAttributes.h>
#include <ImfStdIO.h>
#include <ImfThreading.h>
#include <ImfTileDescription.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <concepts>
#include <cstring>
#include <optional>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace nivex::image {
namespace {

using vips::VImage;

/// Runs what calls the library: its exceptions, and memory that a lying header asks for, become `error`.
template <class Work>
auto guarded(const ConversionError& error, Work work)
{
    try {
        return work();
    } catch (const ConversionError&) {
        throw;
    } catch (const vips::VError&) {
        throw;
    } catch (const std::exception& failure) {
        throw error.because(failure.what());
    }
}

struct Window {
    std::int64_t left, top, width, height;

    explicit Window(const Imath::Box2i& box)
        : left{box.min.x}, top{box.min.y}, width{std::int64_t{box.max.x} - box.min.x + 1}, height{
                                                                                               std::int64_t{box.max.y} -
                                                                                               box.min.y + 1}
    {
    }
};

// Reading

constexpr int mostParts = 256;
constexpr int mostChannels = 1024;
constexpr std::int64_t mostTiles = 1 << 22;

void checkPart(const Imf::Header& header, const ResourceLimits& limits)
{
    const Window data{header.dataWindow()};
    requireAcceptableSize(data.width, data.height, 1, limits);
    const Window display{header.displayWindow()};
    requireAcceptableSize(display.width, display.height, 1, limits);
    int channels = 0;
    for (auto each = header.channels().begin(); each != header.channels().end(); ++each)
        if (++channels > mostChannels)
            throw damaged("EXR header: too many channels");
    if (!header.hasTileDescription())
        return;
    const std::int64_t width = header.tileDescription().xSize;
    const std::int64_t height = header.tileDescription().ySize;
    requireAcceptableSize(width, height, 1, limits);
    if (((data.width + width - 1) / width) * ((data.height + height - 1) / height) > mostTiles)
        throw damaged("EXR header: too many tiles");
}

/// Whether the value of an attribute is as long as the counts in it say. The library allocates by the counts.
bool isHonest(const ByteSource& file, const ExrAttribute& attribute)
{
    constexpr std::uint64_t mostInflation = 1032; // of DEFLATE
    const auto number = [&](std::uint64_t offset) {
        std::array<std::byte, 4> bytes;
        return std::uint64_t{ByteReader{std::span{bytes}.first(file.read(offset, bytes))}.u32()};
    };
    if (attribute.type == "preview") // width and height in front of its pixels
        return attribute.length >= 8 &&
               number(attribute.value) * number(attribute.value + 4) <= (attribute.length - 8) / 4;
    if (attribute.type == "idmanifest") // its length in front of its deflated bytes
        return number(attribute.value) <= attribute.length * mostInflation;
    if (attribute.type != "stringvector")
        return true;
    std::uint64_t position = attribute.value; // of strings with their lengths in front
    while (position < attribute.end())
        position += 4 + number(position);
    return position == attribute.end();
}

/// The library makes room for the values before it reads them.
void checkAttributes(const ByteSource& file, std::uint64_t header)
{
    ExrAttributes attributes{file, header};
    while (const auto attribute = attributes.next())
        if (!isHonest(file, *attribute))
            throw damaged("EXR header: attribute " + attribute->name);
    if (!attributes.isWhole())
        throw damaged("EXR header: cut short");
}

/// Reads nothing but the headers (OpenEXR File Layout): opening a file as a picture allocates what they announce.
void checkHeaders(const ReadRequest& request)
{
    const auto file = FileSource::open(request.file);
    if (!file)
        throw damaged("EXR: cannot be opened");
    Imf::StdIFStream stream{request.file.c_str()};
    char numbers[8];
    stream.read(numbers, sizeof numbers);
    if (std::memcmp(numbers, "\x76\x2f\x31\x01", 4) != 0)
        throw damaged("EXR: no magic number");
    int version = 0;
    for (int i = 3; i >= 0; --i)
        version = version << 8 | static_cast<unsigned char>(numbers[4 + i]);
    const bool hasParts = (version & 0x1000) != 0;
    for (int part = 0; part < mostParts; ++part) {
        checkAttributes(*file, stream.tellg());
        Imf::Header header;
        header.readFrom(stream, version);
        checkPart(header, request.limits);
        if (!hasParts)
            return;
        const std::uint64_t next = stream.tellg();
        char first;
        stream.read(&first, 1);
        if (first == 0)
            return;
        stream.seekg(next);
    }
    throw damaged("EXR: too many parts");
}

/// Which channels make the picture.
struct ShownChannels {
    std::string layer; // in front of their names, with its dot; the colours without a layer come first
    bool isLuminance = false;
    bool hasColorDifferences = false; // beside luminance
    bool hasAlpha = false;
};

std::optional<ShownChannels> shownIn(const Imf::ChannelList& channels, const std::string& layer)
{
    const auto has = [&](const char* name) { return channels.findChannel(layer + name) != nullptr; };
    ShownChannels shown{.layer = layer, .hasAlpha = has("A")};
    if (has("R") || has("G") || has("B"))
        return shown;
    shown.isLuminance = true;
    shown.hasColorDifferences = has("RY") && has("BY");
    if (has("Y"))
        return shown;
    return std::nullopt;
}

ShownChannels shownChannels(const Imf::ChannelList& channels)
{
    if (const auto shown = shownIn(channels, ""))
        return *shown;
    std::set<std::string> layers;
    channels.layers(layers);
    for (const std::string& layer : layers)
        if (const auto shown = shownIn(channels, layer + "."))
            return *shown;
    throw ConversionError::unreadableSource("il ne contient pas de couleurs à montrer"_fr);
}

class ExrDecoding {
public:
    explicit ExrDecoding(const ReadRequest& request)
        : name_{request.file.c_str()}, file_{name_.c_str(), Imf::globalThreadCount()},
          shown_{shownChannels(file_.header().channels())}, data_{file_.header().dataWindow()},
          display_{file_.header().displayWindow()}, pixels_{display_.width, display_.height, bands(), VIPS_FORMAT_FLOAT,
                                                            VIPS_INTERPRETATION_scRGB}
    {
        if (!file_.isComplete())
            throw damaged("EXR: offset table with gaps");
    }

    Picture picture()
    {
        if (shown_.hasColorDifferences)
            readLuminanceAndColor();
        else
            readChannels();
        VImage image = pixels_.image();
        if (Imf::hasChromaticities(file_.header()) && !(shown_.isLuminance && !shown_.hasColorDifferences))
            image = converted(image, Imf::chromaticities(file_.header()));
        return {.frames = {image}};
    }

private:
    static constexpr std::int64_t samplesAtOnce = 8 << 20;

    int bands() const { return shown_.hasAlpha ? 4 : 3; }

    static VImage converted(const VImage& image, const Imf::Chromaticities& stored)
    {
        const auto point = [](const Imath::V2f& xy) { return Chromaticity{xy.x, xy.y}; };
        const Primaries primaries{point(stored.red), point(stored.green), point(stored.blue), point(stored.white)};
        const auto isNear = [](const Chromaticity& a, const Chromaticity& b) {
            return std::abs(a.x - b.x) < 0.001 && std::abs(a.y - b.y) < 0.001;
        };
        if (isNear(primaries.red, rec709.red) && isNear(primaries.green, rec709.green) &&
            isNear(primaries.blue, rec709.blue) && isNear(primaries.white, rec709.white))
            return image;
        return toLinearSrgb(image, primaries).value_or(image);
    }

    /// Puts a row of the data window where it shows, dividing what alpha has been multiplied into.
    void show(std::int64_t y, const float* row)
    {
        const auto bandCount = static_cast<std::size_t>(bands());
        const std::int64_t line = y - display_.top;
        const std::int64_t begin = std::max(data_.left, display_.left);
        const std::int64_t end = std::min(data_.left + data_.width, display_.left + display_.width);
        if (line < 0 || line >= display_.height || begin >= end)
            return;
        const float* from = row + static_cast<std::size_t>(begin - data_.left) * bandCount;
        float* to = pixels_.samples<float>(line) + static_cast<std::size_t>(begin - display_.left) * bandCount;
        const auto count = static_cast<std::size_t>(end - begin);
        std::copy_n(from, count * bandCount, to);
        if (!shown_.hasAlpha)
            return;
        for (std::size_t i = 0; i < count; ++i, to += 4)
            if (to[3] > 0)
                for (int band = 0; band < 3; ++band)
                    to[band] /= to[3];
    }

    /// Calls `read` for strips of the lines that show; it fills the strip's memory from line `top` on.
    template <class Read>
    void eachStrip(Read read)
    {
        const std::int64_t lines = std::max<std::int64_t>(1, samplesAtOnce / (data_.width * bands()));
        const std::int64_t begin = std::max(data_.top, display_.top);
        const std::int64_t end = std::min(data_.top + data_.height, display_.top + display_.height);
        for (std::int64_t top = begin; top < end; top += lines) {
            const std::int64_t bottom = std::min(top + lines, end);
            read(static_cast<int>(top), static_cast<int>(bottom - 1));
        }
    }

    /// The address of the pixel 0,0 of the picture, far outside of memory that begins with the first pixel of `top`.
    template <class Sample>
    Sample* origin(Sample* memory, std::int64_t top, std::size_t samples) const
    {
        const std::int64_t pixels = data_.left + top * data_.width;
        return reinterpret_cast<Sample*>(reinterpret_cast<std::intptr_t>(memory) -
                                         pixels * static_cast<std::int64_t>(samples * sizeof(Sample)));
    }

    void readChannels()
    {
        const auto bandCount = static_cast<std::size_t>(bands());
        std::vector<float> strip;
        eachStrip([&](int top, int bottom) {
            strip.assign(static_cast<std::size_t>(bottom - top + 1) * static_cast<std::size_t>(data_.width) * bandCount,
                         0);
            Imf::FrameBuffer frame;
            const char* const colors[] = {"R", "G", "B", "A"};
            for (std::size_t band = 0; band < bandCount; ++band) {
                if (shown_.isLuminance && band > 0 && band < 3)
                    continue;
                const std::string name = shown_.layer + (shown_.isLuminance && band == 0 ? "Y" : colors[band]);
                auto* base = reinterpret_cast<char*>(origin(strip.data() + band, top, bandCount));
                frame.insert(name, Imf::Slice{Imf::FLOAT, base, bandCount * sizeof(float),
                                              bandCount * sizeof(float) * static_cast<std::size_t>(data_.width)});
            }
            file_.setFrameBuffer(frame);
            file_.readPixels(top, bottom);
            if (shown_.isLuminance)
                for (std::size_t i = 0; i < strip.size(); i += bandCount)
                    strip[i + 1] = strip[i + 2] = strip[i];
            for (int y = top; y <= bottom; ++y)
                show(y, strip.data() +
                            static_cast<std::size_t>(y - top) * static_cast<std::size_t>(data_.width) * bandCount);
        });
    }

    /// Colour differences are stored for every other pixel only; the library interpolates them.
    void readLuminanceAndColor()
    {
        const std::string layer = shown_.layer.empty() ? "" : shown_.layer.substr(0, shown_.layer.size() - 1);
        Imf::RgbaInputFile file{name_.c_str(), layer};
        std::vector<Imf::Rgba> strip;
        std::vector<float> row(static_cast<std::size_t>(data_.width * bands()));
        eachStrip([&](int top, int bottom) {
            strip.assign(static_cast<std::size_t>(bottom - top + 1) * static_cast<std::size_t>(data_.width), {});
            file.setFrameBuffer(origin(strip.data(), top, 1), 1, static_cast<std::size_t>(data_.width));
            file.readPixels(top, bottom);
            const Imf::Rgba* pixel = strip.data();
            for (int y = top; y <= bottom; ++y) {
                for (float* out = row.data(); out < row.data() + row.size(); ++pixel) {
                    *out++ = pixel->r;
                    *out++ = pixel->g;
                    *out++ = pixel->b;
                    if (shown_.hasAlpha)
                        *out++ = pixel->a;
                }
                show(y, row.data());
            }
        });
    }

    const std::string name_;
    Imf::InputFile file_;
    const ShownChannels shown_;
    const Window data_;
    const Window display_;
    PixelBuffer pixels_;
};

// Writing

/// What 8 bits say fits half floats; of 16 bits and of floating point they would lose some.
Imf::PixelType sampleType(const VImage& image) { return image.format() == VIPS_FORMAT_UCHAR ? Imf::HALF : Imf::FLOAT; }

void multiplyByAlpha(float* pixel, std::size_t count)
{
    for (; count > 0; --count, pixel += 4)
        for (int band = 0; band < 3; ++band)
            pixel[band] *= pixel[3];
}

constexpr std::size_t linesAtOnce = 64; // four blocks of ZIP compression, to share among the threads

class ExrEncoding {
public:
    ExrEncoding(const VImage& image, const VImage& linear, const WriteRequest& request)
        : linear_{linear}, request_{request}, bands_{static_cast<std::size_t>(linear.bands())},
          width_{static_cast<std::size_t>(linear.width())}, type_{sampleType(image)},
          file_{request.file.c_str(), header(linear, type_), static_cast<int>(request.processors)}
    {
    }

    void write()
    {
        pullRows(linear_, request_.progress, 0, 1, [this](int y, std::span<const std::byte> row) {
            const float* samples = samplesOf<float>(row);
            strip_.insert(strip_.end(), samples, samples + width_ * bands_);
            if (strip_.size() == linesAtOnce * width_ * bands_ || y + 1 == linear_.height())
                writeStrip(y + 1);
        });
    }

private:
    static Imf::Header header(const VImage& image, Imf::PixelType type)
    {
        Imf::Header header{image.width(), image.height()};
        header.compression() = Imf::ZIP_COMPRESSION;
        for (int band = 0; band < image.bands(); ++band)
            header.channels().insert(channelNames[band], Imf::Channel{type});
        Imf::addChromaticities(header, Imf::Chromaticities{});
        return header;
    }

    void writeStrip(int end)
    {
        const std::size_t lines = strip_.size() / (width_ * bands_);
        if (bands_ == 4)
            multiplyByAlpha(strip_.data(), strip_.size() / 4);
        if (type_ == Imf::HALF) {
            halves_.assign(strip_.begin(), strip_.end());
            writeSamples(halves_.data(), end, lines);
        } else {
            writeSamples(strip_.data(), end, lines);
        }
        strip_.clear();
    }

    template <class Sample>
    void writeSamples(Sample* samples, int end, std::size_t lines)
    {
        const std::size_t pixelBytes = bands_ * sizeof(Sample);
        const std::size_t rowBytes = width_ * pixelBytes;
        const auto above = (static_cast<std::size_t>(end) - lines) * rowBytes; // of the picture, before these samples
        Imf::FrameBuffer frame;
        for (std::size_t band = 0; band < bands_; ++band) {
            auto* base = reinterpret_cast<char*>(reinterpret_cast<std::uintptr_t>(samples + band) - above);
            frame.insert(channelNames[band], Imf::Slice{type_, base, pixelBytes, rowBytes});
        }
        file_.setFrameBuffer(frame);
        file_.writePixels(static_cast<int>(lines));
    }

    static constexpr const char* channelNames[] = {"R", "G", "B", "A"};

    const VImage linear_;
    const WriteRequest& request_;
    const std::size_t bands_;
    const std::size_t width_;
    const Imf::PixelType type_;
    Imf::OutputFile file_;
    std::vector<float> strip_;
    std::vector<half> halves_;
};

} // namespace

Picture readExr(const ReadRequest& request)
{
    return guarded(damaged("EXR"), [&] {
        checkHeaders(request);
        Imf::setGlobalThreadCount(static_cast<int>(std::thread::hardware_concurrency()));
        return ExrDecoding{request}.picture();
    });
}

void writeExr(const Picture& picture, const WriteRequest& request)
{
    guarded(notSaved("OpenEXR"), [&] {
        Imf::setGlobalThreadCount(static_cast<int>(request.processors));
        const VImage& image = picture.first();
        ExrEncoding{image, inLinearLight(image), request}.write();
        // What fails while the file is closed, on a full disk say, is not told: the table of rows then has gaps.
        if (!Imf::InputFile{request.file.c_str()}.isComplete())
            throw notSaved("OpenEXR");
    });
}

} // namespace nivex::image
