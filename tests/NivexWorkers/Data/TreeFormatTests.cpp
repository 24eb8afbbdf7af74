#include "tests/NivexWorkers/Data/DataScene.hpp"

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

std::string plist(std::string_view values)
{
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
           "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n<plist version=\"1.0\">\n" +
           std::string{values} + "</plist>\n";
}

const std::string unreadable = "Le fichier source ne peut pas être lu : ";

TEST(Yaml, IsReadByTheCoreSchema)
{
    const std::string keyError = unreadable + "une clé YAML est une liste ou un objet";
    // clang-format off
    const ConversionCase cases[] = {
        {"bare values have types", "yaml", "csv", "a: 1\nb: .5\nc: +2\nd: 0x1F\ne: 0o17\nf: 1.\ng: True\nh: ~\ni:\n",
         "a,b,c,d,e,f,g,h,i\r\n1,0.5,2,31,15,1.0,true,,\r\n"},
        {"what only looks like a type is text", "yaml", "csv", "a: no\nb: 010\nc: '1'\nd: !!str 1\ne: 1:30\nf: .inf\n",
         "a,b,c,d,e,f\r\nno,010,\"1\",\"1\",1:30,.inf\r\n"},
        {"aliases", "yaml", "csv", "a: &x {b: &y 1}\nc: *x\nd: *y\n", "a.b,c.b,d\r\n1,1,1\r\n"},
        {"merged members give way to an object's own", "yaml", "csv", "- &x {a: 1, b: [2]}\n- {<<: *x, a: 3, c: 4}\n- {<<: [{a: 5}, *x]}\n",
         "a,b,c\r\n1,[2],\r\n3,[2],4\r\n5,[2],\r\n"},
        {"merged members that hold objects", "yaml", "json", "- &x {a: [{b: 1}], c: {<<: {d: 2}}}\n- {<<: *x}\n",
         "[\n  {\n    \"a\": [\n      {\n        \"b\": 1\n      }\n    ],\n    \"c\": {\n      \"d\": 2\n    }\n  },\n"
         "  {\n    \"a\": [\n      {\n        \"b\": 1\n      }\n    ],\n    \"c\": {\n      \"d\": 2\n    }\n  }\n]\n"},
        {"an anchor that is used again later means the last", "yaml", "csv", "- &x 1\n- &x 2\n- *x\n", "valeur\r\n1\r\n2\r\n2\r\n"},
        {"several documents", "yaml", "csv", "---\na: 1\n---\na: 2\n...\n", "a\r\n1\r\n2\r\n"},
        {"a mark inside a text is no document", "yaml", "csv", "---\na: 'x\n\n  ---'\n", "a\r\n\"x\n---\"\r\n"},
        {"bytes", "yaml", "csv", "a: !!binary |\n  aGVs\n  bG8=\n", "a\r\naGVsbG8=\r\n"},
        {"a list as a key", "yaml", "csv", "? [1]\n: 2\n", keyError},
        {"an alias of nothing", "yaml", "csv", "a: *x\n", unreadable + "l'alias YAML « x » n'a pas d'ancre"},
        {"an alias of what it stands in", "yaml", "csv", "a: &x [*x]\n", unreadable + "l'alias YAML « x » n'a pas d'ancre"},
        {"something merged that is no object", "yaml", "csv", "a: {<<: 1}\n", unreadable + "« << » ne désigne pas un objet YAML"},
        {"cut", "yaml", "csv", "a: 1\nb: [1,\n", unreadable + "YAML invalide à la ligne 3"},
        {"nothing", "yaml", "csv", "\n", unreadable + "il ne contient aucune donnée"},
    };
    // clang-format on
    expectAll(cases);
}

