#include "NivexWorkers/Document/Model/Images.hpp"

#include "NivexKit/Foundation/Bytes/Base64.hpp"
#include "NivexKit/Foundation/Bytes/ByteReader.hpp"
#include "NivexKit/Foundation/Text/Ascii.hpp"

#include <algorithm>
#include <array>
#include <iterator>
#include <span>

namespace nivex::document {
namespace {

using namespace std::string_view_literals;

struct Kind {
    std::string_view mediaType;
    std::string_view extension;
    std::string_view beginning;
    bool isWeb = false;
};

// clang-format off
constexpr Kind kinds[] = {
    {"image/png",  "png",  "\x89PNG\r\n\x1A\n"sv, true},
    {"image/jpeg", "jpg",  "\xFF\xD8\xFF"sv, true},
    {"image/gif",  "gif",  "GIF8"sv, true},
    {"image/bmp",  "bmp",  "BM"sv},
    {"image/tiff", "tif",  "II*\0"sv},
    {"image/tiff", "tif",  "MM\0*"sv},
    {"image/x-emf", "emf", "\1\0\0\0"sv},
    {"image/x-wmf", "wmf", "\xD7\xCD\xC6\x9A"sv},
};
// clang-format on

bool isSvg(std::string_view bytes) { return bytes.substr(0, 1'024).find("<svg") != bytes.npos; }

ByteReader readerOf(const std::string& bytes, ByteOrder order)
{
    return ByteReader{std::as_bytes(std::span{bytes}), order};
}

/// Goes from marker to marker until a frame header (ITU-T T.81, B.2.2).
void measureJpeg(Image& image)
{
    ByteReader reader = readerOf(image.bytes, ByteOrder::big);
    reader.skip(2);
    while (!reader.failed() && reader.u8() == 0xFF) {
        std::uint8_t marker = reader.u8();
        while (marker == 0xFF && !reader.failed())
            marker = reader.u8();
        const std::uint16_t length = reader.u16();
        if (marker >= 0xC0 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 && marker != 0xCC) {
            reader.skip(1);
            image.height = reader.u16();
            image.width = reader.u16();
            return;
        }
        if (length < 2)
            return;
        reader.skip(length - std::size_t{2});
    }
}

void measure(Image& image)
{
    constexpr int widest = 1'000'000; // a header that says more lies
    if (image.mediaType == "image/png") {
        ByteReader reader = readerOf(image.bytes, ByteOrder::big);
        reader.skip(16);
        image.width = static_cast<int>(std::min<std::uint32_t>(reader.u32(), widest));
        image.height = static_cast<int>(std::min<std::uint32_t>(reader.u32(), widest));
    } else if (image.mediaType == "image/gif") {
        ByteReader reader = readerOf(image.bytes, ByteOrder::little);
        reader.skip(6);
        image.width = reader.u16();
        image.height = reader.u16();
    } else if (image.mediaType == "image/jpeg") {
        measureJpeg(image);
    }
}

int valueOfDigit(char digit)
{
    constexpr std::string_view digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    const std::size_t value = digits.find(digit);
    return value == digits.npos ? -1 : static_cast<int>(value);
}

/// White space is passed over; the first other byte that is no digit ends the text.
std::string decodedBase64(std::string_view text)
{
    std::string bytes;
    bytes.reserve(text.size() / 4 * 3);
    unsigned bits = 0;
    int count = 0;
    for (const char digit : text) {
        if (isAsciiSpace(digit))
            continue;
        const int value = valueOfDigit(digit);
        if (value < 0)
            break;
        bits = (bits << 6 | static_cast<unsigned>(value)) & 0xFFFFFF;
        count += 6;
        if (count >= 8) {
            count -= 8;
            bytes += static_cast<char>(bits >> count & 0xFF);
        }
    }
    return bytes;
}

} // namespace

std::optional<Image> imageOf(std::string bytes)
{
    const auto kind = std::ranges::find_if(kinds, [&](const Kind& each) {
        return bytes.starts_with(each.beginning) && each.beginning.size() < bytes.size();
    });
    Image image{.bytes = std::move(bytes)};
    if (kind != std::end(kinds))
        image.mediaType = kind->mediaType;
    else if (image.bytes.starts_with("RIFF") && image.bytes.substr(8, 4) == "WEBP")
        image.mediaType = "image/webp";
    else if (isSvg(image.bytes))
        image.mediaType = "image/svg+xml";
    else
        return std::nullopt;
    measure(image);
    return image;
}

std::string_view extensionOf(std::string_view mediaType)
{
    if (mediaType == "image/svg+xml")
        return "svg";
    if (mediaType == "image/webp")
        return "webp";
    const auto kind = std::ranges::find(kinds, mediaType, &Kind::mediaType);
    return kind == std::end(kinds) ? "bin" : kind->extension;
}

bool isWebImage(const Image& image)
{
    const auto kind = std::ranges::find(kinds, image.mediaType, &Kind::mediaType);
    return image.mediaType == "image/svg+xml" || image.mediaType == "image/webp" ||
           (kind != std::end(kinds) && kind->isWeb);
}

std::optional<Image> imageInAddress(std::string_view address)
{
    constexpr std::string_view scheme = "data:image/";
    constexpr std::string_view encoding = ";base64,";
    const std::size_t comma = address.substr(0, 256).find(encoding);
    if (!startsIgnoringCase(address, scheme) || comma == address.npos)
        return std::nullopt;
    return imageOf(decodedBase64(address.substr(comma + encoding.size())));
}

std::string addressOf(const Image& image) { return "data:" + image.mediaType + ";base64," + base64(image.bytes); }

} // namespace nivex::document
