#include "NivexWorkers/Pages/Pdf/PdfDocument.hpp"

#include "NivexWorkers/Image/Codecs/Codec.hpp"

#include "NivexKit/Foundation/ConversionError.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"

#include <string>
#include <utility>

namespace nivex::pages {
namespace {

namespace fs = std::filesystem;

using Uri = std::unique_ptr<char, image::Release<g_free>>;
using LibraryError = std::unique_ptr<GError, image::Release<g_error_free>>;

ConversionError errorOf(const GError* error)
{
    if (error && error->domain == POPPLER_ERROR && error->code == POPPLER_ERROR_ENCRYPTED)
        return lockedDocument().because(error->message);
    return image::damaged(error ? error->message : "PDF: it cannot be opened");
}

} // namespace

ConversionError lockedDocument()
{
    return ConversionError::unreadableSource("le document est protégé par un mot de passe"_fr);
}

PdfDocument::PdfDocument(const fs::path& file)
{
    const Uri uri{g_filename_to_uri(file.c_str(), nullptr, nullptr)};
    if (!uri)
        throw image::damaged(image::cannotOpen);
    GError* error = nullptr;
    document_.reset(poppler_document_new_from_file(uri.get(), nullptr, &error));
    const LibraryError told{error};
    if (!document_)
        throw errorOf(told.get());
    pageCount_ = poppler_document_get_n_pages(document_.get());
    if (pageCount_ < 1)
        throw ConversionError::unreadableSource("le document n'a aucune page"_fr);
}

void PdfDocument::requireAcceptable(const ResourceLimits& limits) const
{
    if (pageCount_ > limits.maxPDFPages)
        throw ConversionError::resourceLimit(
            filled("le document a plus de {} pages"_fr, {std::to_string(limits.maxPDFPages)}));
}

PdfPage PdfDocument::page(std::int64_t number) const
{
    PdfPage page{poppler_document_get_page(document_.get(), static_cast<int>(number - 1))};
    if (!page)
        throw ConversionError::unreadableSource(
            filled("la page {} est absente ou endommagée"_fr, {std::to_string(number)}));
    return page;
}

PointSize sizeOf(const PdfPage& page)
{
    PointSize size;
    poppler_page_get_size(page.get(), &size.width, &size.height);
    return size;
}

} // namespace nivex::pages
