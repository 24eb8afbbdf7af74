#include "NivexKit/Detection/Signatures/ContentSniffing.hpp"

#include "NivexKit/Detection/Signatures/SignatureSniffer.hpp"

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
    const std::vector<std::byte> text = asciiPart(head);
    if (text.empty())
        return content;
    SniffResult asText = SignatureSniffer::sniff(text);
    if (asText.isText)
        return asText;
    content.isText = true;
    return content;
}

} // namespace nivex
