#include "NivexKit/Formats/FormatCatalog.hpp"

namespace nivex {
namespace {

using enum FormatTrait;

// clang-format off
constexpr FormatRow archiveRows[] = {
    {.id = "zip", .name = "ZIP",
     .typeIdentifiers = "public.zip-archive com.pkware.zip-archive", .traits = lossless | container},
    {.id = "7z", .name = "7Z", .typeIdentifiers = "org.7-zip.7-zip-archive", .traits = lossless | container},
    {.id = "tar", .name = "TAR", .typeIdentifiers = "public.tar-archive", .traits = lossless | container},
    {.id = "rar", .name = "RAR",
     .typeIdentifiers = "com.rarlab.rar-archive", .traits = lossless | container | proprietary},
    {.id = "gz", .name = "GZ", .extensions = "gz gzip",
     .typeIdentifiers = "org.gnu.gnu-zip-archive", .traits = lossless},
    {.id = "bz2", .name = "BZ2", .extensions = "bz2 bzip2",
     .typeIdentifiers = "public.bzip2-archive", .traits = lossless},
    {.id = "xz", .name = "XZ", .typeIdentifiers = "org.tukaani.xz-archive", .traits = lossless},
    {.id = "zst", .name = "ZST", .longName = "Fichier Zstandard"_fr, .extensions = "zst zstd", .traits = lossless},
    {.id = "tgz", .name = "TGZ", .longName = "Archive TAR compressée"_fr,
     .typeIdentifiers = "org.gnu.gnu-zip-tar-archive", .traits = lossless | container},
    {.id = "iso", .name = "ISO", .longName = "Image disque ISO"_fr,
     .typeIdentifiers = "public.iso-image", .traits = container},
    {.id = "dmg", .name = "DMG", .longName = "Image disque Apple"_fr,
     .typeIdentifiers = "com.apple.disk-image-udif com.apple.disk-image", .traits = container},
};

constexpr FormatRow fontRows[] = {
    {.id = "ttf", .name = "TTF", .longName = "TrueType"_fr, .typeIdentifiers = "public.truetype-ttf-font"},
    {.id = "otf", .name = "OTF", .longName = "OpenType"_fr, .typeIdentifiers = "public.opentype-font"},
    {.id = "woff", .name = "WOFF", .longName = "Web Open Font Format"_fr, .typeIdentifiers = "org.w3.woff"},
    {.id = "woff2", .name = "WOFF2", .longName = "Web Open Font Format 2"_fr, .typeIdentifiers = "org.w3.woff2"},
    {.id = "eot", .name = "EOT", .longName = "Embedded OpenType"_fr, .traits = proprietary},
    {.id = "ttc", .name = "TTC", .longName = "Collection TrueType"_fr,
     .typeIdentifiers = "public.truetype-collection-font", .traits = multiPage},
};

constexpr FormatRow codeRows[] = {
    {.id = "javascript", .name = "JavaScript", .longName = "JavaScript"_fr, .extensions = "js mjs cjs",
     .typeIdentifiers = "com.netscape.javascript-source", .traits = text},
    {.id = "typescript", .name = "TypeScript", .extensions = "ts mts cts",
     .typeIdentifiers = "com.microsoft.typescript", .traits = text | contentDetectedOnly},
    {.id = "jsx", .name = "JSX", .traits = text},
    {.id = "tsx", .name = "TSX", .traits = text},
    {.id = "python", .name = "Python", .extensions = "py pyw",
     .typeIdentifiers = "public.python-script", .traits = text},
    {.id = "swift", .name = "Swift", .typeIdentifiers = "public.swift-source", .traits = text},
    {.id = "java", .name = "Java", .typeIdentifiers = "com.sun.java-source", .traits = text},
    {.id = "c", .name = "C", .typeIdentifiers = "public.c-source", .traits = text},
    {.id = "cpp", .name = "C++", .extensions = "cpp cc cxx hpp hh",
     .typeIdentifiers = "public.c-plus-plus-source public.c-plus-plus-header", .traits = text},
    {.id = "h", .name = "H", .typeIdentifiers = "public.c-header", .traits = text},
    {.id = "rust", .name = "Rust", .extensions = "rs", .traits = text},
    {.id = "go", .name = "Go", .traits = text},
    {.id = "php", .name = "PHP", .typeIdentifiers = "public.php-script", .traits = text},
    {.id = "css", .name = "CSS", .longName = "Feuille de style"_fr, .typeIdentifiers = "public.css", .traits = text},
    {.id = "scss", .name = "SCSS", .extensions = "scss sass", .traits = text},
    {.id = "sql", .name = "SQL", .traits = text},
};

constexpr FormatRow systemRows[] = {
    {.id = "app", .name = "APP", .longName = "Application macOS"_fr,
     .typeIdentifiers = "com.apple.application-bundle", .traits = executable | bundle},
    {.id = "exe", .name = "EXE", .longName = "Exécutable Windows"_fr,
     .typeIdentifiers = "com.microsoft.windows-executable", .traits = executable},
    {.id = "msi", .name = "MSI", .longName = "Installateur Windows"_fr,
     .typeIdentifiers = "com.microsoft.msi-installer", .traits = container | executable},
    {.id = "pkg", .name = "PKG", .longName = "Paquet d'installation macOS"_fr, .extensions = "pkg mpkg",
     .typeIdentifiers = "com.apple.installer-package-archive com.apple.installer-package",
     .traits = container | executable},
    {.id = "deb", .name = "DEB", .typeIdentifiers = "org.debian.deb-archive", .traits = container | executable},
    {.id = "rpm", .name = "RPM", .typeIdentifiers = "com.redhat.rpm-archive", .traits = container | executable},
    {.id = "dll", .name = "DLL", .longName = "Bibliothèque Windows"_fr,
     .typeIdentifiers = "com.microsoft.windows-dynamic-link-library", .traits = executable},
    {.id = "so", .name = "SO", .longName = "Bibliothèque partagée"_fr, .traits = executable},
    {.id = "dylib", .name = "DYLIB", .longName = "Bibliothèque dynamique macOS"_fr,
     .typeIdentifiers = "com.apple.mach-o-dylib", .traits = executable},
    {.id = "bin", .name = "BIN"},
    {.id = "img", .name = "IMG", .longName = "Image disque brute"_fr, .traits = container},
};

// clang-format on
static_assert(everyIdOnce(archiveRows) && everyIdOnce(fontRows) && everyIdOnce(codeRows) && everyIdOnce(systemRows));

} // namespace

constinit const std::span<const FormatRow> FormatCatalog::archives{archiveRows};
constinit const std::span<const FormatRow> FormatCatalog::fonts{fontRows};
constinit const std::span<const FormatRow> FormatCatalog::code{codeRows};
constinit const std::span<const FormatRow> FormatCatalog::system{systemRows};

} // namespace nivex
