#include "NivexKit/Archive/Deflate.hpp"
#include "NivexKit/Detection/Containers/ContainerInspectors.hpp"
#include "NivexKit/Detection/Containers/InspectorSupport.hpp"
#include "NivexKit/Foundation/Bytes/ByteReader.hpp"

#include <algorithm>

namespace nivex::inspectors {

using Candidates = std::vector<FormatID>;

bool opensTar(std::string_view text)
{
    constexpr std::size_t blockSize = 512;
    constexpr std::size_t checksumOffset = 148;
    constexpr std::size_t checksumSize = 8;
    if (text.size() < blockSize)
        return false;
    if (text.substr(257, 5) == "ustar")
        return true;
    // The sum of all bytes, those of the checksum itself taken as spaces.
    unsigned sum = checksumSize * ' ';
    for (std::size_t i = 0; i < blockSize; ++i)
        if (i < checksumOffset || i >= checksumOffset + checksumSize)
            sum += static_cast<unsigned char>(text[i]);
    unsigned stored = 0;
    for (const char each : text.substr(checksumOffset, checksumSize))
        if (each >= '0' && each <= '7')
            stored = stored * 8 + static_cast<unsigned>(each - '0');
        else if (each != ' ' && each != '\0')
            return false;
    return text[0] != '\0' && stored == sum;
}

/// Any content may be kept in a file named .gz, so that is possible besides what the content is.
Finding gzip(const ByteSource& source, const SniffResult&)
{
    constexpr std::size_t compressedBytes = 16 << 10;
    constexpr std::size_t decodedBytes = 8 << 10;
    const auto head = source.read(0, compressedBytes);
    const auto inflated = Deflate::inflatePrefix(head, decodedBytes, Deflate::Wrapping::gzip);
    const std::string_view text = asText(inflated);
    if (text.empty())
        return {};
    if (opensTar(text))
        return {.candidates = Candidates{"tgz", "gz"}};
    if (contains(text, "<svg"))
        return {.candidates = Candidates{"svgz", "gz"}};
    if (contains(text, "<Ableton"))
        return {.candidates = Candidates{"als", "gz"}};
    if (contains(text, "<PremiereData"))
        return {.candidates = Candidates{"prproj", "gz"}};
    if (text.starts_with("BLENDER"))
        return {.candidates = Candidates{"blend", "gz"}};
    return {.candidates = Candidates{"gz"}};
}

Finding rar(const ByteSource& source, const SniffResult&)
{
    const auto head = source.read(0, std::size_t{64});
    ByteReader reader{head};
    reader.skip(6);
    if (reader.u8() == 1) { // version 5: an encryption header follows the signature
        constexpr std::uint8_t encryptionHeader = 4;
        reader.skip(5); // the rest of the signature, checksum
        while (reader.u8() >= 0x80) {
        }
        return {.isEncrypted = reader.u8() == encryptionHeader && !reader.failed()};
    }
    constexpr std::uint16_t headersEncrypted = 0x0080;
    constexpr std::uint16_t fileEncrypted = 0x0004;
    reader.skip(3);
    const bool hidden = (reader.u16() & headersEncrypted) != 0;
    const std::uint16_t size = reader.u16();
    reader.seek(std::min<std::size_t>(std::size_t{7} + size + 3, head.size()));
    const bool locked = (reader.u16() & fileEncrypted) != 0;
    return {.isEncrypted = hidden || (locked && !reader.failed())};
}

Finding sevenZip(const ByteSource& source, const SniffResult&)
{
    constexpr std::size_t headerSize = 32;
    constexpr std::size_t directoryBytes = 64 << 10;
    const auto bytes = source.read(0, headerSize);
    ByteReader header{bytes};
    header.skip(12);
    const std::uint64_t offset = header.u64();
    const std::uint64_t size = header.u64();
    if (header.failed() || offset > source.size() || size > directoryBytes)
        return {};
    // The directory, or what tells how it is packed: either names its coders.
    const std::string directory = textAt(source, headerSize + offset, static_cast<std::size_t>(size));
    return {.isEncrypted = contains(directory, "\x06\xF1\x07\x01")};
}

Finding zstandard(const ByteSource& source, const SniffResult&)
{
    // A scene is compressed in frames that a table at the end makes seekable.
    if (textAtEnd(source, 4) == "\xB1\xEA\x92\x8F")
        return {.candidates = Candidates{"zst", "blend"}};
    return {};
}

Finding diskImage(const ByteSource& source, const SniffResult& sniff)
{
    constexpr std::size_t trailerSize = 512;
    constexpr std::uint64_t volumeDescriptor = 32'768;
    if (textAtEnd(source, trailerSize).starts_with("koly"))
        return {.candidates = Candidates{"dmg"}};
    if (!sniff.isUnknown())
        return {};
    if (textAt(source, 0, 8) == "encrcdsa" || textAtEnd(source, 8) == "cdsaencr")
        return {.candidates = Candidates{"dmg"}, .isEncrypted = true};
    const std::string label = textAt(source, volumeDescriptor + 1, 5);
    if (label == "CD001" || label == "BEA01")
        return {.candidates = Candidates{"iso"}};
    if (opensTar(textAt(source, 0, trailerSize)))
        return {.candidates = Candidates{"tar"}};
    if (textAtEnd(source, 26).find("TRUEVISION-XFILE.") == 8)
        return {.candidates = Candidates{"tga"}};
    return {};
}

} // namespace nivex::inspectors
