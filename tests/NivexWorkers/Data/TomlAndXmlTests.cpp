#include "tests/NivexWorkers/Data/DataScene.hpp"

#include <gtest/gtest.h>

namespace nivex::data {
namespace {

const std::string unreadable = "Le fichier source ne peut pas être lu : ";
const std::string tooDeep = "Limite de sécurité atteinte : données imbriquées sur plus de 512 niveaux";
const std::string invalidNames = "des noms que XML n'admet pas ont été modifiés";

/// JSON without its line breaks and indentation.
std::string oneLine(std::string_view json)
{
    std::string line;
    for (std::size_t at = 0; at < json.size(); ++at)
        if (json[at] == '\n')
            at = std::min(json.find_first_not_of(' ', at + 1), json.size()) - 1;
        else if (json[at] != ' ' || !line.ends_with("\":"))
            line += json[at];
    return line;
}

void expectAll(std::span<const ConversionCase> cases)
{
    for (const ConversionCase& each : cases) {
        SCOPED_TRACE(each.name);
        DataScene scene;
        const std::string written = scene.convert(each.from, each.to, each.source);
        EXPECT_EQ(each.to == "json" ? oneLine(written) : written, each.expected);
        EXPECT_EQ(scene.remarks, each.remarks);
    }
}

TEST(Toml, IsReadAsItsRulesHaveIt)
{
    const auto invalidAt = [](int line) { return unreadable + "TOML invalide à la ligne " + std::to_string(line); };
    // clang-format off
    const ConversionCase cases[] = {
        {"tables keep their order, and digits theirs", "toml", "json",
         "z = 0.10\na.b = 1_000\n[t]\nx = 0xFF\n[[l]]\nn = 1\n[[l]]\n[l.s]\nd = 2024-01-31 09:30:00z\n[t.u]\nbig = 99999999999999999999\n",
         R"({"z":0.10,"a":{"b":1000},"t":{"x":255,"u":{"big":99999999999999999999}},"l":[{"n":1},{"s":{"d":"2024-01-31T09:30:00Z"}}]})"},
        {"strings", "toml", "json",
         "a = \"\\u00e9\\t\"\nb = 'c:\\x'\nc = \"\"\"\n1 \\\n   2\"\"\"\"\"\nd = '''\r\n1''2'''\n\"e f\".'g' = [ # list\n 1, {h = nan},\n]\n",
         R"({"a":"é\t","b":"c:\\x","c":"1 2\"\"","d":"1''2","e f":{"g":[1,{"h":"nan"}]}})"},
        {"a key twice", "toml", "json", "a = 1\nb = 2\na = 3\n", invalidAt(3)},
        {"a table twice", "toml", "json", "[a]\n[a]\n", invalidAt(2)},
        {"a header for what dotted keys made", "toml", "json", "[a]\nb.c = 1\n[a.b]\n", invalidAt(3)},
        {"more for an inline table", "toml", "json", "a = {b.c = 1}\n[a.b]\nd = 1\n", invalidAt(2)},
        {"more for a complete list", "toml", "json", "a = [{}]\n[[a]]\n", invalidAt(2)},
        {"a leading zero", "toml", "json", "a = 01\n", invalidAt(1)},
        {"an underscore at the end", "toml", "json", "a = 1_\n", invalidAt(1)},
        {"a day that is none", "toml", "json", "a = 2023-02-29\n", invalidAt(1)},
        {"half a surrogate", "toml", "json", "a = \"\\uD800\"\n", invalidAt(1)},
        {"a string over two lines", "toml", "json", "a = \"b\nc\"\n", invalidAt(1)},
        {"two values in a line", "toml", "json", "a = 1 b = 2\n", invalidAt(1)},
    };
    // clang-format on
    expectAll(cases);
    DataScene scene;
    for (const std::size_t levels : {std::size_t{511}, std::size_t{512}, std::size_t{100'000}}) {
        const std::string nested = "a = " + std::string(levels, '[') + std::string(levels, ']') + "\n";
        EXPECT_EQ(scene.convert("toml", "json", nested) == tooDeep, levels > 511) << levels;
    }
}

TEST(Toml, IsWrittenInTables)
{
    // clang-format off
    const ConversionCase cases[] = {
        {"scalars before tables, lists of tables, what is inline", "json", "toml",
         R"({"t":{"u":{"a b":1}},"n":"x\"\n","l":[{"m":[1,{"k":true}],"o":{}},{}],"e":[]})",
         "n = \"x\\\"\\n\"\ne = []\n\n[t.u]\n\"a b\" = 1\n\n[[l]]\nm = [1, { k = true }]\n\n[l.o]\n\n[[l]]\n"},
        {"rows", "csv", "toml", "a,b\n1,x\n,007\n", "[[lignes]]\na = 1\nb = \"x\"\n\n[[lignes]]\nb = \"007\"\n",
         {"les valeurs vides (null) n'existent pas dans ce format et ont été laissées de côté"}},
        {"a day stays one", "yaml", "toml", "a: 2024-01-31\n", "a = 2024-01-31\n"},
        {"of one name, the last; no null", "json", "toml", R"({"a":1,"b":null,"a":[null,1]})", "a = [\"\", 1]\n",
         {"les valeurs vides (null) n'existent pas dans ce format et ont été laissées de côté",
          "des valeurs de même nom se remplaçaient l'une l'autre : la dernière est gardée",
          "dans les listes, les valeurs vides (null) sont devenues des textes vides"}},
        {"nothing that has a place", "json", "toml", R"({"a":null})", unreadable + "il ne contient aucune donnée",
         {"les valeurs vides (null) n'existent pas dans ce format et ont été laissées de côté"}},
        {"numbers beyond its types", "json", "toml", "[9223372036854775807,9223372036854775808]",
         "valeur = [9223372036854775807, \"9223372036854775808\"]\n",
         {"des nombres qui dépassent les types du format ont été gardés comme textes"}},
    };
    // clang-format on
    expectAll(cases);
}

TEST(Xml, IsReadByThePathsOfItsElements)
{
    // clang-format off
    const ConversionCase cases[] = {
        {"attributes, text, and types that hold for all of a path", "xml", "json",
         "<?xml version='1.0'?><!DOCTYPE c [<!ENTITY e 'ent'>]><c v='1'><b id='01' p='2'>x &amp; y</b><b id='10'><![CDATA[<&>]]></b><d>1</d><f>&e;</f></c>",
         R"({"c":{"@v":1,"b":[{"@id":"01","@p":2,"#text":"x & y"},{"@id":"10","#text":"<&>"}],"d":1,"f":"ent"}})"},
        {"a list wherever its path occurs", "xml", "json", "<a><l><i>1</i><i>2</i></l><l><i>3</i></l><l/></a>",
         R"({"a":{"l":[{"i":[1,2]},{"i":[3]},{}]}})"},
        {"elements out of order are put together", "xml", "json", "<a><b>1</b><c k='x'><e/><d>2</d><e>3</e></c><b>4</b></a>",
         R"({"a":{"b":[1,4],"c":{"@k":"x","e":[null,3],"d":2}}})"},
        {"indentation is no text, spaces are", "xml", "json", "<a>\n  <b>\n x y \n</b>\n  <c> z </c><d> </d><e>\n</e>\n</a>",
         R"({"a":{"b":"x y","c":" z ","d":" ","e":null}})"},
        {"prefixes stay", "xml", "json", "<n:a xmlns:n='u'><n:b/></n:a>", R"({"n:a":{"@xmlns:n":"u","n:b":null}})"},
        {"text between elements", "xml", "json", "<p>un <b>deux</b> trois</p>", R"({"p":{"b":"deux","#text":"un  trois"}})",
         {"du texte se trouve entre des éléments XML : sa place n'est pas conservée"}},
        {"nothing outside is fetched", "xml", "json", "<!DOCTYPE a SYSTEM 'x.dtd'><a>&nbsp;&#233;</a>", R"({"a":"&nbsp;é"})",
         {"des entités XML définies hors du fichier ont été gardées telles quelles"}},
        {"an external entity", "xml", "json", "<!DOCTYPE a [<!ENTITY x SYSTEM 'file:///etc/passwd'>]><a>&x;</a>", R"({"a":null})"},
        {"an encoding that the parser does not know", "xml", "json", "<?xml version='1.0' encoding='windows-1252'?><a>\x80\xE9</a>", R"({"a":"€é"})"},
        {"rows of a table, their root aside", "xml", "csv", "<t x='7'><r><a>1</a><b>é</b></r><r><a>2</a><b><c>3</c></b></r></t>",
         "@x,a,b.#text,b.c\r\n7,1,é,\r\n7,2,,3\r\n"},
        {"cut", "xml", "json", "<a>\n<b>", unreadable + "XML invalide à la ligne 2"},
        {"no end", "xml", "json", "<a></b>", unreadable + "XML invalide à la ligne 1"},
    };
    // clang-format on
    expectAll(cases);
}

TEST(Xml, BoundsEntitiesAndNesting)
{
    std::string bomb = "<!DOCTYPE a [<!ENTITY e0 'xxxxxxxxxx'>";
    for (int i = 1; i < 12; ++i) {
        bomb += "<!ENTITY e" + std::to_string(i) + " '";
        for (int j = 0; j < 10; ++j)
            bomb += "&e" + std::to_string(i - 1) + ";";
        bomb += "'>";
    }
    DataScene scene;
    EXPECT_EQ(scene.convert("xml", "json", bomb + "]><a>&e11;</a>"),
              "Limite de sécurité atteinte : les entités XML multiplient les données à l'excès");
    std::string nested;
    for (int i = 0; i < 100'000; ++i)
        nested += "<a>";
    EXPECT_EQ(scene.convert("xml", "json", nested), tooDeep);
}

TEST(Xml, IsWrittenSoThatItReadsBack)
{
    const std::string top = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
    // clang-format off
    const ConversionCase cases[] = {
        {"elements, attributes and text", "json", "xml", R"({"a":{"@k":"\"<\n","b":[1,{"#text":"x","@l":1}],"c":{"d":null},"e":[]}})",
         top + "<a k=\"&quot;&lt;&#10;\">\n  <b>1</b>\n  <b>x<_l>1</_l></b>\n  <c>\n    <d/>\n  </c>\n  <e/>\n</a>\n", {invalidNames}},
        {"rows", "csv", "xml", "n° 1,b\n1,<\n",
         top + "<lignes>\n  <ligne>\n    <n__1>1</n__1>\n    <b>&lt;</b>\n  </ligne>\n</lignes>\n", {invalidNames}},
        {"several members", "json", "xml", R"({"a":[[1,2],[]],"x:y":true,"1":"\u0001"})",
         top + "<racine>\n  <a>\n    <valeur>1</valeur>\n    <valeur>2</valeur>\n  </a>\n  <a/>\n  <x_y>true</x_y>\n  <_1>\uFFFD</_1>\n</racine>\n",
         {invalidNames, "des caractères que le format ne peut pas contenir ont été remplacés"}},
        {"one value", "json", "xml", "\"x\"", top + "<racine>x</racine>\n"},
    };
    // clang-format on
    expectAll(cases);
    DataScene scene;
    const std::string xml = top + "<n:a xmlns:n=\"u\" k=\"01\">\n  <b>1</b>\n  <b p=\"2\">x</b>\n  <c/>\n</n:a>\n";
    EXPECT_EQ(scene.convert("json", "xml", scene.convert("xml", "json", xml)), xml);
}

} // namespace
} // namespace nivex::data
