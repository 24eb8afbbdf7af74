#include "NivexKit/Archive/ZipArchive.hpp"
#include "NivexKit/Detection/Containers/ZipInspector.hpp"
#include "tests/Support/Bytes.hpp"
#include "tests/Support/TemporaryFolder.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace nivex {
namespace {

using Bytes = std::vector<std::byte>;
using Names = std::vector<std::string>;

std::string joinedIDs(const std::vector<FormatID>& ids)
{
    std::string text;
    for (const FormatID& id : ids)
        text += (text.empty() ? "" : " ") + id.rawValue;
    return text;
}

const std::string anyZip = "zip cbz kmz npz 3mf usdz sketch kra idml docx xlsx pptx";

TEST(ZipInspector, ClassifiesByTheNamesOfTheEntries)
{
    struct Case {
        const char* name;
        Names entries;
        std::string formats;
    };
    const Case cases[] = {
        {"a text document that carries a workbook", {"[Content_Types].xml", "word/document.xml", "xl/a.xml"}, "docx"},
        {"a text document without its list of types", {"word/document.xml"}, "docx"},
        {"a workbook", {"[Content_Types].xml", "xl/workbook.xml"}, "xlsx xlsm"},
        {"a workbook with macros", {"xl/vbaProject.bin", "xl/workbook.xml"}, "xlsm xlsx"},
        {"slides", {"[Content_Types].xml", "ppt/presentation.xml"}, "pptx ppsx"},
        {"a 3D model", {"[Content_Types].xml", "3D/3dmodel.model"}, "3mf"},
        {"a folder 3D alone", {"3D/3dmodel.model"}, anyZip},
        {"an office package of another kind", {"[Content_Types].xml", "visio/document.xml"}, anyZip},
        {"a book", {"mimetype", "META-INF/container.xml", "content.xml"}, "epub"},
        {"OpenDocument", {"mimetype", "content.xml"}, "odt ods odp zip"},
        {"OpenDocument without its content", {"mimetype", "Index/a"}, "pages numbers key"},
        {"a package of one archive", {"Index.zip"}, "pages numbers key"},
        {"a layout", {"designmap.xml"}, "idml"},
        {"a painting", {"mimetype", "maindoc.xml", "a.png"}, "kra"},
        {"a drawing", {"document.json", "pages/1.json"}, "sketch"},
        {"a drawing without pages", {"document.json"}, anyZip},
        {"a map among other files", {"images/a.png", "doc.KML"}, "kmz zip"},
        {"a scene", {"scene.usdc", "a.png"}, "usdz"},
        {"arrays", {"x.npy", "y.npy"}, "npz zip"},
        {"an array among other files", {"x.npy", "readme.txt"}, anyZip},
        {"pictures in folders", {"book/", "book/1.JPG", "book/2.png"}, "cbz zip"},
        {"pictures and a text", {"1.jpg", "readme.txt"}, anyZip},
        {"only folders", {"a/", "b/"}, anyZip},
        {"a Java archive", {"META-INF/", "META-INF/MANIFEST.MF", "A.class"}, anyZip},
        {"nothing", {}, anyZip},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.name);
        EXPECT_EQ(joinedIDs(ZipInspector::classify(std::span<const std::string>{each.entries})), each.formats);
    }
}

TEST(ZipInspector, ListsTheNamesOfAFile)
{
    const testing::TemporaryFolder folder;
    ZipArchive::Writer writer;
    writer.add("one", {}, false);
    writer.add("two/", {}, false);
    const Bytes archive = writer.finish();
    const auto whole = folder.write("whole.zip", testing::characters(archive));
    const auto cut = folder.write("cut.zip", testing::characters(std::span{archive}.first(archive.size() - 1)));
    EXPECT_EQ(ZipInspector::entryNames(whole), (Names{"one", "two/"}));
    EXPECT_EQ(ZipInspector::entryNames(cut), std::nullopt);
    EXPECT_EQ(ZipInspector::entryNames(folder / "missing.zip"), std::nullopt);
}

TEST(ZipInspector, ClassifiesACutArchiveByItsBeginning)
{
    ZipArchive::Writer writer;
    writer.add("[Content_Types].xml", testing::repeated('x', 300), true);
    writer.add("word/document.xml", testing::repeated('x', 300), false);
    Bytes archive = writer.finish();
    const std::string anyPackage = std::string{anyZip} + " xlsm ppsx odt ods odp epub pages numbers key";
    EXPECT_EQ(joinedIDs(ZipInspector::classify(std::span<const std::byte>{archive}.first(150))), "docx");
    EXPECT_EQ(joinedIDs(ZipInspector::classify(std::span<const std::byte>{archive}.first(70))), anyPackage);
    // A size that the first header leaves open: the second header is found by its signature.
    std::fill_n(archive.begin() + 18, 8, std::byte{});
    EXPECT_EQ(joinedIDs(ZipInspector::classify(std::span<const std::byte>{archive}.first(150))), "docx");
    // A size beyond the bytes ends the walk.
    std::fill_n(archive.begin() + 18, 4, std::byte{0xFF});
    EXPECT_EQ(joinedIDs(ZipInspector::classify(std::span<const std::byte>{archive}.first(150))), anyPackage);
    EXPECT_EQ(joinedIDs(ZipInspector::classify(std::span<const std::byte>{})), anyPackage);
    // A preview in front does not make a cut document a comic book.
    ZipArchive::Writer document;
    document.add("preview.jpg", testing::repeated('x', 300), true);
    document.add("Index/Document.iwa", {}, false);
    const Bytes preview = document.finish();
    EXPECT_THAT(ZipInspector::classify(std::span<const std::byte>{preview}.first(200)), ::testing::Contains("pages"));
}

} // namespace
} // namespace nivex