TEST(Yaml, BoundsNestingAndAliases)
{
    const auto nested = [](std::size_t levels) { return std::string(levels, '[') + std::string(levels, ']'); };
    DataScene scene;
    EXPECT_EQ(scene.convert("yaml", "csv", nested(512)).substr(0, 2), "[[") << "the last level that passes";
    for (const std::size_t levels : {std::size_t{513}, std::size_t{100'000}})
        EXPECT_EQ(scene.convert("yaml", "csv", nested(levels)),
                  "Limite de sécurité atteinte : données imbriquées sur plus de 512 niveaux");
    std::string bomb = "a0: &a0 xxxxxxxxxx\n";
    for (int i = 1; i < 12; ++i) {
        const std::string before = "*a" + std::to_string(i - 1) + ",";
        bomb += "a" + std::to_string(i) + ": &a" + std::to_string(i) + " [";
        for (int j = 0; j < 10; ++j)
            bomb += before;
        bomb += "]\n";
    }
    EXPECT_EQ(scene.convert("yaml", "json", bomb),
              "Limite de sécurité atteinte : les alias YAML multiplient les données à l'excès");
}

TEST(Yaml, IsWrittenSoThatEveryReaderMeansTheSame)
{
    // clang-format off
    const ConversionCase cases[] = {
        {"blocks, and what is empty", "json", "yaml", R"({"a":{"b":[1,[2,{"c":3,"d":4}]]},"e":{},"f":[],"g":[{}]})",
         "a:\n  b:\n    - 1\n    - - 2\n      - c: 3\n        d: 4\ne: {}\nf: []\ng:\n  - {}\n"},
        {"texts that could be something else", "json", "yaml", R"(["no","1","2024-01-31","a: b","","x ","- a","é","a#b","\u0085\u2028\n\ud83d\ude00"])",
         "- \"no\"\n- \"1\"\n- \"2024-01-31\"\n- \"a: b\"\n- \"\"\n- \"x \"\n- \"- a\"\n- é\n- \"a#b\"\n- \"\\x85\\L\\n😀\"\n"},
        {"exponents that YAML 1.1 takes too", "json", "yaml", "[1e5,1.5E-7]", "- 1.0e+5\n- 1.5e-7\n"},
        {"one value", "json", "yaml", "[]", "[]\n"},
        {"rows of a table", "csv", "yaml", "a,b\n1,x y\n,007\n", "- a: 1\n  b: x y\n- a: null\n  b: \"007\"\n"},
    };
    // clang-format on
    expectAll(cases);
    DataScene scene;
    const std::string tree = R"({"a":[{"b":null,"c":[[],{}]},"0x1","~",true,-0.0,12345678901234567890]})";
    const std::string yaml = scene.convert("json", "yaml", tree);
    EXPECT_EQ(scene.convert("yaml", "yaml", yaml), yaml);
}

TEST(PropertyList, KeepsItsTypes)
{
    // clang-format off
    const ConversionCase cases[] = {
        {"XML", "plist", "yaml", plist("<dict><key>a</key><integer>18446744073709551615</integer><key>b</key><real>1.50</real>"
                                       "<key>c</key><array><true/><string> x&amp;</string></array><key>d</key><date>2024-01-31T09:30:00Z</date>"
                                       "<key>e</key><data>aGVs\n bG8=</data><key>f</key><integer>0x1F</integer></dict>"),
         "a: 18446744073709551615\nb: 1.50\nc:\n  - true\n  - \" x&\"\nd: 2024-01-31T09:30:00Z\ne: !!binary \"aGVsbG8=\"\nf: 31\n"},
        {"written", "json", "plist", R"({"a":[1,1.5,true,"<x>"],"b":{}})",
         plist("<dict>\n\t<key>a</key>\n\t<array>\n\t\t<integer>1</integer>\n\t\t<real>1.5</real>\n\t\t<true/>\n\t\t<string>&lt;x&gt;</string>\n"
               "\t</array>\n\t<key>b</key>\n\t<dict>\n\t</dict>\n</dict>\n")},
        {"what has no type is said", "json", "plist", R"({"a":null,"b":[null,123456789012345678901234567890,"\u0001"]})",
         plist("<dict>\n\t<key>b</key>\n\t<array>\n\t\t<string></string>\n\t\t<string>123456789012345678901234567890</string>\n\t\t<string>\uFFFD</string>\n\t</array>\n</dict>\n"),
         {"les valeurs vides (null) n'existent pas dans ce format et ont été laissées de côté",
          "dans les listes, les valeurs vides (null) sont devenues des textes vides",
          "des nombres qui dépassent les types du format ont été gardés comme textes",
          "des caractères que le format ne peut pas contenir ont été remplacés"}},
        {"a key without a value", "plist", "json", "<plist><dict><key>a</key></dict></plist>", unreadable + "liste de propriétés invalide"},
        {"a value without a key", "plist", "json", "<plist><dict><true/></dict></plist>", unreadable + "liste de propriétés invalide"},
        {"two values", "plist", "json", "<plist><true/><true/></plist>", unreadable + "liste de propriétés invalide"},
        {"a number with letters", "plist", "json", "<plist><integer>42xy</integer></plist>", unreadable + "liste de propriétés invalide"},
        {"nothing", "plist", "json", "<plist/>", unreadable + "il ne contient aucune donnée"},
        {"cut", "plist", "json", "<plist>\n<dict>", unreadable + "XML invalide à la ligne 2"},
    };
    // clang-format on
    expectAll(cases);
}

/// objects  the bytes of each; references take one byte
std::string binaryPlist(const std::vector<std::string>& objects)
{
    std::string file = "bplist00";
    std::string offsets;
    for (const std::string& each : objects) {
        offsets += static_cast<char>(file.size());
        file += each;
    }
    const std::size_t table = file.size();
    file += offsets + std::string(6, '\0') + "\1\1";
    for (const std::size_t number : {objects.size(), std::size_t{0}, table})
        file += std::string(7, '\0') + static_cast<char>(number);
    return file;
}

TEST(PropertyList, IsReadInItsBinaryForm)
{
    const std::string broken = unreadable + "liste de propriétés invalide";
    // clang-format off
    const ConversionCase cases[] = {
        {"numbers, with and without a sign", "plist", "yaml",
         binaryPlist({"\xA7\1\2\3\4\5\6\7", "\x10\xFF", "\x13\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF",
                      "\x14\0\0\0\0\0\0\0\0\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF"s, "\x22\x3F\x80\0\0"s,
                      "\x33\x3F\xF0\0\0\0\0\0\0"s, "\x09", "\0"s}),
         "- 255\n- -1\n- 18446744073709551615\n- 1.0\n- 2001-01-01T00:00:01Z\n- true\n- null\n"},
        {"texts, bytes and references", "plist", "yaml",
         binaryPlist({"\xD2\1\2\3\4", "\x63\0\xE9\xD8\x3D\xDE\0"s, "\x51u", "\x43\0\1\xFF"s, "\x80\5"}),
         "é😀: !!binary \"AAH/\"\nu:\n  \"CF$UID\": 5\n"},
    };
    // clang-format on
    expectAll(cases);
    DataScene scene;
    EXPECT_EQ(scene.convert("plist", "json", binaryPlist({"\xA1\1", "\xA1\1"})),
              "Limite de sécurité atteinte : données imbriquées sur plus de 512 niveaux")
        << "a list in itself";
    EXPECT_EQ(scene.convert("plist", "json", binaryPlist({"\xA1\7"})), broken) << "a reference to no object";
    EXPECT_EQ(scene.convert("plist", "json", binaryPlist({"\x5F\x12\xFF\xFF\xFF\xFF"})),
              "Limite de sécurité atteinte : une valeur dépasse 64 Mo");
    EXPECT_EQ(scene.convert("plist", "json", "bplist00"), broken);
}

} // namespace
} // namespace nivex::data
