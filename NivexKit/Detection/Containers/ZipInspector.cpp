#include "NivexKit/Detection/Containers/ZipInspector.hpp"

#include "NivexKit/Archive/ZipArchive.hpp"
#include "NivexKit/Foundation/Bytes/ByteReader.hpp"
#include "NivexKit/Foundation/ConversionError.hpp"
#include "NivexKit/Foundation/Text/Ascii.hpp"
#include "NivexKit/Foundation/Text/Unicode.hpp"
#include "NivexKit/Foundation/Text/Words.hpp"

#include <algorithm>
#include <initializer_list>
#include <iterator>
#include <string_view>

namespace nivex {
namespace {

using Names = std::span<const std::string_view>;

bool has(Names names, std::string_view name) { return std::find(names.begin(), names.end(), name) != names.end(); }

bool anyBegins(Names names, std::string_view start)
{
    return std::any_of(names.begin(), names.end(), [&](std::string_view name) { return name.starts_with(start); });
}

bool anyEnds(Names names, std::initializer_list<std::string_view> ends)
{
    return std::any_of(names.begin(), names.end(), [&](std::string_view name) {
        return std::any_of(ends.begin(), ends.end(), [&](std::string_view end) { return endsIgnoringCase(name, end); });
    });
}

/// True when there are files and each has one of the endings.
bool everyFileEnds(Names names, std::initializer_list<std::string_view> ends)
{
    const auto isFolder = [](std::string_view name) { return name.ends_with('/'); };
    const auto fits = [&](std::string_view name) { return isFolder(name) || anyEnds({&name, 1}, ends); };
    return !std::all_of(names.begin(), names.end(), isFolder) && std::all_of(names.begin(), names.end(), fits);
}

bool hasMacros(Names names) { return anyBegins(names, "xl/") && has(names, "xl/vbaProject.bin"); }

bool isOfficePackage(Names names)
{
    return has(names, "[Content_Types].xml") || anyBegins(names, "word/") || anyBegins(names, "xl/") ||
           anyBegins(names, "ppt/");
}

struct Flavour {
    bool (*applies)(Names);
    std::string_view formats; // separated by spaces, likeliest first
};

// The first row that applies gives the formats. An office package of none of the four kinds is looked at further.
// clang-format off
constexpr Flavour flavours[] = {
    {[](Names n) { return anyBegins(n, "word/"); },                                "docx"},
    {hasMacros,                                                                    "xlsm xlsx"},
    {[](Names n) { return anyBegins(n, "xl/"); },                                  "xlsx xlsm"},
    {[](Names n) { return anyBegins(n, "ppt/"); },                                 "pptx ppsx"},
    {[](Names n) { return isOfficePackage(n) && anyBegins(n, "3D/"); },            "3mf"},
    {[](Names n) { return has(n, "META-INF/container.xml"); },                     "epub"},
    {[](Names n) { return has(n, "mimetype") && has(n, "content.xml"); },          "odt ods odp zip"},
    {[](Names n) { return anyBegins(n, "Index/") || has(n, "Index.zip"); },        "pages numbers key"},
    {[](Names n) { return has(n, "designmap.xml"); },                              "idml"},
    {[](Names n) { return has(n, "maindoc.xml"); },                                "kra"},
    {[](Names n) { return has(n, "document.json") && anyBegins(n, "pages/"); },    "sketch"},
    {[](Names n) { return anyEnds(n, {".kml"}); },                                 "kmz zip"},
    {[](Names n) { return anyEnds(n, {".usdc", ".usda"}); },                       "usdz"},
    {[](Names n) { return everyFileEnds(n, {".npy"}); },                           "npz zip"},
    {[](Names n) { return everyFileEnds(n, {".jpg", ".jpeg", ".png", ".webp", ".gif"}); }, "cbz zip"},
    {[](Names) { return true; },           "zip cbz kmz npz 3mf usdz sketch kra idml docx xlsx pptx"},
};
// clang-format on

// A beginning shows no more than that some entries are there, so it rules none of these out.
constexpr std::string_view packages = "zip cbz kmz npz 3mf usdz sketch kra idml docx xlsx pptx "
                                      "xlsm ppsx odt ods odp epub pages numbers key";

constexpr std::string_view localSignature = "PK\x03\x04";

/// The names in the local headers of the beginning of an archive, as far as they can be followed.
std::vector<std::string> namesInLocalHeaders(std::span<const std::byte> header)
{
    const std::string_view text{reinterpret_cast<const char*>(header.data()), header.size()};
    std::vector<std::string> names;
    std::size_t at = text.find(localSignature);
    while (at != text.npos) {
        ByteReader local{header.subspan(at)};
        local.skip(18);
        const std::uint32_t compressedSize = local.u32();
        local.skip(4);
        const std::uint16_t nameLength = local.u16();
        const std::uint16_t extraLength = local.u16();
        const std::string_view name = local.text(nameLength);
        if (local.failed())
            break;
        names.push_back(validUtf8(name));
        // A size that was not known when the header was written is 0: the next header is then found by its signature.
        const std::uint64_t next = std::uint64_t{at} + 30 + nameLength + extraLength + compressedSize;
        at = next < text.size() ? text.find(localSignature, static_cast<std::size_t>(next)) : text.npos;
    }
    return names;
}

} // namespace

std::optional<std::vector<std::string>> ZipInspector::entryNames(const std::filesystem::path& url)
{
    const auto source = FileSource::open(url);
    if (!source)
        return std::nullopt;
    try {
        std::vector<std::string> names;
        for (const ZipArchive::Entry& entry :
             ZipArchive::Reader::centralDirectory(*source, ZipArchive::Reader::Purpose::listing))
            names.push_back(entry.name());
        return names;
    } catch (const ConversionError&) {
        return std::nullopt;
    }
}

std::vector<FormatID> ZipInspector::classify(std::span<const std::string> entryNames)
{
    const std::vector<std::string_view> names{entryNames.begin(), entryNames.end()};
    return classify(std::span{names});
}

std::vector<FormatID> ZipInspector::classify(std::span<const std::string_view> entryNames)
{
    const auto applies = [&](const Flavour& flavour) { return flavour.applies(entryNames); };
    return wordsAs<FormatID>(std::find_if(std::begin(flavours), std::end(flavours), applies)->formats);
}

std::vector<FormatID> ZipInspector::classify(std::span<const std::byte> header)
{
    auto formats = classify(std::span<const std::string>{namesInLocalHeaders(header)});
    const auto isListed = [&](const FormatID& id) { return std::ranges::find(formats, id) != formats.end(); };
    if (isListed("zip"))
        std::ranges::remove_copy_if(wordsAs<FormatID>(packages), std::back_inserter(formats), isListed);
    return formats;
}

} // namespace nivex
