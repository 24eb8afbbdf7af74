#include "tests/NivexWorkers/Data/DataScene.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace nivex::data {
namespace {

using namespace std::string_literals;

void expectAll(std::span<const ConversionCase> cases)
{
    for (const ConversionCase& each : cases) {
        SCOPED_TRACE(each.name);
        DataScene scene;
        EXPECT_EQ(scene.convert(each.from, each.to, each.source), each.expected);
        EXPECT_EQ(scene.remarks, each.remarks);
    }
}

const std::string ragged = "1 ligne n'a pas le nombre de colonnes de la première";

TEST(DataConversion, ReadsDelimitedText)
{
    // clang-format off
    const ConversionCase cases[] = {
        {"types are those of a column", "csv", "json", "n,zip,ok,t\n1,01000,TRUE,true\n-2.50e3,75001,FALSE,maybe\n",
         "[\n  {\"n\":1,\"zip\":\"01000\",\"ok\":true,\"t\":\"true\"},\n"
         "  {\"n\":-2.50e3,\"zip\":\"75001\",\"ok\":false,\"t\":\"maybe\"}\n]\n"},
        {"every digit of a number is kept", "csv", "json", "n\n12345678901234567890123\n0.10\n",
         "[\n  {\"n\":12345678901234567890123},\n  {\"n\":0.10}\n]\n"},
        {"telephone numbers are no numbers", "csv", "json", "t\n+33612345678\n612345678\n",
         "[\n  {\"t\":\"+33612345678\"},\n  {\"t\":\"612345678\"}\n]\n"},
        {"nothing, an empty text and a cell that is not there differ", "csv", "json", "a,b,c\n1,,\"\"\n2\n",
         "[\n  {\"a\":1,\"b\":null,\"c\":\"\"},\n  {\"a\":2}\n]\n", {ragged}},
        {"a row that is too long keeps its values", "csv", "json", "a\n1\n2,3\n",
         "[\n  {\"a\":1},\n  {\"a\":2,\"colonne 2\":3}\n]\n", {ragged}},
        {"columns of one name hide nothing", "csv", "json", "a,a,\n1,2,3\n",
         "[\n  {\"a\":1,\"a 2\":2,\"colonne 3\":3}\n]\n", {"des colonnes de même nom ont reçu un numéro"}},
        {"quotes hold separators, quotes and line ends", "csv", "json", "a,b\r\n\"x,\"\"y\"\"\",\"1\r\n2\"\r\n",
         "[\n  {\"a\":\"x,\\\"y\\\"\",\"b\":\"1\\r\\n2\"}\n]\n"},
        {"a quote inside a text stands for itself", "csv", "json", "a,b\n12\" disc,\"x\"y\n",
         "[\n  {\"a\":\"12\\\" disc\",\"b\":\"xy\"}\n]\n"},
        {"quoted numbers are texts where others are bare", "csv", "json", "a,b\n1,\"2\"\n", "[\n  {\"a\":1,\"b\":\"2\"}\n]\n"},
        {"quoted numbers are numbers where everything is quoted", "csv", "json", "\"a\"\n\"1\"\n", "[\n  {\"a\":1}\n]\n"},
        {"semicolons and a decimal comma", "csv", "json", "a;b\n1,5;x\n2,25;y\n",
         "[\n  {\"a\":1.5,\"b\":\"x\"},\n  {\"a\":2.25,\"b\":\"y\"}\n]\n"},
        {"commas that may be thousands stay text", "csv", "json", "a;b\n1,500;x\n", "[\n  {\"a\":\"1,500\",\"b\":\"x\"}\n]\n"},
        {"a first line that names the separator", "csv", "json", "sep=|\r\na|b\r\n1|2\r\n", "[\n  {\"a\":1,\"b\":2}\n]\n"},
        {"rows of numbers have no header", "csv", "json", "1,2\n3,4\n",
         "[\n  {\"colonne 1\":1,\"colonne 2\":2},\n  {\"colonne 1\":3,\"colonne 2\":4}\n]\n"},
        {"years are names", "csv", "json", "town,2019,2020\nX,1,2\n", "[\n  {\"town\":\"X\",\"2019\":1,\"2020\":2}\n]\n"},
        {"only names", "csv", "json", "a,b\n", "[]\n",
         {"le tableau n'a que des noms de colonnes, qui ne peuvent pas être conservés"}},
        {"line ends of old systems", "csv", "json", "a,b\r1,2\r", "[\n  {\"a\":1,\"b\":2}\n]\n"},
        {"Windows-1252", "csv", "json", "ville,n\nOrl\xE9" "ans,1\nN\xEEmes,2\n",
         "[\n  {\"ville\":\"Orléans\",\"n\":1},\n  {\"ville\":\"Nîmes\",\"n\":2}\n]\n"},
        {"lines of another encoding among UTF-8", "csv", "json", "v\né\nà\n\xE8t\n",
         "[\n  {\"v\":\"é\"},\n  {\"v\":\"à\"},\n  {\"v\":\"èt\"}\n]\n",
         {"des lignes qui n'étaient pas en UTF-8 ont été lues en Windows-1252"}},
        {"UTF-16 with a mark", "csv", "json", "\xFF\xFE" "a\0,\0b\0\n\0\xE9\0,\0001\0\n\0"s,
         "[\n  {\"a\":\"é\",\"b\":1}\n]\n"},
        {"tabs with a quote that closes nothing", "tsv", "json", "a\tb\n\"x\t1\n", "[\n  {\"a\":\"\\\"x\",\"b\":1}\n]\n"},
        {"a quote that is never closed", "csv", "json", "a,b\n1,\"x\n2,3\n",
         "Le fichier source ne peut pas être lu : un guillemet ouvert à la ligne 2 n'est jamais fermé"},
        {"bytes that are no text", "csv", "json", "a,b\n1,\0\n"s,
         "Le fichier source ne peut pas être lu : ce n'est pas un texte"},
    };
    // clang-format on
    expectAll(cases);
}

TEST(DataConversion, WritesDelimitedText)
{
    // clang-format off
    const ConversionCase cases[] = {
        {"texts that look like something else are quoted", "json", "csv",
         R"([{"a":"12","b":"","c":null,"d":"x,\"y\"","e":"true","f":"007","g":1e5}])",
         "a,b,c,d,e,f,g\r\n\"12\",\"\",,\"x,\"\"y\"\"\",\"true\",007,1e5\r\n"},
        {"a row of nothing is not an empty line", "json", "csv", R"([{"a":null},{"a":1}])", "a\r\n\"\"\r\n1\r\n"},
        {"values of text stay as they were written", "csv", "tsv", "a;b;c\n1,5;007;\"2\"\n", "a\tb\tc\r\n1,5\t007\t\"2\"\r\n"},
        {"values with the new separator", "csv", "tsv", "a,b\n\"x\ty\",z\n", "a\tb\r\n\"x\ty\"\tz\r\n"},
        {"rows keep their lengths", "csv", "tsv", "a,b\n1\n2,3,4\n", "a\tb\r\n1\r\n2\t3\t4\r\n",
         {"2 lignes n'ont pas le nombre de colonnes de la première"}},
    };
    // clang-format on
    expectAll(cases);
}

