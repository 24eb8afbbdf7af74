#include "NivexKit/Formats/FormatCatalog.hpp"

namespace nivex {
namespace {

using enum FormatTrait;

// clang-format off
constexpr FormatRow imageRows[] = {
    {.id = "png", .name = "PNG", .longName = "Portable Network Graphics"_fr,
     .typeIdentifiers = "public.png", .traits = lossless | transparency | highDynamicRange},
    {.id = "jpeg", .name = "JPEG", .longName = "Joint Photographic Experts Group"_fr, .extensions = "jpg jpeg jpe jfif",
     .typeIdentifiers = "public.jpeg", .traits = lossy},
    {.id = "tiff", .name = "TIFF", .longName = "Tagged Image File Format"_fr, .extensions = "tiff tif",
     .typeIdentifiers = "public.tiff", .traits = lossless | transparency | multiPage | layers | highDynamicRange},
    {.id = "bmp", .name = "BMP", .longName = "Bitmap Windows"_fr, .extensions = "bmp dib",
     .typeIdentifiers = "com.microsoft.bmp", .traits = lossless | transparency},
    {.id = "gif", .name = "GIF", .longName = "Graphics Interchange Format"_fr,
     .typeIdentifiers = "com.compuserve.gif", .traits = lossless | transparency | animation},
    {.id = "webp", .name = "WebP",
     .typeIdentifiers = "org.webmproject.webp", .traits = lossy | lossless | transparency | animation},
    {.id = "heic", .name = "HEIC", .longName = "High Efficiency Image Coding"_fr,
     .typeIdentifiers = "public.heic", .traits = lossy | transparency | multiPage | highDynamicRange},
    {.id = "heif", .name = "HEIF", .longName = "High Efficiency Image File"_fr, .extensions = "heif hif",
     .typeIdentifiers = "public.heif", .traits = lossy | transparency | multiPage | highDynamicRange},
    {.id = "avif", .name = "AVIF", .longName = "AV1 Image File Format"_fr,
     .typeIdentifiers = "public.avif", .traits = lossy | lossless | transparency | highDynamicRange},
    {.id = "jxl", .name = "JPEG XL",
     .typeIdentifiers = "public.jpeg-xl", .traits = lossy | lossless | transparency | animation | highDynamicRange},
    {.id = "jp2", .name = "JPEG 2000", .extensions = "jp2 j2k jpf",
     .typeIdentifiers = "public.jpeg-2000", .traits = lossy | lossless | transparency},
    {.id = "ico", .name = "ICO",
     .typeIdentifiers = "com.microsoft.ico", .traits = lossless | transparency | multiPage},
    {.id = "icns", .name = "ICNS",
     .typeIdentifiers = "com.apple.icns", .traits = lossless | transparency | multiPage},
    {.id = "tga", .name = "TGA", .extensions = "tga icb vda",
     .typeIdentifiers = "com.truevision.tga-image", .traits = lossless | transparency},
    {.id = "exr", .name = "OpenEXR",
     .typeIdentifiers = "com.ilm.openexr-image", .traits = lossy | lossless | transparency | layers | highDynamicRange},
    {.id = "hdr", .name = "HDR", .extensions = "hdr pic",
     .typeIdentifiers = "public.radiance", .traits = lossless | highDynamicRange},
    {.id = "dng", .name = "DNG", .longName = "Adobe Digital Negative"_fr,
     .typeIdentifiers = "com.adobe.raw-image", .traits = raw | highDynamicRange},
    {.id = "cr2", .name = "CR2", .longName = "RAW Canon (CR2)"_fr,
     .typeIdentifiers = "com.canon.cr2-raw-image", .traits = raw | highDynamicRange | proprietary},
    {.id = "cr3", .name = "CR3", .longName = "RAW Canon (CR3)"_fr,
     .typeIdentifiers = "com.canon.cr3-raw-image", .traits = raw | highDynamicRange | proprietary},
    {.id = "nef", .name = "NEF", .extensions = "nef nrw",
     .typeIdentifiers = "com.nikon.raw-image com.nikon.nrw-raw-image", .traits = raw | highDynamicRange | proprietary},
    {.id = "arw", .name = "ARW", .longName = "RAW Sony"_fr, .extensions = "arw sr2 srf",
     .typeIdentifiers = "com.sony.arw-raw-image com.sony.sr2-raw-image com.sony.raw-image",
     .traits = raw | highDynamicRange | proprietary},
    {.id = "raf", .name = "RAF",
     .typeIdentifiers = "com.fuji.raw-image", .traits = raw | highDynamicRange | proprietary},
    {.id = "orf", .name = "ORF", .longName = "RAW Olympus / OM System"_fr,
     .typeIdentifiers = "com.olympus.raw-image com.olympus.or-raw-image com.olympus.sr-raw-image",
     .traits = raw | highDynamicRange | proprietary},
    {.id = "rw2", .name = "RW2", .longName = "RAW Panasonic"_fr,
     .typeIdentifiers = "com.panasonic.rw2-raw-image", .traits = raw | highDynamicRange | proprietary},
    {.id = "ktx2", .name = "KTX2", .longName = "Texture Khronos KTX 2"_fr,
     .typeIdentifiers = "org.khronos.ktx2", .traits = lossless | transparency, .alsoIn = FormatFamily::threeD},
    {.id = "astc", .name = "ASTC", .longName = "Texture compressée ASTC"_fr,
     .typeIdentifiers = "org.khronos.astc", .traits = lossy | transparency, .alsoIn = FormatFamily::threeD},
};

constexpr FormatRow graphicsRows[] = {
    {.id = "ai", .name = "AI", .longName = "Adobe Illustrator"_fr,
     .typeIdentifiers = "com.adobe.illustrator.ai-image", .traits = vector | layers | proprietary},
    {.id = "eps", .name = "EPS", .longName = "Encapsulated PostScript"_fr, .extensions = "eps epsf ps",
     .typeIdentifiers = "com.adobe.encapsulated-postscript com.adobe.postscript", .traits = vector},
    {.id = "svg", .name = "SVG", .longName = "Scalable Vector Graphics"_fr,
     .typeIdentifiers = "public.svg-image", .traits = transparency | vector | text},
    {.id = "svgz", .name = "SVGZ", .traits = transparency | vector},
    {.id = "psd", .name = "PSD",
     .typeIdentifiers = "com.adobe.photoshop-image",
     .traits = transparency | layers | highDynamicRange | proprietary},
    {.id = "psb", .name = "PSB", .longName = "Photoshop grand format"_fr,
     .traits = transparency | layers | highDynamicRange | proprietary},
    {.id = "indd", .name = "INDD", .traits = multiPage | vector | layers | proprietary},
    {.id = "idml", .name = "IDML", .longName = "InDesign Markup Language"_fr,
     .traits = multiPage | vector | layers | container},
    {.id = "cdr", .name = "CDR", .longName = "CorelDRAW"_fr, .traits = vector | proprietary},
    {.id = "xcf", .name = "XCF", .longName = "GIMP"_fr, .traits = transparency | layers},
    {.id = "kra", .name = "KRA", .traits = layers | container},
    {.id = "sketch", .name = "Sketch",
     .typeIdentifiers = "com.bohemiancoding.sketch.drawing", .traits = vector | layers | container | proprietary},
    {.id = "fig", .name = "FIG", .longName = "Figma (export local)"_fr, .traits = vector | layers | proprietary},
    {.id = "afdesign", .name = "AFDESIGN", .longName = "Affinity Designer"_fr,
     .traits = vector | layers | proprietary},
    {.id = "afphoto", .name = "AFPHOTO", .traits = layers | proprietary},
};

// clang-format on
static_assert(everyIdOnce(imageRows) && everyIdOnce(graphicsRows));

} // namespace

constinit const std::span<const FormatRow> FormatCatalog::images{imageRows};
constinit const std::span<const FormatRow> FormatCatalog::graphics{graphicsRows};

} // namespace nivex
