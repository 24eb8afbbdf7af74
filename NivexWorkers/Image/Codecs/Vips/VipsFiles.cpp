#include "NivexWorkers/Image/Codecs/Vips/VipsFiles.hpp"

#include "NivexWorkers/Image/Codecs/Png/InflateWindow.hpp"
#include "NivexWorkers/Image/Codecs/Progress.hpp"

#include <algorithm>
#include <cmath>
#include <memory>

namespace nivex::image {

using vips::VImage;
using vips::VOption;

VImage opened(const ReadRequest& request, const char* loader, VipsAccess access, VOption* options)
{
    VImage image;
    VImage::call(loader, options->set("filename", request.file.c_str())
                             ->set("out", &image)
                             ->set("access", access)
                             ->set("fail_on", VIPS_FAIL_ON_ERROR));
    return image;
}

VImage openedForOnePass(const ReadRequest& request, const char* loader, const VImage& header, int shrink)
{
    constexpr int upright = 1;
    const bool isUpright = numberField(header, VIPS_META_ORIENTATION, upright) == upright;
    VOption* options = VImage::option();
    if (shrink > 1)
        options->set("shrink", shrink);
    return opened(request, loader, isUpright ? VIPS_ACCESS_SEQUENTIAL : VIPS_ACCESS_RANDOM, options);
}

Picture readSingle(const ReadRequest& request, const char* loader)
{
    const VImage header = opened(request, loader, VIPS_ACCESS_SEQUENTIAL);
    requireAcceptableSize(header.width(), header.height(), 1, request.limits);
    return {.frames = {openedForOnePass(request, loader, header)}};
}

VImage decodedPng(std::vector<std::byte> file, VipsAccess access)
{
    nameWholeWindow(file);
    VipsBlob* const blob = vips_blob_copy(file.data(), file.size());
    const auto unref = [](VipsBlob* each) { vips_area_unref(VIPS_AREA(each)); };
    const std::unique_ptr<VipsBlob, decltype(unref)> owner{blob, unref};
    VImage image;
    VImage::call("pngload_buffer", VImage::option()
                                       ->set("buffer", blob)
                                       ->set("out", &image)
                                       ->set("access", access)
                                       ->set("fail_on", VIPS_FAIL_ON_ERROR));
    return image;
}

void save(const VImage& image, const WriteRequest& request, const char* saver, VOption* options)
{
    VImage bare = image.copy();
    for (const char* field : {VIPS_META_EXIF_NAME, VIPS_META_XMP_NAME, VIPS_META_IPTC_NAME, VIPS_META_PHOTOSHOP_NAME,
                              VIPS_META_IMAGEDESCRIPTION})
        bare.remove(field);
    const PullProgress progress{bare, request.progress};
    bare.call(saver, options->set("in", bare)->set("filename", request.file.c_str()));
}

int numberField(const VImage& image, const char* name, int otherwise)
{
    return image.get_typeof(name) ? image.get_int(name) : otherwise;
}

int percent(double quality) { return std::clamp(static_cast<int>(std::lround(quality * 100)), 1, 100); }

} // namespace nivex::image
