#include "NivexWorkers/Pages/Svg/SvgConversion.hpp"

#include "NivexWorkers/Pages/Drawing/Canvas.hpp"
#include "NivexWorkers/Pages/Drawing/PictureOutput.hpp"
#include "NivexWorkers/Pages/Svg/SvgDrawing.hpp"

#include "NivexKit/Foundation/ConversionError.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"

#include <cairo-pdf.h>

#include <algorithm>
#include <optional>
#include <thread>

namespace nivex::pages {
namespace {

namespace fs = std::filesystem;

constexpr double longestPage = 14'400; // points: readers of PDF show no longer one

fs::path drawOnPage(const SvgDrawing& drawing, const EngineRequest& request)
{
    const PointSize size = drawing.size();
    pixelSizeOf(size, request, std::nullopt); // refuses here what it refuses as a picture
    const double scale = std::min(1.0, longestPage / std::max(size.width, size.height));
    const fs::path output = request.outputLocation();
    const Surface surface{cairo_pdf_surface_create(output.c_str(), size.width * scale, size.height * scale)};
    const Context context{cairo_create(surface.get())};
    cairo_scale(context.get(), scale, scale);
    drawing.draw(context.get());
    cairo_surface_finish(surface.get());
    for (const cairo_status_t status : {cairo_status(context.get()), cairo_surface_status(surface.get())})
        if (status != CAIRO_STATUS_SUCCESS)
            throw ConversionError::encodingFailed("le fichier n'a pas pu être écrit"_fr)
                .because(cairo_status_to_string(status));
    return output;
}

fs::path drawAsPicture(const SvgDrawing& drawing, const EngineRequest& request, const ProgressCallback& progress)
{
    const PixelSize size = pixelSizeOf(drawing.size(), request, std::nullopt);
    if (size.isReduced)
        request.warn("Le dessin est trop grand pour la résolution demandée : il a été réduit."_fr);
    Canvas canvas{size, PageBackground::transparent};
    drawing.draw(canvas.context());
    return writePicture(canvas.picture(), request, progress, std::max(1u, std::thread::hardware_concurrency()));
}

} // namespace

std::vector<fs::path> convertDrawing(const EngineRequest& request, const ProgressCallback& progress)
{
    const SvgDrawing drawing{request.input};
    return {request.targetFormat.id == "pdf" ? drawOnPage(drawing, request)
                                             : drawAsPicture(drawing, request, progress)};
}

} // namespace nivex::pages
