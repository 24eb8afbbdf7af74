#include "NivexKit/Detection/Pdf/PdfObjects.hpp"

#include "NivexKit/Archive/Deflate.hpp"
#include "NivexKit/Foundation/ConversionError.hpp"

#include <algorithm>
#include <charconv>
#include <cstdlib>

namespace nivex {
namespace {

// What a dictionary, the compressed data of a stream and its decoded form may take. Larger ones are not read whole.
constexpr std::size_t shortText = 1024;
constexpr std::size_t longText = 48 * 1024;
constexpr std::size_t maxCompressed = 96 * 1024;
constexpr std::size_t maxEntries = 1024 * 1024;
constexpr std::size_t maxObjectStream = 256 * 1024;

// So far from where they should be things are looked for: a program changed the ends of lines, or added a comment.
constexpr std::uint64_t farOff = 32;

constexpr int maxSections = 16;
constexpr int maxSubsections = 64;
constexpr std::uint64_t tableEntrySize = 20;

std::string_view characters(std::span<const std::byte> bytes)
{
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

/// Takes "12 0 obj" off the front of the text; none when it is not there.
std::optional<PdfReference> takeObjectHeader(std::string_view& text)
{
    std::uint32_t numbers[2] = {0, 0};
    std::string_view rest = text;
    for (std::uint32_t& number : numbers) {
        rest = afterPdfSpace(rest);
        const auto [end, failure] = std::from_chars(rest.data(), rest.data() + rest.size(), number);
        if (failure != std::errc{})
            return std::nullopt;
        rest.remove_prefix(static_cast<std::size_t>(end - rest.data()));
    }
    rest = afterPdfSpace(rest);
    if (!rest.starts_with("obj"))
        return std::nullopt;
    text = rest.substr(3);
    return PdfReference{.number = numbers[0], .generation = numbers[1]};
}

bool isObject(std::string_view text, std::uint32_t number)
{
    const auto header = takeObjectHeader(text);
    return header && header->number == number;
}

/// A cross-reference begins: a table, or any object, whose dictionary tells then.
bool isCrossReference(std::string_view text, std::uint32_t)
{
    text = afterPdfSpace(text);
    return text.starts_with("xref") || takeObjectHeader(text).has_value();
}

std::size_t sizeEntry(std::string_view dictionary, std::string_view key, std::size_t otherwise)
{
    const auto value = pdfEntry(dictionary, key);
    const auto number = value ? pdfInteger(*value) : std::nullopt;
    return number && *number >= 0 ? static_cast<std::size_t>(*number) : otherwise;
}

/// The next whole number of an array's text.
std::optional<std::uint32_t> takeArrayNumber(std::string_view& array)
{
    array.remove_prefix(std::min(array.find_first_of("0123456789"), array.size()));
    std::uint32_t number = 0;
    const auto [end, failure] = std::from_chars(array.data(), array.data() + array.size(), number);
    if (failure != std::errc{})
        return std::nullopt;
    array.remove_prefix(static_cast<std::size_t>(end - array.data()));
    return number;
}

/// One of the filters that predict a byte from its neighbours (PNG's).
std::byte predicted(int filter, std::byte left, std::byte above, std::byte aboveLeft)
{
    const int a = std::to_integer<int>(left);
    const int b = std::to_integer<int>(above);
    const int c = std::to_integer<int>(aboveLeft);
    switch (filter) {
    case 1:
        return left;
    case 2:
        return above;
    case 3:
        return static_cast<std::byte>((a + b) / 2);
    case 4: {
        const int toLeft = std::abs(b - c);
        const int toAbove = std::abs(a - c);
        const int toCorner = std::abs(a + b - 2 * c);
        return toLeft <= toAbove && toLeft <= toCorner ? left : toAbove <= toCorner ? above : aboveLeft;
    }
    default:
        return std::byte{0};
    }
}

/// Undoes the prediction of rows of `columns` bytes, each behind a byte that names its filter.
std::vector<std::byte> unpredicted(std::span<const std::byte> data, std::size_t columns)
{
    std::vector<std::byte> result;
    if (columns == 0 || columns > data.size())
        return result;
    result.reserve(data.size());
    for (std::size_t row = 0; data.size() - row > columns; row += columns + 1) {
        const int filter = std::to_integer<int>(data[row]);
        const std::size_t start = result.size();
        for (std::size_t i = 0; i < columns; ++i) {
            const std::byte left = i > 0 ? result[start + i - 1] : std::byte{0};
            const std::byte above = start > 0 ? result[start - columns + i] : std::byte{0};
            const std::byte aboveLeft = start > 0 && i > 0 ? result[start - columns + i - 1] : std::byte{0};
            const auto sum = std::to_integer<unsigned>(data[row + 1 + i]) +
                             std::to_integer<unsigned>(predicted(filter, left, above, aboveLeft));
            result.push_back(static_cast<std::byte>(sum & 0xFF));
        }
    }
    return result;
}

} // namespace

PdfObjects::PdfObjects(HeaderBytes& file) : file_{file}
{
    constexpr std::size_t junkInFront = 1024;
    const std::size_t begin = text(0, junkInFront).find("%PDF-");
    base_ = begin == std::string_view::npos ? 0 : begin;
    if (const auto offset = startOfSections())
        readSections(*offset);
}

std::string_view PdfObjects::text(std::uint64_t offset, std::size_t count)
{
    return characters(file_.slice(base_ + offset, count));
}

std::optional<std::uint64_t> PdfObjects::startOfSections()
{
    constexpr std::uint64_t tailSize = 2048;
    const std::uint64_t size = file_.size();
    const std::uint64_t tailStart = size > tailSize ? size - tailSize : 0;
    const std::string_view tail = characters(file_.slice(tailStart, tailSize));
    constexpr std::string_view word = "startxref";
    const std::size_t found = tail.rfind(word);
    if (found == std::string_view::npos)
        return std::nullopt;
    const auto offset = pdfInteger(pdfObject(tail.substr(found + word.size())));
    if (!offset || *offset <= 0)
        return std::nullopt;
    return static_cast<std::uint64_t>(*offset);
}

void PdfObjects::readSections(std::uint64_t offset)
{
    std::vector<std::uint64_t> seen;
    std::vector<std::uint64_t> pending{offset};
    while (!pending.empty() && seen.size() < maxSections) {
        const std::uint64_t next = near(pending.back(), isCrossReference, 0);
        pending.pop_back();
        if (std::find(seen.begin(), seen.end(), next) != seen.end())
            continue;
        seen.push_back(next);
        Section section;
        const std::string_view start = afterPdfSpace(text(next, shortText));
        const std::string_view trailer =
            start.starts_with("xref") ? readTable(next, section) : readStream(next, section);
        if (trailer.empty())
            continue;
        sections_.push_back(std::move(section));
        trailers_.push_back(trailer);
        // The stream that completes a table comes before the older sections.
        for (const std::string_view key : {"/Prev", "/XRefStm"})
            if (const std::size_t older = sizeEntry(trailer, key, 0); older > 0)
                pending.push_back(older);
    }
}

std::string_view PdfObjects::readTable(std::uint64_t offset, Section& section)
{
    const std::string_view start = text(offset, shortText);
    std::uint64_t position = offset + start.find("xref") + 4;
    for (int i = 0; i < maxSubsections; ++i) {
        const std::string_view window = text(position, shortText);
        std::string_view rest = afterPdfSpace(window);
        if (rest.starts_with("trailer")) {
            const std::uint64_t dictionary = position + (window.size() - rest.size()) + 7;
            const std::string_view brief = pdfObject(text(dictionary, shortText));
            return brief.empty() ? pdfObject(text(dictionary, longText)) : brief;
        }
        Table table;
        for (std::uint32_t* number : {&table.first, &table.count}) {
            rest = afterPdfSpace(rest);
            const auto [end, failure] = std::from_chars(rest.data(), rest.data() + rest.size(), *number);
            if (failure != std::errc{})
                return {};
            rest.remove_prefix(static_cast<std::size_t>(end - rest.data()));
        }
        rest = afterPdfSpace(rest);
        table.position = position + (window.size() - rest.size());
        section.tables.push_back(table);
        position = table.position + table.count * tableEntrySize;
    }
    return {};
}

std::string_view PdfObjects::readStream(std::uint64_t offset, Section& section)
{
    std::string_view rest = text(offset, shortText + maxCompressed);
    if (!takeObjectHeader(rest))
        return {};
    const std::string_view dictionary = pdfObject(rest);
    if (pdfEntry(dictionary, "/Type") != "/XRef")
        return {};
    Stream& stream = section.stream;
    std::string_view widths = pdfEntry(dictionary, "/W").value_or("");
    for (std::size_t& width : stream.widths)
        width = std::min<std::size_t>(takeArrayNumber(widths).value_or(0), 8);
    stream.entries = decodedStream(rest, maxEntries);
    std::string_view ranges = pdfEntry(dictionary, "/Index").value_or("");
    while (const auto first = takeArrayNumber(ranges))
        if (const auto count = takeArrayNumber(ranges))
            stream.ranges.emplace_back(*first, *count);
    if (stream.ranges.empty())
        stream.ranges.emplace_back(0, static_cast<std::uint32_t>(sizeEntry(dictionary, "/Size", 0)));
    return dictionary;
}

std::vector<std::byte> PdfObjects::decodedStream(std::string_view text, std::size_t maxOutput)
{
    const std::string_view dictionary = pdfObject(text);
    std::string_view data = afterPdfSpace(text.substr(static_cast<std::size_t>(dictionary.end() - text.begin())));
    if (dictionary.empty() || !data.starts_with("stream"))
        return {};
    data.remove_prefix(6);
    if (data.starts_with("\r\n"))
        data.remove_prefix(2);
    else if (data.starts_with('\n'))
        data.remove_prefix(1);
    const std::span bytes{reinterpret_cast<const std::byte*>(data.data()), data.size()};

    std::string_view filter = pdfEntry(dictionary, "/Filter").value_or("");
    if (filter.empty()) {
        const std::size_t length = std::min({sizeEntry(dictionary, "/Length", 0), bytes.size(), maxOutput});
        return {bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(length)};
    }
    if (filter.starts_with('['))
        filter = afterPdfSpace(filter.substr(1));
    if (!filter.starts_with("/FlateDecode"))
        return {};
    auto decoded = Deflate::inflatePrefix(bytes, maxOutput, Deflate::Wrapping::zlib);
    std::string_view parameters = pdfEntry(dictionary, "/DecodeParms").value_or("");
    if (parameters.starts_with('['))
        parameters.remove_prefix(1);
    constexpr std::size_t firstRowPredictor = 10;
    if (sizeEntry(parameters, "/Predictor", 1) >= firstRowPredictor)
        return unpredicted(decoded, sizeEntry(parameters, "/Columns", 1));
    return decoded;
}

std::optional<std::string_view> PdfObjects::trailerEntry(std::string_view key) const
{
    for (const std::string_view trailer : trailers_)
        if (const auto value = pdfEntry(trailer, key))
            return value;
    return std::nullopt;
}

std::optional<PdfObjects::Place> PdfObjects::place(std::uint32_t number)
{
    for (const Section& section : sections_) {
        for (const Table& table : section.tables) {
            if (number < table.first || number - table.first >= table.count)
                continue;
            const std::string_view entry =
                text(table.position + (number - table.first) * tableEntrySize, tableEntrySize);
            std::uint64_t offset = 0;
            const bool isInUse = entry.size() == tableEntrySize && entry[17] == 'n';
            if (isInUse && std::from_chars(entry.data(), entry.data() + 10, offset).ec == std::errc{})
                return Place{.kind = Place::Kind::offset, .value = offset};
        }
        if (const auto found = placeIn(section.stream, number))
            return found;
    }
    return std::nullopt;
}

std::optional<PdfObjects::Place> PdfObjects::placeIn(const Stream& stream, std::uint32_t number) const
{
    std::size_t index = 0;
    for (const auto& [first, count] : stream.ranges) {
        if (number < first || number - first >= count) {
            index += count;
            continue;
        }
        index += number - first;
        const std::size_t entrySize = stream.widths[0] + stream.widths[1] + stream.widths[2];
        if (entrySize == 0 || index >= stream.entries.size() / entrySize)
            return std::nullopt;
        const std::span entry = std::span{stream.entries}.subspan(index * entrySize, entrySize);
        std::uint64_t values[2] = {stream.widths[0] == 0 ? 1U : 0U, 0}; // the kind is 1 where it is left out
        std::size_t position = 0;
        for (int i = 0; i < 2; ++i)
            for (std::size_t j = 0; j < stream.widths[i]; ++j)
                values[i] = values[i] << 8 | std::to_integer<std::uint64_t>(entry[position++]);
        if (values[0] == 1)
            return Place{.kind = Place::Kind::offset, .value = values[1]};
        if (values[0] == 2)
            return Place{.kind = Place::Kind::inStream, .value = values[1]};
        return std::nullopt;
    }
    return std::nullopt;
}

std::optional<std::string_view> PdfObjects::resolved(std::string_view object)
{
    constexpr int maxSteps = 4;
    for (int i = 0; i < maxSteps; ++i) {
        const auto reference = pdfReference(object);
        if (!reference)
            return object;
        const auto found = place(reference->number);
        if (!found)
            return std::nullopt;
        const auto next = found->kind == Place::Kind::offset
                              ? objectAt(found->value, reference->number)
                              : objectInStream(static_cast<std::uint32_t>(found->value), reference->number);
        if (!next)
            return std::nullopt;
        object = *next;
    }
    return std::nullopt;
}

std::uint64_t PdfObjects::near(std::uint64_t offset, bool (*stands)(std::string_view, std::uint32_t),
                               std::uint32_t number)
{
    const std::uint64_t begin = offset - std::min(offset, farOff);
    const std::string_view window = text(begin, 2 * farOff + shortText);
    if (stands(window.substr(std::min<std::size_t>(offset - begin, window.size())), number))
        return offset;
    constexpr std::string_view digits = "0123456789";
    for (std::size_t at = 0; at < std::min<std::size_t>(window.size(), 2 * farOff); ++at) {
        const bool isInside = at > 0 && digits.find(window[at - 1]) != digits.npos; // of a longer number
        if (!isInside && stands(window.substr(at), number))
            return begin + at;
    }
    return offset;
}

std::optional<std::string_view> PdfObjects::objectAt(std::uint64_t offset, std::uint32_t number)
{
    offset = near(offset, isObject, number);
    for (const std::size_t count : {shortText, longText}) {
        std::string_view rest = text(offset, count);
        const auto header = takeObjectHeader(rest);
        if (!header || header->number != number)
            return std::nullopt;
        if (!pdfObject(rest).empty())
            return rest;
    }
    return std::nullopt;
}

std::optional<std::string_view> PdfObjects::objectInStream(std::uint32_t streamNumber, std::uint32_t number)
{
    const auto found = place(streamNumber);
    if (!found || found->kind != Place::Kind::offset)
        return std::nullopt;
    std::string_view rest = text(near(found->value, isObject, streamNumber), shortText + maxCompressed);
    const auto header = takeObjectHeader(rest);
    if (!header || header->number != streamNumber)
        return std::nullopt;
    const std::string_view dictionary = pdfObject(rest);
    const std::size_t first = sizeEntry(dictionary, "/First", 0);
    objectStreams_.push_back(decodedStream(rest, maxObjectStream));
    const std::string_view contents = characters(objectStreams_.back());
    if (first > contents.size())
        return std::nullopt;
    std::string_view index = contents.substr(0, first);
    while (const auto each = takeArrayNumber(index)) {
        const auto offset = takeArrayNumber(index);
        if (!offset)
            break;
        if (*each == number && *offset < contents.size() - first)
            return contents.substr(first + *offset);
    }
    return std::nullopt;
}

} // namespace nivex
