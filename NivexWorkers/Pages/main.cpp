#include "NivexWorkers/Host/ForkServer.hpp"
#include "NivexWorkers/Image/Libraries.hpp"
#include "NivexWorkers/Pages/Pdf/PdfProbe.hpp"
#include "NivexWorkers/Pages/Pdf/PdfText.hpp"
#include "NivexWorkers/Pages/Pdf/PdfToPictures.hpp"
#include "NivexWorkers/Pages/Svg/SvgConversion.hpp"

#include "NivexKit/Foundation/ConversionError.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"

#include <cairo.h>
#include <fontconfig/fontconfig.h>
#include <librsvg/rsvg.h>
#include <poppler.h>
#include <vips/vips8>

namespace {

using namespace nivex;

using Convert = std::vector<std::filesystem::path> (*)(const EngineRequest&, const ProgressCallback&);

Convert conversionOf(const EngineID& engine, const FormatID& source)
{
    if (engine == "native-image" && source == "pdf")
        return pages::convertPdfToPictures;
    if (engine == "native-text" && source == "pdf")
        return pages::convertPdfToText;
    if (engine == "native-vector")
        return pages::convertDrawing;
    return nullptr;
}

std::vector<std::filesystem::path> convert(const EngineID& engine, const EngineRequest& request,
                                           const ProgressCallback& progress)
{
    const Convert conversion = conversionOf(engine, request.sourceFormat.id);
    if (!conversion)
        throw ConversionError::unsupported(
            filled("{} vers {}"_fr, {request.sourceFormat.name, request.targetFormat.name}));
    return conversion(request, progress);
}

void startLibraries()
{
    image::startLibraries();
    FcInit(); // the list of fonts, once for all children
}

} // namespace

int main(int argumentCount, char** arguments)
{
    const worker::Handlers handlers{
        .warmUp = startLibraries,
        .libraries =
            [] {
                return std::vector<LibraryVersion>{
                    {"poppler", poppler_get_version()},
                    {"cairo", cairo_version_string()},
                    {"librsvg", LIBRSVG_VERSION},
                    {"libvips", vips_version_string()},
                };
            },
        .convert = convert,
        .probe = [](const EngineID&, const EngineRequest& request) { return pages::probePdf(request); },
    };
    return worker::serve(argumentCount, arguments, handlers);
}
