#include "tests/NivexWorkers/Data/DataScene.hpp"
#include "tests/NivexWorkers/Data/SpreadsheetBytes.hpp"

#include <gtest/gtest.h>

namespace nivex::data {
namespace {

using Parts = std::vector<std::pair<std::string, std::string>>;

/// A workbook of the given sheets, each "name=rows"; the style of a number is 1 for a day, 2 for a moment, 3 for a
/// time, 4 for hours that count on, 5 for money.
struct Book {
    std::vector<std::string> sheets;
    std::string strings = {};
    std::string properties = {};
    std::string sheetAttributes = {};
    std::string behindRows = {};

    std::string bytes() const
    {
        Parts parts;
        std::string list;
        std::string relations = R"(<Relationship Id="s" Type="x/styles" Target="styles.xml"/>
            <Relationship Id="t" Type="x/sharedStrings" Target="/xl/sharedStrings.xml"/>)";
        for (const std::string& sheet : sheets) {
            const std::string number = std::to_string(parts.size() + 1);
            const std::size_t equals = sheet.find('=');
            list +=
                "<sheet name=\"" + sheet.substr(0, equals) + "\" r:id=\"r" + number + "\" " + sheetAttributes + "/>";
            relations += "<Relationship Id=\"r" + number + "\" Type=\"x/worksheet\" Target=\"w/" + number + ".xml\"/>";
            parts.emplace_back("xl/w/" + number + ".xml", "<x:worksheet xmlns:x=\"m\"><x:sheetData>" +
                                                              sheet.substr(equals + 1) + "</x:sheetData>" + behindRows +
                                                              "</x:worksheet>");
        }
        parts.emplace_back("xl/workbook.xml",
                           "<workbook xmlns:r=\"r\">" + properties + "<sheets>" + list + "</sheets></workbook>");
        parts.emplace_back("xl/_rels/workbook.xml.rels", "<Relationships>" + relations + "</Relationships>");
        parts.emplace_back("xl/sharedStrings.xml", "<sst>" + strings + "</sst>");
        parts.emplace_back("xl/styles.xml", R"(<styleSheet><numFmts>
            <numFmt numFmtId="170" formatCode="[$-40C]d&quot;h&quot;/mm/yy;@"/>
            <numFmt numFmtId="171" formatCode="#,##0.00\ &quot;days&quot;"/></numFmts>
            <cellStyleXfs><xf numFmtId="14"/></cellStyleXfs><cellXfs><xf numFmtId="0"/><xf numFmtId="170"/>
            <xf numFmtId="22"/><xf numFmtId="21"/><xf numFmtId="46"/><xf numFmtId="171"/></cellXfs></styleSheet>)");
        return archiveOf(parts);
    }
};

struct BookCase {
    std::string_view name;
    Book book;
    std::string expected;
    std::vector<std::string> remarks = {};
};

const std::string damaged = "Le fichier source ne peut pas être lu : son contenu est endommagé";

TEST(WorkbookReader, TellsTheValuesOfCells)
{
    // clang-format off
    const BookCase cases[] = {
        {"numbers by the digits that were meant", {{R"(S=<row><c><v>0.30000000000000004</v></c><c><v>0.1</v></c><c><v>1E-7</v></c><c s="5"><v>12.5</v></c></row>)"}},
         "0.30000000000000004,0.1,1E-7,12.5\r\n"},
        {"digits that nobody typed", {{"S=<row><c><v>0.10000000000000001</v></c></row>"}}, "0.1\r\n"},
        {"dates by the format of the number", {{R"(S=<row><c s="1"><v>45322</v></c><c s="2"><v>45322.395833333336</v></c><c s="3"><v>0.5</v></c><c s="4"><v>2.0625</v></c></row>)"}},
         "2024-01-31,2024-01-31 09:30:00,12:00:00,49:30:00\r\n"},
        {"the day that there was not, and those beside it", {{R"(S=<row><c s="1"><v>1</v></c><c s="1"><v>59</v></c><c s="1"><v>60</v></c><c s="1"><v>61</v></c><c s="1"><v>-1</v></c></row>)"}},
         "1900-01-01,1900-02-28,1900-02-29,1900-03-01,-1\r\n"},
        {"days that count from 1904", {{R"(S=<row><c s="1"><v>0</v></c></row>)"}, {}, R"(<workbookPr date1904="1"/>)"}, "1904-01-01\r\n"},
        {"booleans, errors and texts of formulas", {{R"(S=<row><c t="b"><v>1</v></c><c t="e"><f>1/0</f><v>#DIV/0!</v></c><c t="str"><f>A</f><v>x</v></c></row>)"}},
         "true,#DIV/0!,x\r\n"},
        {"shared texts with runs, without how they are spoken", {{R"(S=<row><c t="s"><v>1</v></c><c t="s"><v>0</v></c></row>)"},
          "<si><t>a_x000D_\nb_x005F_x0041_</t></si><si><r><t>漢</t></r><r><t>字</t></r><rPh><t>カンジ</t></rPh></si>"},
         "漢字,\"a\r\nb_x0041_\"\r\n"},
        {"texts inside cells", {{R"(S=<row><c t="inlineStr"><is><r><t>a </t></r><r><t>b</t></r></is></c></row>)"}}, "a b\r\n"},
        {"cells and rows that are left out", {{R"(S=<row r="2"><c r="B2"><v>1</v></c></row><row r="5"><c r="A5"><v>2</v></c></row>)"}},
         ",1\r\n,\r\n,\r\n2,\r\n"},
        {"cells out of their order", {{R"(S=<row r="1"><c r="B1"><v>2</v></c><c r="A1"><v>1</v></c></row>)"}}, "1,2\r\n"},
        {"sheets in their order, empty ones left out", {{"B=<row><c><v>1</v></c></row>", "E=<row/>", "A=<row><c><v>2</v></c></row>"}}, "1\r\n---2\r\n"},
        {"what is hidden is said", {{R"(S=<row hidden="1"><c><v>1</v></c></row>)"}, {}, {}, R"(state="veryHidden")"}, "1\r\n",
         {"la feuille masquée « S » a été reprise aussi", "les lignes masquées ou filtrées ont été reprises aussi"}},
        {"merged cells, and formulas that nobody computed", {{"S=<row><c><v>1</v></c><c><f>A1</f></c></row>"}, {}, {}, {}, R"(<mergeCells><mergeCell ref="A1:B1"/></mergeCells>)"},
         "1\r\n", {"la valeur de cellules fusionnées n'est que dans la première",
                   "des formules n'ont pas de valeur calculée : leurs cellules restent vides"}},
        {"nothing", {{"S="}}, "Le fichier source ne peut pas être lu : il ne contient aucune donnée"},
        {"the last column and the last row", {{R"(S=<row r="1048576"><c r="C1048576"><v>1</v></c></row>)"}}, ",,1\r\n"},
        {"a row behind the last", {{R"(S=<row r="1048577"><c><v>1</v></c></row>)"}}, damaged},
        {"a column behind the last", {{R"(S=<row><c r="XFE1"><v>1</v></c></row>)"}}, "Limite de sécurité atteinte : plus de 16384 colonnes"},
        {"a shared text that is not there", {{R"(S=<row><c t="s"><v>7</v></c></row>)"}}, damaged},
        {"XML that ends too soon", {{"S=<row><c><v>1</v></c>"}}, damaged},
        {"an entity of the document", {{"S=<row><c><v>&x;</v></c></row>"}}, damaged},
    };
    // clang-format on
    for (const BookCase& each : cases) {
        SCOPED_TRACE(each.name);
        DataScene scene;
        EXPECT_EQ(scene.convert("xlsx", "csv", each.book.bytes()), each.expected);
        EXPECT_EQ(scene.remarks, each.remarks);
    }
}

TEST(WorkbookReader, NamesFilesBySheetAndColumnsByTheFirstRow)
{
    const std::string rows = R"(<row><c t="str"><v>ville</v></c><c><v>2024</v></c></row>)"
                             R"(<row r="3"><c t="str"><v>X</v></c><c><v>1</v></c></row>)";
    DataScene scene;
    const std::string book = Book{{"Été/Hiver=" + rows, "B=<row><c><v>1</v></c></row>"}}.bytes();
    EXPECT_EQ(scene.convert("xlsm", "json", book), "{\n  \"Été/Hiver\": [\n    {\"ville\":\"X\",\"2024\":1}\n  ],\n"
                                                   "  \"B\": [\n    {\"colonne 1\":1}\n  ]\n}\n");
    scene.convert("xlsx", "tsv", book);
    ASSERT_EQ(scene.results.size(), 2u);
    EXPECT_EQ(scene.results.front().filename(), "in - Été-Hiver.tsv");
}

/// What an archive announces is not what it holds.
TEST(WorkbookReader, RefusesArchivesThatLie)
{
    const std::string sound = Book{{"S=<row><c><v>1</v></c></row>" + std::string(100'000, ' ')}}.bytes();
    const std::size_t record = sound.find("PK\x01\x02");
    ASSERT_NE(record, sound.npos);
    const std::string broken = "Le fichier source ne peut pas être lu : archive ZIP endommagée";
    for (const std::size_t field : {16u, 24u}) { // the checksum, the size of what is in it
        std::string forged = sound;
        forged[record + field] = static_cast<char>(forged[record + field] - 1);
        forged[record + field + 2] = 0;
        DataScene scene;
        EXPECT_EQ(scene.convert("xlsx", "csv", forged), broken) << field;
    }
    DataScene scene;
    EXPECT_EQ(scene.convert("xlsx", "csv", archiveOf({{"xl/x.xml", "<a/>"}})),
              "Le fichier source ne peut pas être lu : ce n'est pas un classeur");
}

std::string roundTrip(DataScene& scene, std::string_view from, std::string_view source)
{
    scene.convert(from, "xlsx", source);
    const std::vector<std::string> remarks = scene.remarks;
    const std::string back = scene.convertFile("xlsx", from, scene.results.front());
    scene.remarks = remarks;
    return back;
}

TEST(WorkbookWriter, KeepsWhatASpreadsheetCanHold)
{
    DataScene scene;
    const std::string json =
        "[\n  {\"a\":1,\"b\":\"=1+1\",\"c\":\"@x\",\"d\":true,\"e\":\"\",\"f\":-2.5e-3},\n"
        "  {\"a\":\" x\\n\\u0001_x0041_<&\\\"\",\"b\":\"007\",\"c\":null,\"d\":\"\uFFFF\",\"e\":null,"
        "\"f\":null}\n]\n";
    EXPECT_EQ(roundTrip(scene, "json", json), json);
    EXPECT_EQ(scene.remarks, std::vector<std::string>{});
    EXPECT_EQ(roundTrip(scene, "json", "[{\"n\":12345678901234567}]"), "[\n  {\"n\":\"12345678901234567\"}\n]\n");
    EXPECT_EQ(scene.remarks,
              std::vector<std::string>{"des nombres de plus de 15 chiffres ont été gardés comme textes"});
    const std::string dates = "j,m\r\n2024-02-29,2024-02-29 23:59:59\r\n1900-03-01,1999-12-31 00:00:00\r\n";
    EXPECT_EQ(roundTrip(scene, "csv", dates), dates);
    EXPECT_EQ(roundTrip(scene, "csv", "j\r\n1900-02-28\r\n"), "j\r\n\"1900-02-28\"\r\n") << "before March 1900, text";
}

TEST(WorkbookWriter, RefusesWhatASheetHasNoRoomFor)
{
    DataScene scene;
    const auto ofLength = [](std::size_t count) { return "a,b\n1," + std::string(count, 'v') + "\n"; };
    EXPECT_EQ(scene.convert("csv", "xlsx", ofLength(32'767)).substr(0, 2), "PK");
    EXPECT_EQ(scene.convert("csv", "xlsx", ofLength(32'768)),
              "Limite de sécurité atteinte : une cellule de la ligne 2 dépasse 32767 caractères");
    const auto ofColumns = [](std::size_t count) { return "0" + std::string(count - 1, ',') + "\n"; };
    EXPECT_EQ(scene.convert("csv", "xlsx", ofColumns(16'384)).substr(0, 2), "PK");
    EXPECT_EQ(scene.convert("csv", "xlsx", ofColumns(16'385)), "Limite de sécurité atteinte : plus de 16384 colonnes");
}

TEST(WorkbookWriter, GoesOnInAnotherSheet)
{
    std::string csv = "n\n";
    for (int i = 0; i < 1'048'575; ++i)
        csv += "1\n";
    DataScene scene;
    scene.convert("csv", "xlsx", csv);
    EXPECT_EQ(scene.remarks, std::vector<std::string>{}) << "the last row that fits";
    scene.convert("csv", "xlsx", csv + "2\n");
    EXPECT_EQ(scene.remarks, std::vector<std::string>{"plus de 1048576 lignes : la suite est sur une autre feuille"});
    scene.convertFile("xlsx", "csv", scene.results.front());
    ASSERT_EQ(scene.results.size(), 2u);
    EXPECT_EQ(scene.results.back().filename(), "in - in 2.csv");
    EXPECT_EQ(testing::contentsOf(scene.results.back()), "n\r\n2\r\n") << "with the names of the columns";
}

} // namespace
} // namespace nivex::data
