#include "NivexKit/Detection/FormatResolution.hpp"

#include "NivexKit/Detection/Signatures/SignatureSniffer.hpp"
#include "NivexKit/Foundation/Text/Words.hpp"

#include <algorithm>
#include <string_view>

namespace nivex {
namespace {

struct Acceptance {
    std::string_view declared;
    std::string_view contents;
};

// Content that shows the signature of another format and yet is a sound file of the declared one: a narrower kind of
// the same format, or what the format is wrapped in.
// clang-format off
constexpr Acceptance acceptances[] = {
    {"heif",   "heic avif"},
    {"mp4",    "m4v 3gp"},
    {"m4v",    "mp4"},
    {"mkv",    "webm"},
    {"ogg",    "opus"},
    {"m2ts",   "mpeg-ts"},
    {"otf",    "ttf"},
    {"pdf",    "ai"},
    {"ai",     "pdf eps"},
    {"eps",    "ai"},
    {"xml",    "svg html plist gpx kml tcx dae fb2 aepx"},
    {"html",   "xml"},
    {"svg",    "xml"},
    {"plist",  "xml json"},
    {"geojson", "json"}, // the word that tells may stand behind the head
    {"gltf",   "json"},
    {"gpx",    "xml"},
    {"kml",    "xml"},
    {"tcx",    "xml"},
    {"dae",    "xml"},
    {"fb2",    "xml"},
    {"aepx",   "xml"},
    {"json",   "geojson gltf"},
    {"yaml",   "json geojson gltf"}, // which contains JSON
    {"eml",    "mbox"},              // a mail kept with its envelope
    {"mbox",   "eml"},
    {"md",     "html c cpp h java javascript typescript jsx tsx python swift rust go php css scss"},
    {"javascript", "typescript jsx tsx"}, // dialects of one language: what a head shows of them proves little
    {"typescript", "javascript jsx tsx"},
    {"jsx",    "javascript typescript tsx"},
    {"tsx",    "javascript typescript jsx"},
    {"c",      "cpp h"},
    {"h",      "c cpp"},
    {"cpp",    "c h"},
    {"css",    "scss"},
    {"scss",   "css"},
    {"nef",    "tiff"},
    {"arw",    "tiff"},
    {"dng",    "tiff"},
    {"idml",   "epub"}, // both have the container description of e-books
    {"prproj", "gz"},
    {"blend",  "gz zst"},
    {"mat",    "hdf5"},
    {"abc",    "hdf5"},
    {"fig",    "zip"},
    {"dmg",    "bz2"},
};
// clang-format on

// Source code may quote or embed these from its first line on.
constexpr std::string_view embeddedInCode = "html xml svg";

bool accepts(const FileFormat& declared, const FileFormat& content)
{
    const bool isListed = std::any_of(std::begin(acceptances), std::end(acceptances), [&](const Acceptance& row) {
        return row.declared == declared.id.rawValue && hasWord(row.contents, content.id.rawValue);
    });
    return isListed || (declared.family == FormatFamily::code && hasWord(embeddedInCode, content.id.rawValue));
}

/// True for formats of which any text is a sound file, as far as a look can tell.
bool isFreeText(const FileFormat& format)
{
    return format.family == FormatFamily::code || hasWord("txt md csv tsv yaml toml tex", format.id.rawValue);
}

FormatResolution contentDoesNotMatch(const FileFormat& declared, std::string_view content)
{
    return {.format = &declared,
            .confidence = DetectionConfidence::extensionOnly,
            .issues = {DetectionIssue::contentDoesNotMatch(declared.name).because(content)}};
}

/// Content that is text, without an opening that tells which.
FormatResolution resolvePlainText(const FileFormat* declared, std::span<const FileFormat* const> extensionFormats,
                                  const FileFormat* guess)
{
    const auto isText = [](const FileFormat* format) { return format->has(FormatTrait::text); };
    const FileFormat* format = declared && isText(declared) ? declared : nullptr;
    if (!format) // an extension shared with a binary format: the text one is meant
        if (const auto found = std::find_if(extensionFormats.begin(), extensionFormats.end(), isText);
            found != extensionFormats.end())
            format = *found;
    if (format)
        return {.format = format,
                .confidence =
                    isFreeText(*format) ? DetectionConfidence::contentCompatible : DetectionConfidence::extensionOnly};
    if (!declared)
        return {.format = guess, .confidence = DetectionConfidence::contentCompatible};
    if (SignatureSniffer::formatsWithKnownSignature.contains(declared->id))
        return contentDoesNotMatch(*declared, "content: text without the format's signature");
    return {.format = declared, .confidence = DetectionConfidence::extensionOnly};
}

/// Binary content that shows no known signature.
FormatResolution resolveUnknownBinary(const FileFormat* declared)
{
    if (!declared)
        return {};
    const bool mustShow =
        declared->has(FormatTrait::text) || SignatureSniffer::formatsWithKnownSignature.contains(declared->id);
    if (mustShow)
        return contentDoesNotMatch(*declared, "content: binary without a known signature");
    return {.format = declared, .confidence = DetectionConfidence::extensionOnly};
}

} // namespace

FormatResolution resolve(const FileFormat* declared, std::span<const FileFormat* const> extensionFormats,
                         const SniffResult& content, const FormatRegistry& registry)
{
    const FileFormat* likeliest = nullptr;
    for (const FormatID& candidate : content.candidates) {
        const FileFormat* format = registry.format(candidate);
        if (!format)
            continue;
        if (std::find(extensionFormats.begin(), extensionFormats.end(), format) != extensionFormats.end())
            return {.format = format, .confidence = DetectionConfidence::contentCompatible};
        if (!likeliest)
            likeliest = format;
    }
    if (!likeliest && !content.isText)
        return resolveUnknownBinary(declared);
    if (!likeliest || content.isLook)
        return resolvePlainText(declared, extensionFormats, likeliest ? likeliest : registry.format("txt"));
    if (!declared)
        return {.format = likeliest, .confidence = DetectionConfidence::contentCompatible};
    if (accepts(*declared, *likeliest))
        return {.format = declared, .confidence = DetectionConfidence::contentCompatible};
    return {
        .format = likeliest,
        .confidence = DetectionConfidence::contentCompatible,
        .issues = {DetectionIssue::extensionMismatch(declared->name).because("content: " + likeliest->id.rawValue)}};
}

bool mayBe(const FormatID& format, const SniffResult& content, const FormatRegistry& registry)
{
    const FileFormat* declared = registry.format(format);
    if (!declared)
        return false;
    if (content.isText && isFreeText(*declared))
        return true;
    const FileFormat* const onlyFormat[] = {declared};
    const FormatResolution resolution = resolve(declared, onlyFormat, content, registry);
    return resolution.format == declared && resolution.issues.empty();
}

} // namespace nivex