TEST(DataConversion, MakesTablesOfNestedData)
{
    // clang-format off
    const ConversionCase cases[] = {
        {"names are joined by dots, lists are JSON", "json", "csv", R"([{"a":{"b":{"c":1},"d":[1,{"x":null}]}},{"e":2}])",
         "a.b.c,a.d,e\r\n1,\"[1,{\"\"x\"\":null}]\",\r\n,,2\r\n"},
        {"a column that appears late", "json", "csv", R"([{"a":1},{"b":2,"a":3}])", "a,b\r\n1,\r\n3,2\r\n"},
        {"the list in a reply, with what stands beside it", "json", "csv", R"({"n":2,"rows":[{"a":1},{"a":2}],"end":true})",
         "n,a,end\r\n2,1,true\r\n2,2,true\r\n"},
        {"two lists are no rows", "json", "csv", R"({"x":[{"a":1}],"y":[{"a":2}]})",
         "x,y\r\n\"[{\"\"a\"\":1}]\",\"[{\"\"a\"\":2}]\"\r\n"},
        {"an object is one row", "json", "csv", R"({"a":{"b":1},"c":{}})", "a.b,c\r\n1,{}\r\n"},
        {"rows without names", "json", "csv", R"([[1,"x"],[2,[3]]])", "1,x\r\n2,[3]\r\n"},
        {"lone values", "json", "csv", R"([1,"x",null])", "valeur\r\n1\r\nx\r\n\"\"\r\n"},
        {"a value a line", "json", "csv", "{\"a\":1}\n{\"a\":2}\n", "a\r\n1\r\n2\r\n"},
        {"a name twice in one object", "json", "csv", R"([{"a":1,"a":2}])", "a\r\n2\r\n",
         {"des valeurs de même nom se remplaçaient l'une l'autre : la dernière est gardée"}},
        {"numbers beyond every type", "json", "csv", R"([123456789012345678901234567890,NaN])",
         "valeur\r\n123456789012345678901234567890\r\nNaN\r\n"},
        {"half a surrogate pair", "json", "csv", R"(["\udc00"])", "valeur\r\n\uFFFD\r\n"},
        {"cut", "json", "csv", "[\n1,", "Le fichier source ne peut pas être lu : JSON invalide à la ligne 2"},
        {"something behind the end", "json", "csv", "[1]\n\nx",
         "Le fichier source ne peut pas être lu : JSON invalide à la ligne 3"},
        {"nothing", "json", "csv", " ", "Le fichier source ne peut pas être lu : JSON invalide à la ligne 1"},
    };
    // clang-format on
    expectAll(cases);
}

