#include "NivexWorkers/Data/Text/TextSource.hpp"

#include "NivexKit/Foundation/ConversionError.hpp"
#include "NivexKit/Foundation/Text/CharacterSet.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"
#include "NivexKit/Foundation/Text/Unicode.hpp"

#include <algorithm>
#include <array>
#include <cstring>
#include <optional>
#include <utility>

namespace nivex::data {
namespace {

constexpr std::size_t pieceSize = 1 << 18;
constexpr std::size_t sampleSize = 32 * 1024;
constexpr std::size_t longestUndecoded = 16 << 20; // bytes without a line break
constexpr const char* fallback = "windows-1252";

struct Mark {
    std::string_view bytes;
    const char* characterSet;
};

// A mark that begins like another stands above it.
constexpr Mark marks[] = {
    {{"\xEF\xBB\xBF", 3}, "UTF-8"}, {{"\xFF\xFE\x00\x00", 4}, "UTF-32LE"}, {{"\x00\x00\xFE\xFF", 4}, "UTF-32BE"},
    {{"\xFF\xFE", 2}, "UTF-16LE"},  {{"\xFE\xFF", 2}, "UTF-16BE"},
};

std::string_view characters(std::span<const std::byte> bytes)
{
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

/// How many bytes at the end of `text` begin a UTF-8 character that goes on behind it.
std::size_t unfinished(std::string_view text)
{
    for (std::size_t back = 1; back <= std::min<std::size_t>(3, text.size()); ++back) {
        const auto byte = static_cast<unsigned char>(text[text.size() - back]);
        if (byte < 0x80)
            return 0;
        if (byte >= 0xC0) {
            const std::size_t length = byte >= 0xF0 ? 4 : byte >= 0xE0 ? 3 : 2;
            return length > back ? back : 0;
        }
    }
    return 0;
}

bool hasWide(std::string_view text)
{
    return std::ranges::any_of(text, [](char each) { return static_cast<unsigned char>(each) >= 0x80; });
}

/// UTF-16 without a mark: the zero bytes of its ASCII characters all stand on one side.
std::optional<TextEncoding> unmarkedWide(std::string_view head)
{
    std::array<std::size_t, 2> zeros{};
    for (std::size_t i = 0; i < head.size(); ++i)
        zeros[i % 2] += head[i] == '\0';
    const std::size_t units = head.size() / 2;
    if (zeros[1] > units / 2 && zeros[0] == 0)
        return TextEncoding{.characterSet = "UTF-16LE"};
    if (zeros[0] > units / 2 && zeros[1] == 0)
        return TextEncoding{.characterSet = "UTF-16BE"};
    return std::nullopt;
}

/// What the lines of a file say about its encoding, all of them.
class Survey {
public:
    void line(std::string_view text)
    {
        hasZero_ = hasZero_ || std::memchr(text.data(), 0, text.size()) != nullptr;
        if (isValidUtf8(text)) {
            wellFormed_ += hasWide(text);
            return;
        }
        ++illFormed_;
        if (sample_.size() < sampleSize)
            sample_.append(text.substr(0, sampleSize)).append("\n");
    }

    /// All lines of a piece at once, where every one is well formed.
    bool piece(std::string_view text)
    {
        if (std::memchr(text.data(), 0, text.size()) != nullptr || !isValidUtf8(text))
            return false;
        wellFormed_ += wellFormed_ == 0 && hasWide(text);
        return true;
    }

    TextEncoding encoding() const
    {
        if (hasZero_)
            throw ConversionError::unreadableSource("ce n'est pas un texte"_fr);
        if (illFormed_ == 0)
            return {};
        if (wellFormed_ >= illFormed_)
            return {.isMixed = true};
        return {.characterSet = guessedCharacterSet(sample_).value_or(fallback)};
    }

private:
    std::string sample_;         // lines that are not UTF-8
    std::size_t wellFormed_ = 0; // lines with more than ASCII
    std::size_t illFormed_ = 0;
    bool hasZero_ = false;
};

void surveyLines(Survey& survey, std::string_view text)
{
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        survey.line(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
}

[[noreturn]] void failReading() { throw ConversionError::unreadableSource("lecture impossible"_fr); }

} // namespace

TextEncoding encodingOf(const ByteSource& bytes)
{
    const std::vector<std::byte> headBytes = bytes.read(0, sampleSize);
    const std::string_view head = characters(headBytes);
    std::size_t markSize = 0;
    for (const Mark& mark : marks)
        if (head.starts_with(mark.bytes)) {
            if (std::string_view{mark.characterSet} != "UTF-8")
                return {.characterSet = mark.characterSet, .markSize = mark.bytes.size()};
            markSize = mark.bytes.size();
            break;
        }
    if (const auto wide = unmarkedWide(head))
        return *wide;

    Survey survey;
    std::vector<std::byte> piece(static_cast<std::size_t>(std::min<std::uint64_t>(pieceSize, bytes.size())));
    for (std::uint64_t at = markSize; at < bytes.size();) {
        const std::size_t count = bytes.read(at, std::span{piece});
        if (count == 0)
            failReading();
        std::string_view text = characters(std::span{piece}.first(count));
        // A piece ends with a line where it holds the end of one, so that no line is judged by halves.
        if (at + count < bytes.size()) {
            const std::size_t lineEnd = text.rfind('\n');
            const std::size_t whole = lineEnd == text.npos ? text.size() - unfinished(text) : lineEnd + 1;
            text = text.substr(0, std::max<std::size_t>(whole, 1));
        }
        if (!survey.piece(text))
            surveyLines(survey, text);
        at += text.size();
    }
    TextEncoding encoding = survey.encoding();
    encoding.markSize = markSize;
    return encoding;
}

TextSource::TextSource(const ByteSource& bytes, TextEncoding encoding) : bytes_{bytes}, encoding_{std::move(encoding)}
{
    rewind();
}

void TextSource::rewind()
{
    position_ = encoding_.markSize;
    raw_.clear();
    decoded_.clear();
    handedOut_ = 0;
}

double TextSource::share() const
{
    return bytes_.size() == 0 ? 1 : static_cast<double>(position_) / static_cast<double>(bytes_.size());
}

std::size_t TextSource::read(std::span<char> buffer)
{
    if (encoding_.characterSet == "UTF-8" && !encoding_.isMixed)
        return readBytes(buffer);
    while (handedOut_ == decoded_.size()) {
        decodeMore();
        if (decoded_.empty())
            return 0;
    }
    const std::size_t count = std::min(buffer.size(), decoded_.size() - handedOut_);
    std::memcpy(buffer.data(), decoded_.data() + handedOut_, count);
    handedOut_ += count;
    return count;
}

std::size_t TextSource::readBytes(std::span<char> buffer)
{
    const std::size_t count = bytes_.read(position_, std::as_writable_bytes(buffer));
    if (count == 0 && position_ < bytes_.size())
        failReading();
    position_ += count;
    return count;
}

/// Fills `decoded_` with the next characters; leaves it empty at the end.
void TextSource::decodeMore()
{
    decoded_.clear();
    handedOut_ = 0;
    const bool isWide = encoding_.characterSet.starts_with("UTF-") && !encoding_.isMixed;
    std::size_t whole = 0;
    while (whole == 0) {
        const std::size_t before = raw_.size();
        raw_.resize(before + pieceSize);
        const std::size_t count = readBytes(std::span{raw_}.subspan(before));
        raw_.resize(before + count);
        if (raw_.empty())
            return;
        // Behind a line feed a character begins in every set.
        const std::size_t lineEnd = raw_.rfind('\n');
        if (count == 0 || raw_.size() > longestUndecoded)
            whole = raw_.size();
        else if (isWide)
            whole = raw_.size() / 4 * 4;
        else
            whole = lineEnd + 1; // 0 where there is none
        if (isWide && whole > 4 && count > 0 && encoding_.characterSet.starts_with("UTF-16")) {
            const auto high = static_cast<unsigned char>(raw_[whole - (encoding_.characterSet == "UTF-16LE" ? 1 : 2)]);
            if (high >= 0xD8 && high <= 0xDB)
                whole -= 2; // the first half of a pair
        }
    }
    const std::string_view text = std::string_view{raw_}.substr(0, whole);
    if (!encoding_.isMixed) {
        decoded_ = converted(text, encoding_.characterSet).value_or(std::string{});
    } else {
        for (std::size_t at = 0; at < text.size();) {
            const std::size_t end = std::min(text.find('\n', at), text.size() - 1) + 1;
            const std::string_view line = text.substr(at, end - at);
            decoded_ += isValidUtf8(line) ? std::string{line} : converted(line, fallback).value_or(validUtf8(line));
            at = end;
        }
    }
    raw_.erase(0, whole);
}

} // namespace nivex::data
