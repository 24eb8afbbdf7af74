#include "NivexKit/Detection/Images/ImageHeaderReaders.hpp"
#include "NivexKit/Detection/Images/ImageLocation.hpp"
#include "NivexKit/Structures/IsoBoxes.hpp"

#include <algorithm>

namespace nivex {
namespace {

/// Reads numbers of any width in bits, the lowest bit first. Past the end it yields zeros and has failed.
class BitReader {
public:
    explicit BitReader(std::span<const std::byte> bytes) : bytes_{bytes} {}

    bool failed() const { return failed_; }
    bool flag() { return bits(1) != 0; }

    std::uint32_t bits(int width)
    {
        std::uint32_t value = 0;
        for (int i = 0; i < width; ++i, ++position_) {
            if (position_ / 8 >= bytes_.size()) {
                failed_ = true;
                return 0;
            }
            const auto byte = std::to_integer<std::uint32_t>(bytes_[position_ / 8]);
            value |= (byte >> (position_ % 8) & 1) << i;
        }
        return value;
    }

    void skip(std::size_t count) { position_ += std::min(count, bytes_.size() * 8); }

    /// A number in one of four ways, which two bits choose: `offset` plus so many bits.
    struct Way {
        std::uint32_t offset;
        int width = 0;
    };
    std::uint32_t choice(Way first, Way second, Way third, Way fourth)
    {
        const Way ways[] = {first, second, third, fourth};
        const Way& way = ways[bits(2)];
        return way.offset + bits(way.width);
    }

private:
    std::span<const std::byte> bytes_;
    std::size_t position_ = 0; // in bits
    bool failed_ = false;
};

struct Size {
    std::uint64_t width = 0;
    std::uint64_t height = 0;
};

/// The width that a height and one of the fixed aspect ratios give.
std::uint64_t widthOf(std::uint64_t height, std::uint32_t ratio)
{
    constexpr struct {
        std::uint64_t numerator, denominator;
    } ratios[] = {{0, 1}, {1, 1}, {12, 10}, {4, 3}, {3, 2}, {16, 9}, {5, 4}, {2, 1}};
    return height * ratios[ratio].numerator / ratios[ratio].denominator;
}

Size readSize(BitReader& reader)
{
    const bool isSmall = reader.flag();
    const auto side = [&]() -> std::uint64_t {
        if (isSmall)
            return (reader.bits(5) + 1) * 8;
        return reader.choice({1, 9}, {1, 13}, {1, 18}, {1, 30});
    };
    Size size;
    size.height = side();
    const std::uint32_t ratio = reader.bits(3);
    size.width = ratio == 0 ? side() : widthOf(size.height, ratio);
    return size;
}

void passPreviewSize(BitReader& reader)
{
    const bool isDivisible = reader.flag();
    const auto side = [&] {
        return isDivisible ? reader.choice({16}, {32}, {1, 5}, {33, 9})
                           : reader.choice({1, 6}, {65, 8}, {321, 10}, {1345, 12});
    };
    side();
    if (reader.bits(3) == 0)
        side();
}

void passAnimation(BitReader& reader)
{
    reader.choice({100}, {1000}, {1, 10}, {1, 30}); // ticks per second, as a fraction
    reader.choice({1}, {1001}, {1, 8}, {1, 10});
    reader.choice({0}, {0, 3}, {0, 16}, {0, 32}); // loops
    reader.flag();                                // time codes
}

struct Depth {
    std::uint32_t bits = 8;
    bool isFloatingPoint = false;
};

Depth readDepth(BitReader& reader)
{
    Depth depth{.isFloatingPoint = reader.flag()};
    if (!depth.isFloatingPoint) {
        depth.bits = reader.choice({8}, {10}, {12}, {1, 6});
        return depth;
    }
    depth.bits = reader.choice({32}, {16}, {24}, {1, 6});
    reader.bits(4); // the bits of the exponent
    return depth;
}

/// Reads one extra channel; true when it is opacity.
bool readExtraChannel(BitReader& reader)
{
    constexpr std::uint32_t alpha = 0;
    constexpr std::uint32_t spotColour = 2;
    constexpr std::uint32_t filterArray = 5;
    if (reader.flag()) // everything as usual: 8 bits of opacity
        return true;
    const std::uint32_t kind = reader.choice({0}, {1}, {2, 4}, {18, 6});
    readDepth(reader);
    reader.choice({0}, {3}, {4}, {1, 3}); // at a smaller scale
    const std::uint32_t nameLength = reader.choice({0}, {0, 4}, {16, 5}, {48, 10});
    reader.skip(std::size_t{nameLength} * 8);
    if (kind == alpha)
        reader.flag(); // premultiplied
    if (kind == spotColour)
        reader.skip(4 * 16);
    if (kind == filterArray)
        reader.choice({1}, {0, 2}, {3, 4}, {19, 8});
    return kind == alpha;
}

void readMetadata(BitReader& reader, SourceProperties& image)
{
    Depth depth;
    image.hasAlpha = false;
    image.imageCount = 1;
    const bool isAllDefault = reader.flag();
    if (!isAllDefault) {
        if (reader.flag()) {
            reader.bits(3); // orientation
            if (reader.flag())
                readSize(reader); // the size at which it is to be shown
            if (reader.flag())
                passPreviewSize(reader);
            if (reader.flag()) {
                passAnimation(reader);
                image.imageCount = 2; // several: the header does not say how many
            }
        }
        depth = readDepth(reader);
        reader.flag(); // 16 bits are enough for the decoder
        const std::uint32_t channels = reader.choice({0}, {1}, {2, 4}, {1, 12});
        for (std::uint32_t i = 0; i < channels && !reader.failed(); ++i)
            if (readExtraChannel(reader))
                image.hasAlpha = true;
    }
    if (reader.failed()) {
        image.hasAlpha.reset();
        image.imageCount.reset();
        return;
    }
    image.bitsPerComponent = depth.bits;
    image.isFloatingPoint = depth.isFloatingPoint;
}

bool readCodestream(HeaderBytes& file, std::uint64_t offset, SourceProperties& image)
{
    constexpr std::size_t largestHeader = 1024;
    const auto bytes = file.slice(offset, largestHeader);
    BitReader reader{bytes};
    constexpr std::uint32_t mark = 0x0AFF;
    if (reader.bits(16) != mark)
        return false;
    const Size size = readSize(reader);
    if (reader.failed() || !enterSize(size.width, size.height, image))
        return false;
    readMetadata(reader, image);
    return true;
}

} // namespace

bool readJxlHeader(HeaderBytes& file, SourceProperties& image)
{
    if (readCodestream(file, 0, image)) {
        image.hasLocation = false;
        return true;
    }
    bool isUnderstood = false;
    bool hasUnreadMetadata = false;
    IsoBoxes boxes{file};
    while (const auto box = boxes.next()) {
        if (box->type == boxType("jxlc") && !isUnderstood)
            isUnderstood = readCodestream(file, box->begin, image);
        else if (box->type == boxType("jxlp") && !isUnderstood)
            isUnderstood = readCodestream(file, box->begin + 4, image); // behind the number of the part
        else if (box->type == boxType("Exif"))
            noteExif(file, box->begin + 4 + file.reader(box->begin, 4, ByteOrder::big).u32(), image);
        else if (box->type == boxType("xml "))
            noteXmp(file, box->begin, box->size(), image);
        else if (box->type == boxType("brob"))
            hasUnreadMetadata = true; // compressed
    }
    if (boxes.reachedEnd() && !hasUnreadMetadata)
        image.hasLocation = image.hasLocation.value_or(false);
    return isUnderstood;
}

} // namespace nivex
