#include "NivexWorkers/Pages/Pdf/PdfProbe.hpp"

#include "NivexWorkers/Pages/Pdf/PdfDocument.hpp"

#include <algorithm>
#include <memory>
#include <string_view>

namespace nivex::pages {
namespace {

constexpr std::int64_t mostPagesRead = 20; // in search of text

bool hasText(const PdfPage& page)
{
    const std::unique_ptr<char, image::Release<g_free>> text{poppler_page_get_text(page.get())};
    return text && std::string_view{text.get()}.find_first_not_of(" \n\r\t\f") != std::string_view::npos;
}

bool hasTextLayer(const PdfDocument& document)
{
    for (std::int64_t number = 1; number <= std::min(mostPagesRead, document.pageCount()); ++number)
        if (hasText(document.page(number)))
            return true;
    return false;
}

bool hasLayers(const PdfDocument& document)
{
    const std::unique_ptr<PopplerLayersIter, image::Release<poppler_layers_iter_free>> layers{
        poppler_layers_iter_new(document.get())};
    return layers != nullptr;
}

SourceProperties measured(const PdfDocument& document)
{
    return {.pageCount = document.pageCount(),
            .isEncrypted = false, // to a person: it has opened without a password
            .hasTextLayer = hasTextLayer(document),
            .hasLayers = hasLayers(document)};
}

} // namespace

SourceProperties probePdf(const EngineRequest& request)
{
    try {
        return measured(PdfDocument{request.input});
    } catch (const ConversionError& error) {
        if (error.message() != lockedDocument().message())
            throw;
        return {.isEncrypted = true};
    }
}

} // namespace nivex::pages
