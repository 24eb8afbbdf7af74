#include "NivexKit/Archive/ZipArchive.hpp"
#include "tests/NivexKit/Detection/Containers/ContainerCases.hpp"

namespace nivex {
namespace {

using testing::expectFindings;
using testing::joined;
using testing::sniffed;
using testing::textBytes;
using Bytes = std::vector<std::byte>;

struct Content {
    std::string name;
    std::string text = "x";
};

/// An archive of those entries, every one compressed but the media type.
Bytes archiveOf(std::initializer_list<Content> entries)
{
    ZipArchive::Writer writer;
    for (const Content& each : entries)
        writer.add(each.name, textBytes(each.text), each.name != "mimetype");
    return writer.finish();
}

Bytes encrypted(Bytes archive)
{
    const auto text = std::string{testing::characters(archive)};
    archive[text.find("PK\x01\x02") + 8] |= std::byte{1};
    return archive;
}

Bytes openDocument(const std::string& kind, const std::string& manifest = "<manifest/>")
{
    return archiveOf({{"mimetype", "application/vnd.oasis.opendocument." + kind},
                      {"content.xml"},
                      {"META-INF/manifest.xml", manifest}});
}

Bytes officePackage(const std::string& folder, const std::string& mainPart)
{
    const std::string element = "<Override ContentType=\"application/vnd.openxmlformats-officedocument." + mainPart;
    return archiveOf(
        {{"[Content_Types].xml", std::string(5'000, ' ').append(element).append("\"/>")}, {folder + "main.xml"}});
}

TEST(ZipContents, TellsThePackageFormatsApart)
{
    const std::string anyZip = "zip cbz kmz npz 3mf usdz sketch kra idml docx xlsx pptx";
    const std::string rootOfPages = std::string{"\0\x0D\0\0\x0C\x2C", 6} + "\x0E\x08\x01\x12\x0A\x08\x90\x4E";
    const std::string otherRoot = std::string{"\0\x0D\0\0\x0C\x2C", 6} + "\x0E\x08\x01\x12\x0A\x08\x01\x12";
    expectFindings(
        sniffed(ContainerKind::zip),
        {
            {"text document", openDocument("text"), "odt"},
            {"template of a workbook", openDocument("spreadsheet-template"), "ods"},
            {"slides", openDocument("presentation"), "odp"},
            {"a drawing", openDocument("graphics"), "zip"},
            {"a media type with a line break", archiveOf({{"mimetype", "application/epub+zip\r\n"}, {"a"}}), "epub"},
            {"a media type that nobody knows", archiveOf({{"mimetype", "text/x"}, {"content.xml"}}), "odt ods odp zip"},
            {"a painting", archiveOf({{"mimetype", "application/x-krita"}, {"maindoc.xml"}}), "kra"},
            {"a layout that lists its parts as a book does", archiveOf({{"META-INF/container.xml"}, {"designmap.xml"}}),
             "idml"},
            {"a text document", officePackage("word/", "wordprocessingml.document.main+xml"), "docx"},
            {"slides for editing", officePackage("ppt/", "presentationml.presentation.main+xml"), "pptx ppsx"},
            {"slides for showing", officePackage("ppt/", "presentationml.slideshow.main+xml"), "ppsx pptx"},
            {"a workbook", officePackage("xl/", "spreadsheetml.sheet.main+xml"), "xlsx xlsm"},
            {"a workbook with an empty list of types", officePackage("xl/", ""), "xlsx xlsm"},
            {"pages", archiveOf({{"Index/Document.iwa", rootOfPages}}), "pages"},
            {"tables", archiveOf({{"Index/Document.iwa", otherRoot}, {"Index/Tables/a"}}), "numbers"},
            {"a talk", archiveOf({{"Index/Document.iwa", otherRoot}, {"Index/Slide.iwa"}}), "key"},
            {"a document of unknown root", archiveOf({{"Index/Document.iwa"}}), "pages numbers key"},
            {"pages of an older program", archiveOf({{"index.xml", "<?xml?><sl:document/>"}}), "pages"},
            {"tables of an older program", archiveOf({{"index.xml", "<?xml?><ls:document/>"}}), "numbers"},
            {"slides with macros", officePackage("ppt/", "slideshow.macroEnabled.main+xml"), "ppsx pptx"},
            {"a vector drawing that lists its parts as a book does",
             archiveOf({{"mimetype", "application/x-vnd.corel.draw.document+zip"}, {"META-INF/container.xml"}}), "cdr"},
            {"a text document without its media type",
             archiveOf({{"content.xml"},
                        {"META-INF/manifest.xml", "<a full-path='/' media-type='application/"
                                                  "vnd.oasis.opendocument.text'/><b media-type='text/xml'/>"}}),
             "odt"},
            {"behind other bytes", joined({textBytes("MSCF stub"), openDocument("text")}), "odt"},
            {"a vector drawing", archiveOf({{"content/riffData.cdr"}}), "cdr"},
            {"a design", archiveOf({{"canvas.fig"}, {"meta.json"}}), "fig"},
            {"pictures", archiveOf({{"1.jpg"}, {"2.jpg"}}), "cbz zip"},
            {"a Java archive", archiveOf({{"META-INF/MANIFEST.MF"}, {"A.class"}}), anyZip},
            {"not an archive", textBytes("PK\x03\x04"), anyZip + " xlsm ppsx odt ods odp epub pages numbers key"},
        });
}

TEST(ZipContents, SeesWhatIsEncrypted)
{
    expectFindings(
        sniffed(ContainerKind::zip),
        {
            {"an archive", encrypted(archiveOf({{"1.jpg"}, {"2.jpg"}})), "cbz zip encrypted"},
            {"a text document", openDocument("text", "<manifest><encryption-data/></manifest>"), "odt encrypted"},
            {"a document of tables", archiveOf({{".iwpv2"}, {"Index/Document.iwa"}}), "pages numbers key encrypted"},
            {"a book",
             archiveOf({{"META-INF/container.xml"},
                        {"META-INF/encryption.xml", "http://www.w3.org/2001/04/xmlenc#aes128-cbc"}}),
             "epub encrypted"},
            {"a book with obfuscated fonts",
             archiveOf({{"META-INF/container.xml"}, {"META-INF/encryption.xml", "http://www.idpf.org/2008/embedding"}}),
             "epub"},
        });
}

TEST(ZipContents, FallsBackOnTheBeginning)
{
    Bytes cut = officePackage("word/", "x");
    cut.resize(cut.size() - 1);
    expectFindings(sniffed(ContainerKind::zip), {{"a cut text document", cut, "docx"}});
}

} // namespace
} // namespace nivex
