#include "NivexKit/Formats/FormatCatalog.hpp"

namespace nivex {
namespace {

using enum FormatTrait;

// clang-format off
constexpr FormatRow documentRows[] = {
    {.id = "pdf", .name = "PDF", .longName = "Portable Document Format"_fr,
     .typeIdentifiers = "com.adobe.pdf", .traits = transparency | multiPage | vector},
    {.id = "doc", .name = "DOC", .longName = "Microsoft Word 97-2003"_fr,
     .typeIdentifiers = "com.microsoft.word.doc", .traits = proprietary},
    {.id = "docx", .name = "DOCX",
     .typeIdentifiers = "org.openxmlformats.wordprocessingml.document", .traits = container},
    {.id = "odt", .name = "ODT", .longName = "Texte OpenDocument"_fr,
     .typeIdentifiers = "org.oasis-open.opendocument.text", .traits = container},
    {.id = "rtf", .name = "RTF", .longName = "Rich Text Format"_fr, .typeIdentifiers = "public.rtf", .traits = text},
    {.id = "txt", .name = "TXT", .extensions = "txt text", .typeIdentifiers = "public.plain-text", .traits = text},
    {.id = "md", .name = "Markdown", .extensions = "md markdown",
     .typeIdentifiers = "net.daringfireball.markdown", .traits = text},
    {.id = "html", .name = "HTML", .extensions = "html htm xhtml",
     .typeIdentifiers = "public.html public.xhtml", .traits = text},
    {.id = "pages", .name = "Pages",
     .typeIdentifiers = "com.apple.iwork.pages.sffpages com.apple.iwork.pages.pages",
     .traits = container | proprietary},
    {.id = "tex", .name = "TeX", .longName = "LaTeX / TeX"_fr, .extensions = "tex latex",
     .typeIdentifiers = "org.tug.tex", .traits = text},
};

constexpr FormatRow spreadsheetRows[] = {
    {.id = "xls", .name = "XLS", .longName = "Microsoft Excel 97-2003"_fr,
     .typeIdentifiers = "com.microsoft.excel.xls", .traits = proprietary},
    {.id = "xlsx", .name = "XLSX",
     .typeIdentifiers = "org.openxmlformats.spreadsheetml.sheet", .traits = container},
    {.id = "xlsm", .name = "XLSM", .longName = "Excel avec macros"_fr,
     .typeIdentifiers = "org.openxmlformats.spreadsheetml.sheet.macroenabled", .traits = container},
    {.id = "csv", .name = "CSV", .longName = "Valeurs séparées par des virgules"_fr,
     .typeIdentifiers = "public.comma-separated-values-text", .traits = text},
    {.id = "tsv", .name = "TSV", .longName = "Valeurs séparées par des tabulations"_fr, .extensions = "tsv tab",
     .typeIdentifiers = "public.tab-separated-values-text", .traits = text},
    {.id = "ods", .name = "ODS", .longName = "Classeur OpenDocument"_fr,
     .typeIdentifiers = "org.oasis-open.opendocument.spreadsheet", .traits = container},
    {.id = "numbers", .name = "Numbers",
     .typeIdentifiers = "com.apple.iwork.numbers.sffnumbers com.apple.iwork.numbers.numbers",
     .traits = container | proprietary},
    {.id = "json", .name = "JSON", .longName = "JavaScript Object Notation"_fr,
     .typeIdentifiers = "public.json", .traits = text, .alsoIn = FormatFamily::code},
    {.id = "xml", .name = "XML", .longName = "Extensible Markup Language"_fr,
     .typeIdentifiers = "public.xml", .traits = text, .alsoIn = FormatFamily::code},
    {.id = "yaml", .name = "YAML", .extensions = "yaml yml",
     .typeIdentifiers = "public.yaml", .traits = text, .alsoIn = FormatFamily::code},
    {.id = "toml", .name = "TOML", .traits = text, .alsoIn = FormatFamily::code},
    {.id = "plist", .name = "PLIST", .longName = "Liste de propriétés Apple"_fr,
     .typeIdentifiers = "com.apple.property-list com.apple.xml-property-list com.apple.binary-property-list",
     .alsoIn = FormatFamily::code},
    {.id = "parquet", .name = "Parquet"},
    {.id = "arrow", .name = "Arrow", .longName = "Apache Arrow / Feather"_fr, .extensions = "arrow feather"},
};

constexpr FormatRow presentationRows[] = {
    {.id = "ppt", .name = "PPT", .longName = "Microsoft PowerPoint 97-2003"_fr,
     .typeIdentifiers = "com.microsoft.powerpoint.ppt", .traits = multiPage | proprietary},
    {.id = "pptx", .name = "PPTX", .longName = "Microsoft PowerPoint"_fr,
     .typeIdentifiers = "org.openxmlformats.presentationml.presentation", .traits = multiPage | container},
    {.id = "ppsx", .name = "PPSX", .longName = "Diaporama PowerPoint"_fr,
     .typeIdentifiers = "org.openxmlformats.presentationml.slideshow", .traits = multiPage | container},
    {.id = "odp", .name = "ODP", .longName = "Présentation OpenDocument"_fr,
     .typeIdentifiers = "org.oasis-open.opendocument.presentation", .traits = multiPage | container},
    {.id = "key", .name = "Keynote",
     .typeIdentifiers = "com.apple.iwork.keynote.sffkey com.apple.iwork.keynote.key",
     .traits = multiPage | container | proprietary},
};

constexpr FormatRow publicationRows[] = {
    {.id = "epub", .name = "EPUB", .longName = "Livre numérique EPUB"_fr,
     .typeIdentifiers = "org.idpf.epub-container", .traits = multiPage | container},
    {.id = "mobi", .name = "MOBI", .extensions = "mobi prc", .traits = multiPage},
    {.id = "azw", .name = "AZW", .traits = multiPage | proprietary},
    {.id = "azw3", .name = "AZW3", .longName = "Kindle KF8"_fr, .extensions = "azw3 kf8",
     .traits = multiPage | proprietary},
    {.id = "fb2", .name = "FB2", .longName = "FictionBook"_fr, .traits = multiPage | text},
    {.id = "cbz", .name = "CBZ", .longName = "Bande dessinée (ZIP)"_fr,
     .typeIdentifiers = "public.cbz-archive", .traits = multiPage | container},
    {.id = "cbr", .name = "CBR", .longName = "Bande dessinée (RAR)"_fr,
     .typeIdentifiers = "public.cbr-archive", .traits = multiPage | container},
    {.id = "djvu", .name = "DjVu", .extensions = "djvu djv",
     .typeIdentifiers = "com.lizardtech.djvu", .traits = multiPage},
};

constexpr FormatRow communicationRows[] = {
    {.id = "eml", .name = "EML", .longName = "E-mail"_fr, .typeIdentifiers = "com.apple.mail.email public.email-message", .traits = text},
    {.id = "msg", .name = "MSG", .traits = proprietary},
    {.id = "mbox", .name = "MBOX", .longName = "Boîte aux lettres"_fr, .extensions = "mbox mbx",
     .typeIdentifiers = "com.apple.mail.mbox", .traits = multiPage | text},
    {.id = "pst", .name = "PST", .extensions = "pst ost", .traits = container | proprietary},
    {.id = "vcf", .name = "VCF", .longName = "vCard"_fr, .extensions = "vcf vcard",
     .typeIdentifiers = "public.vcard", .traits = text},
    {.id = "ics", .name = "ICS", .longName = "Calendrier iCalendar"_fr, .extensions = "ics ifb",
     .typeIdentifiers = "com.apple.ical.ics", .traits = text},
};

// clang-format on
static_assert(everyIdOnce(documentRows) && everyIdOnce(spreadsheetRows) && everyIdOnce(presentationRows));
static_assert(everyIdOnce(publicationRows) && everyIdOnce(communicationRows));

} // namespace

constinit const std::span<const FormatRow> FormatCatalog::documents{documentRows};
constinit const std::span<const FormatRow> FormatCatalog::spreadsheets{spreadsheetRows};
constinit const std::span<const FormatRow> FormatCatalog::presentations{presentationRows};
constinit const std::span<const FormatRow> FormatCatalog::publications{publicationRows};
constinit const std::span<const FormatRow> FormatCatalog::communication{communicationRows};

} // namespace nivex
