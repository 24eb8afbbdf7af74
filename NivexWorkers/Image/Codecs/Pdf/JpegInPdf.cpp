#include "NivexWorkers/Image/Codecs/Pdf/JpegInPdf.hpp"

#include "NivexKit/Foundation/Bytes/ByteReader.hpp"
#include "NivexKit/Structures/JpegSegments.hpp"

#include <algorithm>
#include <string_view>

namespace nivex::image {
namespace {

constexpr std::uint8_t jfif = 0xE0;
constexpr std::uint8_t adobe = 0xEE;
constexpr std::uint8_t comment = 0xFE;

bool isFrame(std::uint8_t marker) { return marker >= 0xC0 && marker <= 0xC2; } // baseline, extended, progressive

/// Segments of programs (APPn) and comments, but for the two that tell how colours are meant.
bool isOnlyWords(std::uint8_t marker)
{
    return marker == comment || (marker >= 0xE0 && marker <= 0xEF && marker != jfif && marker != adobe);
}

} // namespace

std::optional<JpegInPdf> jpegInPdf(const ByteSource& file)
{
    std::optional<JpegInPdf> found;
    bool isJfif = false;
    bool isAdobe = false;
    std::vector<std::uint8_t> identifiers;
    JpegSegments segments{file};
    while (const auto segment = segments.next()) {
        const auto payload = file.read(segment->data(), std::min<std::size_t>(segment->payload, 32));
        ByteReader reader{payload, ByteOrder::big};
        if (segment->marker == jfif)
            isJfif |= reader.text(5) == std::string_view{"JFIF\0", 5};
        else if (segment->marker == adobe)
            isAdobe |= reader.text(5) == "Adobe";
        else if (isFrame(segment->marker)) {
            const std::uint8_t bits = reader.u8();
            found = JpegInPdf{.width = 0, .height = reader.u16(), .components = 0, .isInverted = false};
            found->width = reader.u16();
            found->components = reader.u8();
            for (int i = 0; i < found->components; ++i) {
                identifiers.push_back(reader.u8());
                reader.skip(2);
            }
            if (reader.failed() || bits != 8 || found->width == 0 || found->height == 0)
                return std::nullopt;
        }
    }
    if (!found)
        return std::nullopt;
    found->isInverted = found->components == 4 && isAdobe;
    const bool isPlain = identifiers == std::vector<std::uint8_t>{1, 2, 3};
    const bool isClear = found->components == 1 || (found->components == 3 && (isJfif || isAdobe || isPlain)) ||
                         (found->components == 4 && isAdobe);
    return isClear ? found : std::nullopt;
}

std::vector<JpegInPdf::Piece> bareJpeg(const ByteSource& file)
{
    std::vector<JpegInPdf::Piece> pieces{{0, 2}};
    JpegSegments segments{file};
    while (const auto segment = segments.next())
        if (!isOnlyWords(segment->marker))
            pieces.push_back({segment->offset, segment->end() - segment->offset});
    const std::uint64_t end = jpegPictureEnd(file).value_or(file.size());
    pieces.push_back({segments.position(), end - segments.position()});
    return pieces;
}

} // namespace nivex::image
