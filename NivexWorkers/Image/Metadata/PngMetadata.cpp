// Metadata in the chunks of PNG: eXIf and iTXt (PNG, Third Edition, W3C), and the text chunks "Raw profile
// type …" in which programs kept metadata before there was eXIf.
#include "NivexWorkers/Image/Codecs/Png/CheckedChunks.hpp"
#include "NivexWorkers/Image/Metadata/Containers.hpp"
#include "NivexWorkers/Image/Metadata/FileRewrite.hpp"

#include "NivexKit/Archive/Deflate.hpp"
#include "NivexKit/Foundation/Bytes/ByteReader.hpp"
#include "NivexKit/Structures/PhotoshopResources.hpp"

#include <algorithm>
#include <charconv>
#include <string>
#include <vector>

namespace nivex::image {
namespace {

using namespace std::string_view_literals;

constexpr auto xmpKeyword = "XML:com.adobe.xmp"sv;

/// The text up to a NUL; the reader then stands behind it.
std::string_view zeroEnded(ByteReader& reader)
{
    const std::size_t start = reader.position();
    std::size_t length = 0;
    while (reader.left() > 0 && reader.u8() != 0)
        ++length;
    reader.seek(start);
    const std::string_view text = reader.text(length);
    reader.skip(1);
    return text;
}

struct Text {
    std::string keyword;
    std::string value;
};

/// The text that was compressed, in not much more memory than it needs.
std::vector<std::byte> inflated(std::span<const std::byte> data)
{
    for (std::size_t most = 64 * 1024;; most *= 4) {
        auto text = Deflate::inflatePrefix(data, std::min(most, mostBlockBytes), Deflate::Wrapping::zlib);
        if (text.size() < most || most >= mostBlockBytes)
            return text;
    }
}

Text textOf(const PngChunk& chunk, std::span<const std::byte> data)
{
    ByteReader reader{data};
    Text text{.keyword = std::string{zeroEnded(reader)}, .value = {}};
    bool isCompressed = chunk.type == "zTXt";
    if (chunk.type == "iTXt")
        isCompressed = reader.u8() != 0;
    if (chunk.type != "tEXt")
        reader.skip(1); // the method: there is one
    if (chunk.type == "iTXt") {
        zeroEnded(reader); // language
        zeroEnded(reader); // keyword in that language
    }
    const auto rest = reader.bytes(reader.left());
    text.value = asText(isCompressed ? inflated(rest) : std::vector<std::byte>{rest.begin(), rest.end()});
    return text;
}

int hexDigit(char character)
{
    if (character >= '0' && character <= '9')
        return character - '0';
    if (character >= 'a' && character <= 'f')
        return character - 'a' + 10;
    return -1;
}

/// A profile as text: a line with its name, one with the number of its bytes, then their hexadecimal digits.
std::vector<std::byte> rawProfile(std::string_view text)
{
    const auto name = text.find_first_not_of('\n');
    const auto number = name == std::string_view::npos ? name : text.find_first_not_of(" \n", text.find('\n', name));
    if (number == std::string_view::npos)
        return {};
    std::size_t count = 0;
    const auto [end, failure] = std::from_chars(text.data() + number, text.data() + text.size(), count);
    if (failure != std::errc{} || count > text.size())
        return {};
    std::vector<std::byte> bytes;
    int high = -1;
    for (const char* each = end; each != text.data() + text.size() && bytes.size() < count; ++each) {
        const int digit = hexDigit(*each);
        if (digit < 0)
            continue;
        if (high < 0) {
            high = digit;
            continue;
        }
        bytes.push_back(static_cast<std::byte>(16 * high + digit));
        high = -1;
    }
    return bytes;
}

/// The datasets in a profile "iptc", which is a Photoshop resource in most files and bare in some.
std::vector<std::byte> datasetsOf(std::vector<std::byte> profile)
{
    if (!asText(profile).starts_with("8BIM"))
        return profile;
    std::vector<std::byte> datasets;
    forEachResource(profile, [&](std::uint16_t identifier, std::span<const std::byte> contents) {
        if (identifier == photoshop::iptc)
            datasets.assign(contents.begin(), contents.end());
    });
    return datasets;
}

void takeRawProfile(std::string_view kind, std::vector<std::byte> profile, Metadata& metadata)
{
    constexpr auto xmpLead = "http://ns.adobe.com/xap/1.0/\0"sv;
    const std::string_view text = asText(profile);
    if (text.starts_with(xmpLead) || kind == "xmp") {
        if (metadata.xmp.empty())
            metadata.xmp = text.starts_with(xmpLead) ? text.substr(xmpLead.size()) : text;
    } else if (kind == "exif" || kind == "APP1") {
        if (metadata.exif.empty())
            metadata.exif = std::move(profile);
    } else if ((kind == "iptc" || kind == "8bim") && metadata.iptc.empty()) {
        metadata.iptc = datasetsOf(std::move(profile));
    }
}

bool isText(std::string_view type) { return type == "tEXt" || type == "zTXt" || type == "iTXt"; }

} // namespace

Metadata readPngMetadata(const ByteSource& file)
{
    Metadata metadata;
    Metadata fromText;
    std::size_t textBytes = 0;
    constexpr auto profileKeyword = "Raw profile type "sv;
    PngChunks chunks{file};
    while (const auto next = chunks.next()) {
        const PngChunk& chunk = *next;
        if (chunk.type == "eXIf" && chunk.count <= mostBlockBytes)
            metadata.exif = file.read(chunk.data(), chunk.count);
        if (!isText(chunk.type) || chunk.count > mostBlockBytes || textBytes > mostBlockBytes)
            continue;
        // Their text may be a novel: it is unpacked only under a keyword that is of interest.
        const auto keyword = file.read(chunk.data(), xmpKeyword.size());
        if (asText(keyword) != xmpKeyword && !asText(keyword).starts_with(profileKeyword))
            continue;
        const auto data = file.read(chunk.data(), chunk.count);
        const Text text = textOf(chunk, data);
        textBytes += data.size() + text.value.size();
        if (text.keyword == xmpKeyword)
            metadata.xmp = text.value;
        else if (text.keyword.starts_with(profileKeyword))
            takeRawProfile(std::string_view{text.keyword}.substr(profileKeyword.size()), rawProfile(text.value),
                           fromText);
    }
    if (metadata.exif.empty())
        metadata.exif = std::move(fromText.exif);
    if (metadata.xmp.empty())
        metadata.xmp = std::move(fromText.xmp);
    metadata.iptc = std::move(fromText.iptc);
    return metadata;
}

std::string pngXmpChunk(std::string_view packet)
{
    constexpr std::size_t emptyFields = 5; // ends of texts, and not compressed
    return pngChunk("iTXt", std::string{xmpKeyword}.append(emptyFields, '\0').append(packet));
}

void writePngMetadata(const std::filesystem::path& path, const Metadata& metadata)
{
    FileRewrite file{path};
    file.copy(0, pngSignature.size());
    // Before the pixels: many programs look no further.
    PngChunks chunks{file.old()};
    while (const auto next = chunks.next()) {
        if (next->type == "IDAT" || next->type == "fcTL") {
            if (!metadata.exif.empty())
                file.write(pngChunk("eXIf", asText(metadata.exif)));
            if (!metadata.xmp.empty())
                file.write(pngXmpChunk(metadata.xmp));
            file.copyRest(next->offset);
            return file.commit();
        }
        if (!isText(next->type) && next->type != "eXIf")
            file.copy(next->offset, next->end() - next->offset);
    }
    throw metadataFailure();
}

} // namespace nivex::image
