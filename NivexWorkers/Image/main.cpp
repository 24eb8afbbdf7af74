#include "NivexWorkers/Host/ForkServer.hpp"
#include "NivexWorkers/Image/Conversion.hpp"
#include "NivexWorkers/Image/Libraries.hpp"
#include "NivexWorkers/Image/Probe.hpp"

#include <OpenEXRConfig.h>
#include <aom/aom_codec.h>
#include <dav1d/dav1d.h>
#include <jxl/decode.h>
#include <libde265/de265.h>
#include <libheif/heif.h>
#include <libraw/libraw.h>
#include <openjpeg.h>
#include <vips/vips8>
#include <x265.h>

#include <cstdint>
#include <string>

namespace {

/// libjxl's version, whose number is major × 1000000 + minor × 1000 + patch.
std::string dotted(std::uint32_t version)
{
    return std::to_string(version / 1'000'000) + "." + std::to_string(version / 1'000 % 1'000) + "." +
           std::to_string(version % 1'000);
}

} // namespace

int main(int argumentCount, char** arguments)
{
    using namespace nivex;
    const worker::Handlers handlers{
        .warmUp = image::startLibraries,
        .libraries =
            [] {
                return std::vector<LibraryVersion>{
                    {"libvips", vips_version_string()},  {"libheif", heif_get_version()},
                    {"libde265", de265_get_version()},   {"dav1d", dav1d_version()},
                    {"x265", x265_version_str},          {"libaom", aom_codec_version_str()},
                    {"OpenJPEG", opj_version()},         {"libjxl", dotted(JxlDecoderVersion())},
                    {"OpenEXR", OPENEXR_VERSION_STRING}, {"LibRaw", libraw_version()},
                };
            },
        .convert = [](const EngineID&, const EngineRequest& request,
                      const ProgressCallback& progress) { return image::convertPicture(request, progress); },
        .probe = [](const EngineID&, const EngineRequest& request) { return image::probePicture(request); },
    };
    return worker::serve(argumentCount, arguments, handlers);
}