TEST(DataConversion, RefusesDeepNesting)
{
    const auto nested = [](std::size_t levels) { return std::string(levels, '[') + std::string(levels, ']'); };
    DataScene scene;
    EXPECT_EQ(scene.convert("json", "csv", nested(512)).substr(0, 2), "[[") << "the last level that passes";
    EXPECT_EQ(scene.convert("json", "csv", nested(513)),
              "Limite de sécurité atteinte : données imbriquées sur plus de 512 niveaux");
    EXPECT_EQ(scene.convert("json", "csv", nested(100'000)),
              "Limite de sécurité atteinte : données imbriquées sur plus de 512 niveaux");
}

/// Records, pieces of UTF-16 and quoted values that lie across the borders of every buffer.
TEST(DataConversion, ReadsAcrossTheBordersOfBuffers)
{
    std::string csv = "n,text\r\n";
    std::string json = "[";
    for (int i = 0; i < 40'000; ++i) {
        const std::string number = std::to_string(i);
        const std::string text = number + std::string(static_cast<std::size_t>(i % 97), 'x') + "é";
        csv += number + ",\"" + text + "\r\n\"\"\"\r\n";
        json += (i == 0 ? "\n  {\"n\":" : ",\n  {\"n\":") + number + ",\"text\":\"" + text + "\\r\\n\\\"\"}";
    }
    json += "\n]\n";
    DataScene scene;
    EXPECT_TRUE(scene.convert("csv", "json", csv) == json);
    std::string wide = "\xFE\xFF";
    for (std::size_t i = 0; i < csv.size(); ++i) {
        const auto byte = static_cast<unsigned char>(csv[i]);
        if (byte == 0xC3) {
            wide += std::string{"\0\xE9", 2};
            ++i;
        } else {
            wide += {'\0', csv[i]};
        }
    }
    EXPECT_TRUE(scene.convert("csv", "json", wide) == json);
    EXPECT_TRUE(scene.convert("json", "csv", json) == csv);
}

TEST(DataConversion, HasAPlaceForAVeryLongValue)
{
    const std::string value(3'000'000, 'v');
    DataScene scene;
    EXPECT_TRUE(scene.convert("csv", "json", "a,b\n1," + value + "\n") ==
                "[\n  {\"a\":1,\"b\":\"" + value + "\"}\n]\n");
    const std::string endless = "a\n" + std::string((64 << 20) + 600'000, 'v');
    EXPECT_EQ(scene.convert("csv", "json", endless),
              "Limite de sécurité atteinte : l'enregistrement de la ligne 2 dépasse 64 Mo");
}

} // namespace
} // namespace nivex::data
