#include "NivexKit/Detection/Signatures/SignatureSniffer.hpp"

#include "NivexKit/Detection/Signatures/SignatureTable.hpp"
#include "NivexKit/Detection/Signatures/TextHead.hpp"
#include "NivexKit/Detection/Signatures/TextSniffer.hpp"
#include "NivexKit/Foundation/Text/Words.hpp"

#include <algorithm>

namespace nivex {
namespace {

// clang-format off
constexpr std::string_view knownSignatures[] = {
    "png", "jpeg", "gif", "tiff", "bmp", "webp", "heic", "heif", "avif", "jxl", "jp2", "ico", "icns", "exr", "hdr",
    "ktx2", "astc", "cr2", "cr3", "orf", "rw2", "raf", "psd", "psb",
    "pdf",
    "mp3", "flac", "ogg", "opus", "wav", "aiff", "midi", "caf", "amr",
    "mp4", "mov", "m4a", "m4v", "3gp", "mkv", "webm", "avi", "flv",
    "zip", "7z", "rar", "gz", "bz2", "xz", "zst",
    "docx", "xlsx", "pptx", "odt", "ods", "odp", "epub",
    "ttf", "otf", "woff", "woff2", "ttc",
};
// clang-format on
static_assert(std::size(knownSignatures) == 62);

} // namespace

constinit const FormatSet SignatureSniffer::formatsWithKnownSignature{knownSignatures};

bool FormatSet::contains(const FormatID& id) const { return std::ranges::find(ids_, id.rawValue) != ids_.end(); }

SniffResult SignatureSniffer::sniff(std::span<const std::byte> head)
{
    if (head.empty())
        return SniffResult::unknownBinary();
    if (const Signature* signature = matchingSignature(head))
        return {.candidates =
                    wordsAs<FormatID>(signature->chooses != nullptr ? signature->chooses(head) : signature->then),
                .container = signature->container};
    return sniffText(head);
}

std::optional<std::size_t> SignatureSniffer::find(std::span<const std::byte> pattern, std::span<const std::byte> data,
                                                  std::optional<std::size_t> limit)
{
    const auto searched = data.first(std::min(limit.value_or(data.size()), data.size()));
    const auto found = std::search(searched.begin(), searched.end(), pattern.begin(), pattern.end());
    if (found == searched.end() && !pattern.empty())
        return std::nullopt;
    return static_cast<std::size_t>(found - searched.begin());
}

std::optional<std::string> SignatureSniffer::decodeText(std::span<const std::byte> bytes)
{
    std::string storage;
    const auto text = decodedHead(bytes, storage);
    return text ? std::optional{std::string{*text}} : std::nullopt;
}

} // namespace nivex
