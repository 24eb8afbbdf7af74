// Scene-referred images: OpenEXR and Radiance.
#include "NivexKit/Detection/Images/ImageHeaderReaders.hpp"
#include "NivexKit/Structures/ExrAttributes.hpp"

#include <algorithm>
#include <charconv>
#include <optional>
#include <string_view>

namespace nivex {
namespace {

/// Reads a text that ends with a zero byte, at most 255 characters.
std::string_view zeroEnded(HeaderBytes& file, std::uint64_t offset)
{
    const auto bytes = file.slice(offset, 256);
    const std::string_view text{reinterpret_cast<const char*>(bytes.data()), bytes.size()};
    return text.substr(0, text.find('\0'));
}

struct ExrPart {
    bool isUnderstood = false;
    std::uint64_t end = 0; // behind the header of the part
};

class ExrHeader {
public:
    ExrHeader(HeaderBytes& file, SourceProperties& image) : file_{file}, image_{image} {}

    bool read()
    {
        constexpr std::uint32_t multiPartFlag = 0x1000;
        ByteReader version = file_.reader(4, 4, ByteOrder::little);
        const bool isMultiPart = (version.u32() & multiPartFlag) != 0;
        std::uint64_t offset = ExrAttributes::firstHeader;
        std::int64_t parts = 0;
        constexpr std::int64_t maxParts = 64;
        while (parts < maxParts) {
            if (isMultiPart && parts > 0 && zeroEnded(file_, offset).empty())
                break; // an empty header ends the list
            const ExrPart part = readPart(offset, parts == 0);
            if (!part.isUnderstood)
                return parts > 0;
            ++parts;
            offset = part.end;
            if (!isMultiPart)
                break;
        }
        image_.imageCount = 1;
        image_.hasLayers = hasNamedLayers_ || parts > 1;
        image_.hasAlpha = hasAlpha_;
        image_.isFloatingPoint = isFloating_;
        if (bits_ > 0)
            image_.bitsPerComponent = bits_;
        return true;
    }

private:
    ExrPart readPart(std::uint64_t offset, bool isFirst)
    {
        constexpr int maxAttributes = 256;
        bool hasSize = false;
        ExrAttributes attributes{file_, offset};
        for (int i = 0; i < maxAttributes; ++i) {
            const auto attribute = attributes.next();
            if (!attribute)
                break;
            if (attribute->name == "dataWindow")
                hasSize = readWindow(attribute->value, isFirst);
            else if (attribute->name == "channels")
                readChannels(attribute->value, attribute->length);
        }
        return {.isUnderstood = hasSize && attributes.isWhole(), .end = attributes.end()};
    }

    /// The window of the stored pixels: its size is what decoding costs, whatever part of it is to be shown.
    bool readWindow(std::uint64_t offset, bool isFirst)
    {
        ByteReader box = file_.reader(offset, 16, ByteOrder::little);
        const auto coordinate = [&box] { return std::int64_t{static_cast<std::int32_t>(box.u32())}; };
        const std::int64_t left = coordinate();
        const std::int64_t top = coordinate();
        const std::int64_t right = coordinate();
        const std::int64_t bottom = coordinate();
        if (box.failed() || right < left || bottom < top)
            return false;
        return !isFirst || enterSize(static_cast<std::uint64_t>(right - left + 1),
                                     static_cast<std::uint64_t>(bottom - top + 1), image_);
    }

    void readChannels(std::uint64_t offset, std::uint32_t length)
    {
        const std::uint64_t end = offset + length;
        constexpr int maxChannels = 512;
        for (int i = 0; i < maxChannels && offset < end; ++i) {
            const std::string_view name = zeroEnded(file_, offset);
            if (name.empty())
                return;
            ByteReader channel = file_.reader(offset + name.size() + 1, 4, ByteOrder::little);
            constexpr std::uint32_t half = 1;
            const std::uint32_t type = channel.u32();
            if (channel.failed())
                return;
            const std::size_t dot = name.rfind('.');
            const std::string_view component = dot == std::string_view::npos ? name : name.substr(dot + 1);
            hasAlpha_ = hasAlpha_ || component == "A";
            hasNamedLayers_ = hasNamedLayers_ || dot != std::string_view::npos;
            isFloating_ = isFloating_ || type != 0;
            bits_ = std::max(bits_, type == half ? 16 : 32);
            offset += name.size() + 1 + 16; // type, flags and sampling
        }
    }

    HeaderBytes& file_;
    SourceProperties& image_;
    bool hasAlpha_ = false;
    bool hasNamedLayers_ = false;
    bool isFloating_ = false;
    int bits_ = 0;
};

/// The words of the line that gives the size: "-Y 512 +X 768", the axes in either order and direction.
std::optional<std::pair<std::uint32_t, std::uint32_t>> radianceSize(std::string_view line)
{
    std::uint32_t sides[2] = {0, 0}; // width, height
    for (int i = 0; i < 2; ++i) {
        if (line.size() < 4 || (line[0] != '-' && line[0] != '+') || (line[1] != 'X' && line[1] != 'Y'))
            return std::nullopt;
        std::uint32_t& side = sides[line[1] == 'X' ? 0 : 1];
        const auto [end, failure] = std::from_chars(line.data() + 3, line.data() + line.size(), side);
        if (failure != std::errc{})
            return std::nullopt;
        line.remove_prefix(static_cast<std::size_t>(end - line.data()));
        line.remove_prefix(std::min(line.find_first_not_of(' '), line.size()));
    }
    return std::pair{sides[0], sides[1]};
}

} // namespace

bool readExrHeader(HeaderBytes& file, SourceProperties& image) { return ExrHeader{file, image}.read(); }

bool readRadianceHeader(HeaderBytes& file, SourceProperties& image)
{
    constexpr std::size_t longestHeader = 16 * 1024;
    const auto bytes = file.slice(0, longestHeader);
    const std::string_view text{reinterpret_cast<const char*>(bytes.data()), bytes.size()};
    const std::size_t blankLine = text.find("\n\n");
    if (blankLine == std::string_view::npos)
        return false;
    const std::string_view rest = text.substr(blankLine + 2);
    const auto size = radianceSize(rest.substr(0, rest.find('\n')));
    if (!size || !enterSize(size->first, size->second, image))
        return false;
    image.bitsPerComponent = 32; // what a pixel unfolds to: the stored bytes share an exponent
    image.isFloatingPoint = true;
    image.hasAlpha = false;
    image.imageCount = 1;
    image.hasLocation = false;
    return true;
}

} // namespace nivex
