#include "NivexKit/Detection/Pdf/PdfScan.hpp"

#include "NivexKit/Detection/Pdf/PdfObjects.hpp"
#include "NivexKit/Detection/Pdf/PdfPassword.hpp"

#include <algorithm>
#include <string_view>

namespace nivex {
namespace {

/// The number of pages that the root of a page tree states.
std::optional<std::int64_t> statedCount(PdfObjects& objects, std::string_view root)
{
    const auto entry = pdfEntry(root, "/Count");
    const auto value = entry ? objects.resolved(*entry) : std::nullopt;
    const auto count = value ? pdfInteger(pdfObject(*value)) : std::nullopt;
    if (!count || *count < 1)
        return std::nullopt;
    return count;
}

/// Follows the trailer to the catalogue and to the root of the page tree.
std::optional<std::int64_t> countInTree(PdfObjects& objects)
{
    const auto rootEntry = objects.trailerEntry("/Root");
    const auto catalogue = rootEntry ? objects.resolved(*rootEntry) : std::nullopt;
    const auto pagesEntry = catalogue ? pdfEntry(*catalogue, "/Pages") : std::nullopt;
    const auto pages = pagesEntry ? objects.resolved(*pagesEntry) : std::nullopt;
    if (!pages || pdfEntry(*pages, "/Type").value_or("/Pages") != "/Pages")
        return std::nullopt;
    return statedCount(objects, *pages);
}

/// Whether an encrypted file asks for a password, as the values of its trailer's /Encrypt and /ID tell.
bool asksForPassword(PdfObjects& objects, std::string_view encryptEntry, std::string_view identifiers)
{
    const auto encryption = objects.resolved(encryptEntry);
    if (identifiers.starts_with('['))
        identifiers = pdfObject(identifiers.substr(1));
    return !encryption || !opensWithEmptyPassword(*encryption, pdfString(identifiers).value_or(""));
}

/// A file made for the network states its page count in its first object, as long as nobody has changed it since.
std::optional<std::int64_t> countForNetwork(std::string_view head, std::uint64_t fileSize)
{
    const std::size_t begin = head.find(" obj");
    if (begin == std::string_view::npos)
        return std::nullopt;
    const std::string_view dictionary = head.substr(begin + 4);
    const auto number = [dictionary](std::string_view key) {
        const auto value = pdfEntry(dictionary, key);
        return value ? pdfInteger(*value).value_or(0) : 0;
    };
    if (!pdfEntry(dictionary, "/Linearized") || number("/L") != static_cast<std::int64_t>(fileSize) || number("/N") < 1)
        return std::nullopt;
    return number("/N");
}

/// What a small file whose cross-reference is broken shows when it is read from front to back, as readers repair it.
struct Repaired {
    std::optional<std::int64_t> pageCount;
    std::optional<bool> isEncrypted;
};

Repaired repaired(std::string_view whole, PdfObjects& objects)
{
    // Without a bound, a file of nothing but openings would take a time that grows with the square of its size.
    constexpr std::size_t longestDictionary = 4096;
    Repaired result;
    for (std::size_t at = whole.find("obj"); at != std::string_view::npos; at = whole.find("obj", at + 3)) {
        const std::string_view dictionary = whole.substr(at + 3, longestDictionary);
        // A later root replaces an earlier one: changes are appended.
        if (pdfEntry(dictionary, "/Type") == "/Pages" && !pdfEntry(dictionary, "/Parent"))
            if (const auto count = statedCount(objects, dictionary))
                result.pageCount = count;
    }
    if (const std::size_t trailer = whole.rfind("trailer"); trailer != std::string_view::npos)
        result.isEncrypted = pdfEntry(whole.substr(trailer + 7), "/Encrypt").has_value();
    return result;
}

} // namespace

PdfFacts scanPdf(HeaderBytes& file)
{
    PdfObjects objects{file};
    PdfFacts facts;
    if (objects.hasTrailer()) {
        const auto encryptEntry = objects.trailerEntry("/Encrypt");
        const auto identifiers = objects.trailerEntry("/ID").value_or("");
        facts.needsPassword =
            encryptEntry && asksForPassword(objects, *encryptEntry, objects.resolved(identifiers).value_or(""));
        facts.pageCount = countInTree(objects);
    }
    if (!facts.pageCount) {
        const auto head = file.slice(0, 1024);
        facts.pageCount = countForNetwork({reinterpret_cast<const char*>(head.data()), head.size()}, file.size());
    }
    constexpr std::uint64_t smallFile = 128 * 1024;
    if (facts.pageCount || file.size() > smallFile)
        return facts;
    const auto whole = file.slice(0, static_cast<std::size_t>(file.size()));
    const Repaired found = repaired({reinterpret_cast<const char*>(whole.data()), whole.size()}, objects);
    facts.pageCount = found.pageCount;
    if (!objects.hasTrailer())
        facts.needsPassword = found.isEncrypted;
    return facts;
}

} // namespace nivex
