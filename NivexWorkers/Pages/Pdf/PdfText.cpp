// The reading order is that of poppler's C++ interface, whose headers have names that the other one has too: nothing of
// that one is included here.
#include "NivexWorkers/Pages/Pdf/PdfText.hpp"

#include "NivexWorkers/Image/Codecs/Codec.hpp"
#include "NivexWorkers/Image/Codecs/Deflate/OrderedWork.hpp"
#include "NivexWorkers/Pages/Pdf/DocumentPool.hpp"

#include "NivexKit/Foundation/Files/OutputFile.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"
#include "NivexKit/Foundation/Text/Unicode.hpp"

#include <poppler/cpp/poppler-document.h>
#include <poppler/cpp/poppler-page.h>

#include <algorithm>
#include <memory>
#include <thread>

namespace nivex::pages {
namespace {

namespace fs = std::filesystem;

constexpr int pagesPerPiece = 8; // of work, so that threads are started for enough of it

class TextDocument {
public:
    explicit TextDocument(const fs::path& file) : document_{poppler::document::load_from_file(file.native())}
    {
        if (!document_)
            throw image::damaged("PDF: it cannot be opened");
        if (document_->is_locked())
            throw ConversionError::unreadableSource("le document est protégé par un mot de passe"_fr);
    }

    int pageCount() const { return document_->pages(); }

    std::string text(int index) const
    {
        const std::unique_ptr<poppler::page> page{document_->create_page(index)};
        if (!page)
            throw ConversionError::unreadableSource(
                filled("la page {} est absente ou endommagée"_fr, {std::to_string(index + 1)}));
        const poppler::byte_array bytes =
            page->text(poppler::rectf{}, poppler::page::non_raw_non_physical_layout).to_utf8();
        std::string text = validUtf8({bytes.data(), bytes.size()});
        std::erase(text, '\f');
        return isMeaningful(text) ? text : std::string{};
    }

private:
    std::unique_ptr<poppler::document> document_;
};

bool isPrivate(char32_t scalar)
{
    return (scalar >= 0xE000 && scalar <= 0xF8FF) || scalar >= 0xF0000 || scalar == 0xFFFD;
}

bool isSpace(char32_t scalar) { return scalar == ' ' || scalar == '\n' || scalar == '\r' || scalar == '\t'; }

} // namespace

bool isMeaningful(std::string_view text)
{
    std::size_t known = 0;
    std::size_t unknown = 0;
    for (std::size_t position = 0; position < text.size();) {
        const char32_t scalar = nextScalar(text, position);
        if (isSpace(scalar))
            continue;
        ++(isPrivate(scalar) || isControl(scalar) ? unknown : known);
    }
    return known > unknown;
}

std::vector<std::string> textOfPages(const fs::path& file, const ResourceLimits& limits,
                                     const ProgressCallback& progress)
{
    DocumentPool<TextDocument> documents{file};
    const int count = documents.lease()->pageCount();
    if (count > limits.maxPDFPages)
        throw ConversionError::resourceLimit(
            filled("le document a plus de {} pages"_fr, {std::to_string(limits.maxPDFPages)}));
    using Texts = std::vector<std::string>;
    Texts all;
    image::OrderedWork<Texts> work{std::max(1u, std::thread::hardware_concurrency()), [&](Texts texts) {
                                       std::ranges::move(texts, std::back_inserter(all));
                                       progress(static_cast<double>(all.size()) / count);
                                   }};
    for (int first = 0; first < count; first += pagesPerPiece)
        work.add([&documents, first, end = std::min(count, first + pagesPerPiece)] {
            const auto document = documents.lease();
            Texts texts;
            for (int index = first; index < end; ++index)
                texts.push_back(document->text(index));
            return texts;
        });
    work.finish();
    return all;
}

std::string joinedPages(const std::vector<std::string>& pages)
{
    std::string joined;
    for (const std::string& page : pages) {
        if (&page != &pages.front())
            joined += '\f';
        joined += page;
    }
    return joined;
}

std::vector<fs::path> convertPdfToText(const EngineRequest& request, const ProgressCallback& progress)
{
    const std::vector<std::string> pages = textOfPages(request.input, request.limits, progress);
    if (std::ranges::all_of(pages, &std::string::empty))
        throw ConversionError::unsupported("ce document n'a pas de texte : ses pages sont des images"_fr);
    const fs::path output = request.outputLocation();
    writeNewFile(output, joinedPages(pages));
    return {output};
}

} // namespace nivex::pages
