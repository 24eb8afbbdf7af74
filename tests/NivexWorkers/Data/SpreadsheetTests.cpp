#include "tests/NivexWorkers/Data/DataScene.hpp"
#include "tests/NivexWorkers/Data/SpreadsheetBytes.hpp"

#include <gtest/gtest.h>

namespace nivex::data {
namespace {

using namespace std::string_literals;

const std::string unreadable = "Le fichier source ne peut pas être lu : ";

void expectAll(std::span<const ConversionCase> cases)
{
    for (const ConversionCase& each : cases) {
        SCOPED_TRACE(each.name);
        DataScene scene;
        EXPECT_EQ(scene.convert(each.from, each.to, each.source), each.expected);
        EXPECT_EQ(scene.remarks, each.remarks);
    }
}

constexpr std::uint16_t formula = 0x0006;
constexpr std::uint16_t sharedStrings = 0x00FC;
constexpr std::uint16_t continued = 0x003C;
constexpr std::uint16_t extendedFormat = 0x00E0;
constexpr std::uint16_t labelOfShared = 0x00FD;
constexpr std::uint16_t number = 0x0203;
constexpr std::uint16_t label = 0x0204;
constexpr std::uint16_t booleanOrError = 0x0205;
constexpr std::uint16_t stringOfFormula = 0x0207;
constexpr std::uint16_t rk = 0x027E;

TEST(Xls, IsReadWithItsTypes)
{
    const std::string styles = biff(0x041E, "\xA4\0\x08\0\0dd/mm/yy"s) + biff(extendedFormat, std::string(20, '\0')) +
                               biff(extendedFormat, "\0\0\xA4"s + std::string(17, '\0')) +
                               biff(extendedFormat, "\0\0\x16"s + std::string(17, '\0'));
    // The second string changes from bytes to two of them where its record is continued.
    const std::string strings =
        biff(sharedStrings, "\2\0\0\0\2\0\0\0\1\0\0a\3\0\0\xE9"s) + biff(continued, "\1\xAC\x20\x3D\xD8"s + "\1\0\0b"s);
    const auto longer = [](std::string text) { return text + std::string(4, '\0'); };
    // clang-format off
    const ConversionCase cases[] = {
        {"numbers in every form, dates by their format", "xls", "csv",
         xls(styles, {"A=" + biffCell(number, 0, 0, 0, biffDouble(0.1)) + biffCell(rk, 0, 1, 0, "\xFE\xFF\xFF\xFF") +
                             biffCell(rk, 0, 2, 0, "\xD3\x04\0\0"s) + biff(0x00BD, "\1\0\0\0\0\0\x06\0\0\0\1\0\x2A\xC4\x02\0\1\0"s) +
                             biffCell(number, 1, 2, 2, biffDouble(45322.5))}),
         "0.1,-1,3.08\r\n1,2024-01-31,2024-01-31 12:00:00\r\n"},
        {"days from 1904", "xls", "csv", xls(styles + biff(0x0022, "\1\0"s), {"A=" + biffCell(number, 0, 0, 1, biffDouble(1))}), "1904-01-02\r\n"},
        {"texts, shared over two records and not", "xls", "csv",
         xls(strings, {"A=" + biffCell(labelOfShared, 2, 1, 0, "\1\0\0\0"s) + biffCell(label, 0, 0, 0, "\1\0\1\xE9\0"s) + biffCell(label, 0, 1, 0, "\1\0\0z"s)}),
         "é,z\r\n,\r\n,\u00E9€\uFFFD\r\n"},
        {"what formulas last gave, and errors", "xls", "json",
         xls({}, {"A=" + biffCell(formula, 0, 0, 0, longer(biffDouble(2))) + biffCell(formula, 0, 1, 0, longer("\0\0\0\0\0\0\xFF\xFF"s)) +
                      biff(stringOfFormula, "\2\0\0xy"s) + biffCell(formula, 0, 2, 0, longer("\1\0\1\0\0\0\xFF\xFF"s)) +
                      biffCell(formula, 0, 3, 0, longer("\2\0\7\0\0\0\xFF\xFF"s)) + biffCell(booleanOrError, 0, 4, 0, "\0\0"s) +
                      biffCell(booleanOrError, 0, 5, 0, "\x2A\1"s)}),
         "[\n  {\"colonne 1\":2,\"colonne 2\":\"xy\",\"colonne 3\":true,\"colonne 4\":\"#DIV/0!\",\"colonne 5\":false,\"colonne 6\":\"#N/A\"}\n]\n"},
        {"several sheets, one hidden, one empty", "xls", "csv",
         xls({}, {"A=" + biffCell(rk, 0, 0, 0, "\x06\0\0\0"s), "leer=", "!B=" + biffCell(rk, 0, 0, 0, "\x0A\0\0\0"s) + biff(0x00E5, {})}),
         "1\r\n---2\r\n",
         {"la feuille masquée « B » a été reprise aussi", "la valeur de cellules fusionnées n'est que dans la première"}},
        {"a password", "xls", "csv", xls(biff(0x002F, "\0\0\0\0\0\0"s), {"A="}), unreadable + "il est protégé par un mot de passe"},
        {"no values", "xls", "csv", xls({}, {"A="}), unreadable + "il ne contient aucune donnée"},
        {"a string that is not there", "xls", "csv", xls({}, {"A=" + biffCell(labelOfShared, 0, 0, 0, "\1\0\0\0"s)}), unreadable + "son contenu est endommagé"},
        {"another compound file", "xls", "csv", compoundFile("WordDocument", {}), unreadable + "ce n'est pas un classeur"},
        {"a cut file", "xls", "csv", xls({}, {"A="}).substr(0, 600), unreadable + "son contenu est endommagé"},
    };
    // clang-format on
    expectAll(cases);
}

TEST(Ods, IsReadWithItsTypes)
{
    const auto sheet = [](std::string_view name, const std::string& rows) {
        return "<t:table t:name='" + std::string{name} + "'>" + rows + "</t:table>";
    };
    // clang-format off
    const ConversionCase cases[] = {
        {"types", "ods", "json",
         ods(sheet("A", "<t:table-row><t:table-cell o:value-type='float' o:value='0.30000000000000004'><x:p>0,3</x:p></t:table-cell>"
                        "<t:table-cell o:value-type='date' o:date-value='2024-01-31T09:30:00.500000000'/><t:table-cell o:value-type='time' o:time-value='PT09H30M00S'/>"
                        "<t:table-cell o:value-type='time' o:time-value='PT49H30M00S'/><t:table-cell o:value-type='boolean' o:boolean-value='true'/></t:table-row>")),
         "[\n  {\"colonne 1\":0.30000000000000004,\"colonne 2\":\"2024-01-31T09:30:00.5\",\"colonne 3\":\"09:30:00\",\"colonne 4\":\"49:30:00\",\"colonne 5\":true}\n]\n"},
        {"the white space of texts", "ods", "csv",
         ods(sheet("A", "<t:table-row><t:table-cell><o:annotation><x:p>note</x:p></o:annotation><x:p>a <x:span> b</x:span><x:s x:c='3'/>c</x:p><x:p>d<x:tab/>e</x:p></t:table-cell></t:table-row>")),
         "\"a b   c\nd\te\"\r\n"},
        {"repeated rows and cells, and the blank rest of a sheet", "ods", "csv",
         ods(sheet("A", "<t:table-row t:number-rows-repeated='2'><t:table-cell t:number-columns-repeated='2'><x:p>x</x:p></t:table-cell><t:table-cell t:number-columns-repeated='16000'/></t:table-row>"
                        "<t:table-row t:number-rows-repeated='2'><t:table-cell/></t:table-row><t:table-row><t:table-cell/><t:table-cell><x:p>y</x:p></t:table-cell></t:table-row>"
                        "<t:table-row t:number-rows-repeated='1048571'><t:table-cell/></t:table-row>")),
         "x,x\r\nx,x\r\n,\r\n,\r\n,y\r\n"},
        {"hidden, merged, without a value", "ods", "csv",
         ods("<t:table t:name='A' t:style-name='h'><t:table-row t:visibility='collapse'><t:table-cell t:number-columns-spanned='2'><x:p>x</x:p></t:table-cell>"
             "<t:covered-table-cell/><t:table-cell t:formula='of:=1'/></t:table-row></t:table>", "<s:style s:name='h'><s:table-properties t:display='false'/></s:style>"),
         "x\r\n",
         {"la feuille masquée « A » a été reprise aussi", "la valeur de cellules fusionnées n'est que dans la première",
          "les lignes masquées ou filtrées ont été reprises aussi", "des formules n'ont pas de valeur calculée : leurs cellules restent vides"}},
        {"repetitions beyond measure", "ods", "csv",
         ods(sheet("A", "<t:table-row t:number-rows-repeated='1048576'><t:table-cell t:number-columns-repeated='16384'><x:p>x</x:p></t:table-cell></t:table-row>")),
         "Limite de sécurité atteinte : des cellules répétées multiplient les données à l'excès"},
        {"more columns than a sheet has", "ods", "csv",
         ods(sheet("A", "<t:table-row><t:table-cell t:number-columns-repeated='16384'/><t:table-cell><x:p>x</x:p></t:table-cell></t:table-row>")),
         "Limite de sécurité atteinte : plus de 16384 colonnes"},
        {"no document", "ods", "csv", archiveOf({{"mimetype", "x"}}), unreadable + "ce n'est pas un classeur"},
        {"broken XML", "ods", "csv", archiveOf({{"content.xml", "<a>"}}), unreadable + "son contenu est endommagé"},
    };
    // clang-format on
    expectAll(cases);
}

TEST(Ods, IsWrittenSoThatItReadsBack)
{
    DataScene scene;
    const std::string json = "[\n  {\"n\":1.5,\"big\":12345678901234567,\"t\":\"  a  b "
                             "\\tc\\n\\nd<&>\",\"b\":true,\"e\":null,\"c\":\"007\"},\n"
                             "  {\"n\":-2,\"big\":1,\"t\":\"=1+1\",\"b\":false,\"e\":null,\"c\":\"x\"}\n]\n";
    scene.convert("json", "ods", json);
    const std::filesystem::path written = scene.results.front();
    EXPECT_EQ(scene.remarks,
              std::vector<std::string>{"des nombres de plus de 15 chiffres ont été gardés comme textes"});
    EXPECT_EQ(testing::contentsOf(written).substr(30, 54), "mimetypeapplication/vnd.oasis.opendocument.spreadsheet");
    EXPECT_EQ(scene.convertFile("ods", "json", written),
              "[\n  {\"n\":1.5,\"big\":\"12345678901234567\",\"t\":\"  a  b "
              "\\tc\\n\\nd<&>\",\"b\":true,\"e\":null,\"c\":\"007\"},\n"
              "  {\"n\":-2,\"big\":1,\"t\":\"=1+1\",\"b\":false,\"e\":null,\"c\":\"x\"}\n]\n");
    scene.convert("csv", "ods", "jour;moment\n2024-01-31;2024-01-31 09:30:00\n");
    EXPECT_EQ(scene.convertFile("ods", "csv", scene.results.front()),
              "jour,moment\r\n2024-01-31,2024-01-31 09:30:00\r\n");
}

} // namespace
} // namespace nivex::data
