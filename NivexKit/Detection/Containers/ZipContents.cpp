#include "NivexKit/Archive/ZipArchive.hpp"
#include "NivexKit/Detection/Containers/ContainerInspectors.hpp"
#include "NivexKit/Detection/Containers/InspectorSupport.hpp"
#include "NivexKit/Detection/Containers/ZipInspector.hpp"
#include "NivexKit/Foundation/ConversionError.hpp"

#include <algorithm>
#include <optional>

namespace nivex::inspectors {
namespace {

using Reader = ZipArchive::Reader;
using Candidates = std::vector<FormatID>;

// So much of an archive without a directory is searched for local headers.
constexpr std::size_t headBytes = 64 << 10;
// Manifests and lists of types are read so far; in real documents they are shorter.
constexpr std::size_t manifestBytes = 256 << 10;

/// The beginning of an entry as text; empty when there is no such entry or it cannot be read.
std::string prefixOf(const Reader& archive, std::string_view name, std::size_t maxBytes)
{
    const ZipArchive::Entry* entry = archive.entry(name);
    if (!entry || entry->isEncrypted)
        return {};
    try {
        return std::string{asText(archive.prefix(*entry, maxBytes))};
    } catch (const ConversionError&) {
        return {};
    }
}

struct MediaTypeRow {
    std::string_view mediaType;
    std::string_view format;
};

// clang-format off
// What the entry "mimetype" says. Templates are documents.
constexpr MediaTypeRow mediaTypes[] = {
    {"application/vnd.oasis.opendocument.text",         "odt"},
    {"application/vnd.oasis.opendocument.spreadsheet",  "ods"},
    {"application/vnd.oasis.opendocument.presentation", "odp"},
    {"application/epub+zip",                            "epub"},
    {"application/vnd.adobe.indesign-idml-package",     "idml"},
    {"application/x-krita",                             "kra"},
    {"application/x-kra",                               "kra"},
};

// What the list of types of an office package says of its main part.
constexpr MediaTypeRow mainParts[] = {
    {"presentationml.slideshow.main+xml",         "ppsx"},
    {"slideshow.macroEnabled.main+xml",           "ppsx"},
    {"presentationml.presentation.main+xml",      "pptx"},
    {"sheet.macroEnabled.main+xml",               "xlsm"},
    {"spreadsheetml.sheet.main+xml",              "xlsx"},
};
// clang-format on

std::string_view trimmedMediaType(std::string_view text)
{
    text = text.substr(0, text.find_first_of("\r\n "));
    constexpr std::string_view suffix = "-template";
    return text.ends_with(suffix) ? text.substr(0, text.size() - suffix.size()) : text;
}

/// What an OpenDocument package without "mimetype" says of itself: the first media type of its manifest is that of the
/// whole.
std::string mediaTypeInManifest(const Reader& archive)
{
    constexpr std::string_view start = "application/vnd.oasis.opendocument.";
    const std::string manifest = prefixOf(archive, "META-INF/manifest.xml", manifestBytes);
    const std::size_t begin = manifest.find(start);
    return begin == manifest.npos ? std::string{}
                                  : manifest.substr(begin, manifest.find_first_of("\"'", begin) - begin);
}

std::optional<Candidates> fromMediaType(const Reader& archive)
{
    const std::string content =
        archive.entry("mimetype") ? prefixOf(archive, "mimetype", 128) : mediaTypeInManifest(archive);
    const std::string_view type = trimmedMediaType(content);
    for (const MediaTypeRow& row : mediaTypes)
        if (type == row.mediaType)
            return Candidates{row.format};
    if (type.starts_with("application/") && contains(type, "corel") && contains(type, "draw"))
        return Candidates{"cdr"};
    // A drawing, a formula, a database: OpenDocument, but none of the catalogue's.
    if (type.starts_with("application/vnd.oasis.opendocument."))
        return Candidates{"zip"};
    return std::nullopt;
}

/// The candidates with the one in front that the main part names; the others stay, as people give a workbook without
/// macros the name of one that may have some.
std::optional<Candidates> fromMainPart(const Reader& archive, Candidates candidates)
{
    const std::string types = prefixOf(archive, "[Content_Types].xml", manifestBytes);
    for (const MediaTypeRow& row : mainParts) {
        const auto named = std::find(candidates.begin(), candidates.end(), row.format);
        if (!contains(types, row.mediaType) || named == candidates.end())
            continue;
        std::rotate(candidates.begin(), named, std::next(named));
        return candidates;
    }
    return std::nullopt;
}

/// The three office programs share one package layout; the root object of the document tells them apart.
std::optional<Candidates> fromRootObject(const Reader& archive)
{
    // A compressed block: its length, the length that it decodes to, then literally the head of the first object:
    // identifier 1, one message, its type. The types 1 and 10000 are the roots of two programs and of the third.
    const std::string head = prefixOf(archive, "Index/Document.iwa", 64);
    if (head.empty())
        return std::nullopt;
    constexpr std::string_view firstObject = "\x08\x01\x12";
    const std::size_t object = head.find(firstObject);
    if (object == head.npos)
        return std::nullopt;
    const std::string_view message = std::string_view{head}.substr(std::min(object + 4, head.size()));
    if (message.starts_with("\x08\x90\x4E"))
        return Candidates{"pages"};
    const auto isSlide = [](const ZipArchive::Entry& entry) {
        return entry.storedName.starts_with("Index/Slide") || entry.storedName.starts_with("Index/MasterSlide") ||
               entry.storedName.starts_with("Index/TemplateSlide");
    };
    const auto& entries = archive.entries();
    return Candidates{std::any_of(entries.begin(), entries.end(), isSlide) ? "key" : "numbers"};
}

/// Packages that the names of their entries betray, beyond those that ZipInspector knows.
std::optional<Candidates> fromOtherNames(const Reader& archive)
{
    if (archive.entry("content/riffData.cdr") || archive.entry("content/root.dat"))
        return Candidates{"cdr"};
    if (archive.entry("canvas.fig"))
        return Candidates{"fig"};
    if (archive.entry("index.apxl"))
        return Candidates{"key"};
    const std::string index = prefixOf(archive, "index.xml", 1'024);
    if (contains(index, "<sl:document"))
        return Candidates{"pages"};
    if (contains(index, "<ls:document"))
        return Candidates{"numbers"};
    return std::nullopt;
}

Candidates candidatesOf(const Reader& archive)
{
    if (const auto type = fromMediaType(archive))
        return *type;
    std::vector<std::string_view> names;
    for (const ZipArchive::Entry& entry : archive.entries())
        names.push_back(entry.storedName);
    const Candidates byNames = ZipInspector::classify(std::span<const std::string_view>{names});
    std::optional<Candidates> refined;
    if (byNames.front() == "zip")
        refined = fromOtherNames(archive);
    else if (byNames.front() == "epub" && archive.entry("designmap.xml")) // a layout may list its parts as a book does
        refined = Candidates{"idml"};
    else if (byNames.front() == "pages")
        refined = fromRootObject(archive);
    else
        refined = fromMainPart(archive, byNames);
    return refined.value_or(byNames);
}

/// Formats with an encryption of their own leave the archive's directory in the clear.
bool hidesItsContent(const Reader& archive)
{
    const auto& entries = archive.entries();
    return std::any_of(entries.begin(), entries.end(), [](const auto& entry) { return entry.isEncrypted; }) ||
           archive.entry(".iwpv2") ||
           contains(prefixOf(archive, "META-INF/manifest.xml", manifestBytes), "encryption-data") ||
           // Obfuscated fonts, which any reader can undo, are listed there too.
           contains(prefixOf(archive, "META-INF/encryption.xml", manifestBytes), "xmlenc#aes");
}

} // namespace

Finding zip(const ByteSource& source, const SniffResult&)
{
    try {
        const Reader archive{source, ResourceLimits::standard(), Reader::Purpose::listing};
        return {.candidates = candidatesOf(archive), .isEncrypted = hidesItsContent(archive)};
    } catch (const ConversionError&) {
        const auto head = source.read(0, headBytes);
        return {.candidates = ZipInspector::classify(std::span<const std::byte>{head})};
    }
}

} // namespace nivex::inspectors
