#include "NivexKit/Formats/UniformType.hpp"

#include "NivexKit/Foundation/Text/Words.hpp"

#include <algorithm>
#include <cstddef>
#include <iterator>

namespace nivex {
namespace {

struct TypeRow {
    std::string_view identifier;
    std::string_view parents{}; // words with one space between them
};

// clang-format off
constexpr TypeRow types[] = {
    // roots and the abstract types that formats share
    {"public.item"},
    {"public.content"},
    {"public.data",                  "public.item"},
    {"public.directory",             "public.item"},
    {"public.folder",                "public.directory"},
    {"com.apple.package",            "public.directory"},
    {"com.apple.bundle",             "public.directory"},
    {"public.resolvable"},
    {"public.message"},
    {"public.contact",               "public.content"},
    {"public.calendar-event",        "public.content"},
    {"public.database"},
    {"public.composite-content",     "public.content"},
    {"public.presentation",          "public.composite-content"},
    {"public.spreadsheet",           "public.content"},
    {"public.text",                  "public.data public.content"},
    {"public.plain-text",            "public.text"},
    {"public.utf8-plain-text",       "public.plain-text"},
    {"public.utf16-plain-text",      "public.plain-text"},
    {"public.delimited-values-text", "public.text"},
    {"public.source-code",           "public.plain-text"},
    {"public.script",                "public.source-code"},
    {"public.shell-script",          "public.script"},
    {"public.image",                 "public.data public.content"},
    {"public.camera-raw-image",      "public.image"},
    {"public.heif-standard",         "public.image"},
    {"public.audiovisual-content",   "public.data public.content"},
    {"public.audio",                 "public.audiovisual-content"},
    {"public.movie",                 "public.audiovisual-content"},
    {"public.video",                 "public.movie"},
    {"public.3d-content",            "public.content"},
    {"public.font",                  "public.data public.content"},
    {"public.archive",               "public.data"},
    {"public.disk-image",            "public.archive"},
    {"public.executable",            "public.item"},
    {"public.unix-executable",       "public.data public.executable"},
    {"com.apple.application",        "public.executable"},
    {"com.apple.mach-o-binary",      "public.data public.executable"},

    // images and graphics
    {"public.png",                       "public.image"},
    {"public.jpeg",                      "public.image"},
    {"public.tiff",                      "public.image"},
    {"com.microsoft.bmp",                "public.image"},
    {"com.compuserve.gif",               "public.image"},
    {"org.webmproject.webp",             "public.image"},
    {"public.heic",                      "public.heif-standard"},
    {"public.heics",                     "public.heic"},
    {"public.heif",                      "public.heif-standard"},
    {"public.avif",                      "public.heif-standard"},
    {"public.avis",                      "public.avif"},
    {"public.jpeg-xl",                   "public.image"},
    {"public.jpeg-2000",                 "public.image"},
    {"com.microsoft.ico",                "public.image"},
    {"com.apple.icns",                   "public.image"},
    {"com.truevision.tga-image",         "public.image"},
    {"com.ilm.openexr-image",            "public.image"},
    {"public.radiance",                  "public.image"},
    {"com.adobe.raw-image",              "public.camera-raw-image"},
    {"com.canon.cr2-raw-image",          "public.camera-raw-image"},
    {"com.canon.cr3-raw-image",          "public.camera-raw-image"},
    {"com.nikon.raw-image",              "public.camera-raw-image"},
    {"com.nikon.nrw-raw-image",          "com.nikon.raw-image"},
    {"com.sony.raw-image",               "public.camera-raw-image"},
    {"com.sony.arw-raw-image",           "com.sony.raw-image"},
    {"com.sony.sr2-raw-image",           "com.sony.raw-image"},
    {"com.fuji.raw-image",               "public.camera-raw-image"},
    {"com.olympus.raw-image",            "public.camera-raw-image"},
    {"com.olympus.or-raw-image",         "com.olympus.raw-image"},
    {"com.olympus.sr-raw-image",         "com.olympus.raw-image"},
    {"com.panasonic.raw-image",          "public.camera-raw-image"},
    {"com.panasonic.rw2-raw-image",      "com.panasonic.raw-image"},
    {"org.khronos.ktx2",                 "public.image"},
    {"org.khronos.astc",                 "public.image"},
    {"com.adobe.postscript",             "public.text"},
    {"com.adobe.encapsulated-postscript", "com.adobe.postscript"},
    {"com.adobe.illustrator.ai-image",   "public.data public.content"},
    {"public.svg-image",                 "public.image public.xml"},
    {"com.adobe.photoshop-image",        "public.image"},
    {"com.bohemiancoding.sketch.drawing", "public.data public.composite-content"},

    // documents, data, presentations
    {"com.adobe.pdf",                              "public.data public.composite-content"},
    {"com.microsoft.word.doc",                     "public.data"},
    {"com.microsoft.word.dot",                     "com.microsoft.word.doc"},
    {"org.openxmlformats.openxml",                 "public.data"},
    {"org.openxmlformats.wordprocessingml.document", "org.openxmlformats.openxml public.composite-content"},
    {"org.oasis-open.opendocument",                "public.data public.composite-content"},
    {"org.oasis-open.opendocument.text",           "org.oasis-open.opendocument"},
    {"org.oasis-open.opendocument.text-template",  "org.oasis-open.opendocument.text"},
    {"public.rtf",                                 "public.text"},
    {"net.daringfireball.markdown",                "public.plain-text"},
    {"public.html",                                "public.text"},
    {"public.xhtml",                               "public.xml"},
    {"com.apple.iwork.pages.sffpages",             "public.data public.composite-content"},
    {"com.apple.iwork.pages.pages",                "com.apple.package public.composite-content"},
    {"org.tug.tex",                                "public.text"},
    {"com.microsoft.excel.xls",                    "public.data public.spreadsheet"},
    {"com.microsoft.excel.xlt",                    "com.microsoft.excel.xls"},
    {"org.openxmlformats.spreadsheetml.sheet",     "org.openxmlformats.openxml public.spreadsheet"},
    {"org.openxmlformats.spreadsheetml.sheet.macroenabled", "org.openxmlformats.openxml public.spreadsheet"},
    {"public.comma-separated-values-text",         "public.delimited-values-text"},
    {"public.tab-separated-values-text",           "public.delimited-values-text"},
    {"org.oasis-open.opendocument.spreadsheet",    "org.oasis-open.opendocument public.spreadsheet"},
    {"com.apple.iwork.numbers.sffnumbers",         "public.data public.spreadsheet"},
    {"com.apple.iwork.numbers.numbers",            "com.apple.package public.spreadsheet"},
    {"public.json",                                "public.text"},
    {"public.geojson",                             "public.json"},
    {"public.xml",                                 "public.text"},
    {"com.apple.dtd",                              "public.text"},
    {"public.yaml",                                "public.text"},
    {"com.apple.property-list",                    "public.data"},
    {"com.apple.xml-property-list",                "public.xml com.apple.property-list"},
    {"com.apple.binary-property-list",             "com.apple.property-list"},
    {"com.microsoft.powerpoint.ppt",               "public.data public.presentation"},
    {"com.microsoft.powerpoint.pot",               "com.microsoft.powerpoint.ppt"},
    {"org.openxmlformats.presentationml.presentation", "org.openxmlformats.openxml public.presentation"},
    {"org.openxmlformats.presentationml.slideshow",    "org.openxmlformats.openxml public.presentation"},
    {"org.oasis-open.opendocument.presentation",   "org.oasis-open.opendocument public.presentation"},
    {"com.apple.iwork.keynote.sffkey",             "public.data public.presentation"},
    {"com.apple.iwork.keynote.key",                "com.apple.package public.presentation"},

    // audio, video, subtitles
    {"public.mp3",                              "public.audio"},
    {"com.microsoft.waveform-audio",            "public.audio"},
    {"public.aifc-audio",                       "public.audio"},
    {"public.aiff-audio",                       "public.aifc-audio"},
    {"org.xiph.flac",                           "public.audio"},
    {"public.aac-audio",                        "public.audio"},
    {"public.mpeg-4-audio",                     "public.mpeg-4 public.audio"},
    {"com.apple.m4a-audio",                     "public.mpeg-4-audio"},
    {"com.apple.protected-mpeg-4-audio",        "public.mpeg-4-audio"},
    {"org.xiph.ogg-audio",                      "public.audio"},
    {"org.xiph.ogg-vorbis",                     "org.xiph.ogg-audio"},
    {"org.xiph.opus",                           "public.audio"},
    {"com.microsoft.advanced-systems-format",   "public.data"},
    {"com.microsoft.windows-media-wma",         "com.microsoft.advanced-systems-format public.audio"},
    {"com.microsoft.windows-media-wmv",         "com.microsoft.advanced-systems-format public.movie"},
    {"org.3gpp.adaptive-multi-rate-audio",      "public.audio"},
    {"public.midi-audio",                       "public.audio"},
    {"com.apple.coreaudio-format",              "public.audio"},
    {"public.mpeg-4",                           "public.movie"},
    {"com.apple.protected-mpeg-4-video",        "public.mpeg-4"},
    {"com.apple.quicktime-movie",               "public.movie"},
    {"org.matroska.mkv",                        "public.movie"},
    {"public.avi",                              "public.movie"},
    {"org.webmproject.webm",                    "public.movie"},
    {"com.adobe.flash.video",                   "public.movie"},
    {"com.apple.m4v-video",                     "public.mpeg-4"},
    {"public.mpeg",                             "public.movie"},
    {"public.mpeg-2-video",                     "public.video"},
    {"public.mpeg-2-transport-stream",          "public.movie"},
    {"public.avchd-mpeg-2-transport-stream",    "public.mpeg-2-transport-stream"},
    {"public.3gpp",                             "public.movie"},
    {"public.3gpp2",                            "public.movie"},
    {"org.w3.webvtt",                           "public.text"},

    // scenes, maps
    {"public.geometry-definition-format",               "public.data public.3d-content"},
    {"public.standard-tesselated-geometry-format",      "public.data public.3d-content"},
    {"org.khronos.glb",                                 "public.data public.3d-content"},
    {"org.khronos.gltf",                                "public.json public.3d-content"},
    {"com.pixar.universal-scene-description",           "public.data public.3d-content"},
    {"com.pixar.universal-scene-description-mobile",    "public.data public.3d-content"},
    {"org.khronos.collada.digital-asset-exchange",      "public.xml public.3d-content"},
    {"public.polygon-file-format",                      "public.data public.3d-content"},
    {"public.alembic",                                  "public.data public.3d-content"},
    {"com.autodesk.dxf",                                "public.data public.content"},
    {"com.autodesk.dwg",                                "public.data public.content"},
    {"org.blenderfoundation.blender.file",              "public.data public.3d-content"},
    {"com.topografix.gpx",                              "public.xml"},
    {"com.google.earth.kml",                            "public.xml"},
    {"com.google.earth.kmz",                            "public.data"},
    {"com.garmin.fit",                                  "public.data"},
    {"com.garmin.tcx",                                  "public.xml"},

    // archives, fonts, publications, messages
    {"public.zip-archive",              "public.archive com.pkware.zip-archive"},
    {"com.pkware.zip-archive",          "public.data public.archive"},
    {"org.7-zip.7-zip-archive",         "public.archive"},
    {"public.tar-archive",              "public.archive"},
    {"com.rarlab.rar-archive",          "public.archive"},
    {"org.gnu.gnu-zip-archive",         "public.archive"},
    {"org.gnu.gnu-zip-tar-archive",     "org.gnu.gnu-zip-archive"},
    {"public.bzip2-archive",            "public.archive"},
    {"public.tar-bzip2-archive",        "public.bzip2-archive"},
    {"org.tukaani.xz-archive",          "public.archive"},
    {"public.iso-image",                "public.disk-image"},
    {"com.apple.disk-image",            "public.disk-image"},
    {"com.apple.disk-image-udif",       "com.apple.disk-image"},
    {"com.apple.disk-image-ndif",       "com.apple.disk-image"},
    {"public.truetype-font",            "public.font"},
    {"public.truetype-ttf-font",        "public.truetype-font"},
    {"public.truetype-collection-font", "public.truetype-font"},
    {"public.opentype-font",            "public.font"},
    {"public.opentype-collection-font", "public.font"},
    {"org.w3.woff",                     "public.font"},
    {"org.w3.woff2",                    "public.font"},
    {"org.idpf.epub-container",         "public.data public.composite-content"},
    {"public.cbz-archive",              "public.zip-archive"},
    {"public.cbr-archive",              "com.rarlab.rar-archive"},
    {"com.lizardtech.djvu",             "public.data public.content"},
    {"public.email-message",            "public.message"},
    {"com.apple.mail.email",            "public.data public.email-message"},
    {"com.apple.mail.emlx",             "public.data public.email-message"},
    {"com.apple.mail.mbox",             "public.directory public.message"},
    {"public.vcard",                    "public.text public.contact"},
    {"com.apple.ical.ics",              "public.text public.calendar-event"},

    // source code
    {"com.netscape.javascript-source", "public.source-code public.executable"},
    {"com.microsoft.typescript",       "public.source-code"},
    {"public.python-script",           "public.shell-script"},
    {"public.swift-source",            "public.source-code"},
    {"com.sun.java-source",            "public.source-code"},
    {"public.c-source",                "public.source-code"},
    {"public.c-source.preprocessed",   "public.c-source"},
    {"public.c-plus-plus-source",      "public.source-code"},
    {"public.c-header",                "public.source-code"},
    {"public.c-plus-plus-header",      "public.c-header"},
    {"public.php-script",              "public.shell-script"},
    {"public.css",                     "public.text"},

    // programs, projects
    {"com.apple.application-bundle",                "com.apple.application com.apple.bundle com.apple.package"},
    {"com.microsoft.windows-executable",            "public.data public.executable"},
    {"com.microsoft.windows-dynamic-link-library",  "public.data public.executable"},
    {"com.microsoft.msi-installer",                 "public.data"},
    {"com.apple.installer-package",                 "com.apple.package"},
    {"com.apple.installer-package-archive",         "public.data public.archive"},
    {"org.debian.deb-archive",                      "public.archive"},
    {"com.redhat.rpm-archive",                      "public.archive"},
    {"com.apple.mach-o-dylib",                      "com.apple.mach-o-binary"},
    {"com.apple.garageband.project",                "com.apple.package public.composite-content"},
};
// clang-format on

constexpr const TypeRow* rowOfType(std::string_view identifier)
{
    const auto* found = std::ranges::find(types, identifier, &TypeRow::identifier);
    return found == std::end(types) ? nullptr : found;
}

} // namespace

bool UniformType::isKnown(std::string_view identifier) { return rowOfType(identifier) != nullptr; }

// The hierarchy is written by hand and has no loop, so following the parents ends.
bool UniformType::conforms(std::string_view identifier, std::string_view to)
{
    const TypeRow* row = rowOfType(identifier);
    if (!row)
        return false;
    if (identifier == to)
        return true;
    for (std::string_view parents = row->parents; !parents.empty();)
        if (conforms(takeWord(parents), to))
            return true;
    return false;
}

} // namespace nivex
