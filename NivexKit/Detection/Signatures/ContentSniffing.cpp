#include "NivexKit/Detection/Signatures/ContentSniffing.hpp"

#include "NivexKit/Detection/Signatures/SignatureSniffer.hpp"
#include "NivexKit/Detection/Signatures/TextHead.hpp"
#include "NivexKit/Detection/Signatures/TextShapes.hpp"
#include "NivexKit/Foundation/Bytes/ByteSource.hpp"
#include "NivexKit/Foundation/Text/WideText.hpp"

#include <algorithm>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace nivex {
namespace {

std::string_view characters(std::span<const std::byte> bytes)
{
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

/// UTF-16 and UTF-32 that `SignatureSniffer` does not take for text.
std::optional<std::string> wideText(std::string_view bytes)
{
    if (bytes.find('\0') == std::string_view::npos)
        return std::nullopt;
    auto text = markedWideText(bytes);
    return text && text->find('\0') == std::string::npos ? text : unmarkedWideText(bytes);
}

/// Text of an unstated encoding with its non-ASCII bytes replaced by letters; nothing when it is not text.
std::vector<std::byte> asciiPart(std::span<const std::byte> head)
{
    constexpr std::string_view usualControls = "\t\n\f\r\x1A\x1B";
    std::vector<std::byte> text{head.begin(), head.end()};
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
    if (const auto text = wideText(characters(head)))
        return SignatureSniffer::sniff(std::as_bytes(std::span{*text}));
    if (isPdfBehindJunk(head))
        return {.candidates = {"pdf"}, .container = ContainerKind::pdf};
    const std::vector<std::byte> text = isRawPixmap(head) ? std::vector<std::byte>{} : asciiPart(head);
    if (text.empty())
        return content;
    SniffResult asText = SignatureSniffer::sniff(text);
    if (asText.isText)
        return asText;
    content.isText = true;
    return content;
}

bool staysJson(const ByteSource& source, std::size_t longest)
{
    std::vector<std::byte> bytes(static_cast<std::size_t>(std::min<std::uint64_t>(source.size(), longest)));
    bytes.resize(source.read(0, bytes));
    std::string storage;
    const auto text = decodedHead(bytes, storage);
    return !text || shapes::isJson(*text, bytes.size() == source.size());
}

} // namespace nivex
