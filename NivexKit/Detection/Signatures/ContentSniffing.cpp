#include "NivexKit/Detection/Signatures/ContentSniffing.hpp"

#include "NivexKit/Detection/Signatures/SignatureSniffer.hpp"
#include "NivexKit/Foundation/Bytes/ByteReader.hpp"

#include <string_view>
#include <vector>

namespace nivex {
namespace {

/// The even or the odd bytes when those between are nearly all zero and these are not: UTF-16 of mostly Latin text.
/// Otherwise all bytes.
std::vector<std::byte> withoutUtf16Zeros(std::span<const std::byte> head)
{
    std::size_t zeros[2] = {0, 0};
    for (std::size_t i = 0; i < head.size(); ++i)
        if (head[i] == std::byte{0})
            ++zeros[i % 2];
    const std::size_t half = head.size() / 2;
    for (std::size_t zeroSide = 0; zeroSide < 2 && half >= 4; ++zeroSide) {
        if (zeros[zeroSide] < half - half / 4 || zeros[1 - zeroSide] != 0)
            continue;
        std::vector<std::byte> letters;
        letters.reserve(half + 1);
        for (std::size_t i = 1 - zeroSide; i < head.size(); i += 2)
            letters.push_back(head[i]);
        return letters;
    }
    return {head.begin(), head.end()};
}

/// Text of an unstated encoding with its non-ASCII bytes replaced by letters; nothing when it is not text.
std::vector<std::byte> asciiPart(std::span<const std::byte> head)
{
    constexpr std::string_view usualControls = "\t\n\f\r\x1A\x1B";
    std::vector<std::byte> text = withoutUtf16Zeros(head);
    std::size_t controls = 0;
    for (std::byte& each : text) {
        const char letter = std::to_integer<char>(each);
        if (letter == '\0')
            return {};
        if (each >= std::byte{0x80})
            each = std::byte{'x'};
        else if (each < std::byte{0x20} && usualControls.find(letter) == std::string_view::npos)
            ++controls;
    }
    constexpr std::size_t oneInTwenty = 20; // as for text whose encoding is known
    if (controls * oneInTwenty >= text.size())
        return {};
    return text;
}

/// Text marked as UTF-32, its letters beyond ASCII replaced by "x"; nothing without the mark.
std::vector<std::byte> asciiPartOfUtf32(std::span<const std::byte> head)
{
    ByteReader reader{head, ByteOrder::big};
    const std::uint32_t mark = reader.u32();
    if (mark == 0xFFFE0000)
        reader.setOrder(ByteOrder::little);
    else if (mark != 0x0000FEFF)
        return {};
    std::vector<std::byte> text;
    while (reader.left() >= 4) {
        const std::uint32_t scalar = reader.u32();
        constexpr std::uint32_t last = 0x10FFFF;
        if (scalar == 0 || scalar > last)
            return {};
        text.push_back(scalar < 0x80 ? static_cast<std::byte>(scalar) : std::byte{'x'});
    }
    return text;
}

/// A picture of rows of bytes behind a header in plain letters ("P6 640 480 255").
bool isRawPixmap(std::span<const std::byte> head)
{
    const std::string_view text{reinterpret_cast<const char*>(head.data()), head.size()};
    return text.size() > 3 && text[0] == 'P' && text[1] >= '4' && text[1] <= '6' && text[2] <= ' ' &&
           (text[3] == '#' || (text[3] >= '0' && text[3] <= '9'));
}

/// A PDF file behind a mail's or a server's header lines, as readers open it too. No text holds compressed pages.
bool isPdfBehindJunk(std::span<const std::byte> head)
{
    constexpr std::size_t junkInFront = 1024;
    return SignatureSniffer::find(std::as_bytes(std::span{"%PDF-", 5}), head, junkInFront).has_value();
}

} // namespace

SniffResult sniffedContent(std::span<const std::byte> head)
{
    SniffResult content = SignatureSniffer::sniff(head);
    if (!content.isUnknown() || content.isText)
        return content;
    if (isPdfBehindJunk(head))
        return {.candidates = {"pdf"}, .container = ContainerKind::pdf};
    std::vector<std::byte> text = asciiPartOfUtf32(head);
    if (text.empty() && !isRawPixmap(head))
        text = asciiPart(head);
    if (text.empty())
        return content;
    SniffResult asText = SignatureSniffer::sniff(text);
    if (asText.isText)
        return asText;
    content.isText = true;
    return content;
}

} // namespace nivex
