#include "NivexKit/Detection/Signatures/SignatureSniffer.hpp"
#include "tests/Support/Bytes.hpp"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace nivex {
namespace {

/// The formats as words with one space between them.
std::string sniffed(std::string_view text)
{
    const SniffResult result = SignatureSniffer::sniff(testing::textBytes(text));
    EXPECT_TRUE(result.isText);
    std::string words;
    for (const FormatID& id : result.candidates)
        words += (words.empty() ? "" : " ") + id.rawValue;
    return words;
}

struct TextCase {
    const char* name;
    std::string_view text;
    std::string_view expected;
};

template <std::size_t count>
void expectEach(const TextCase (&cases)[count])
{
    for (const TextCase& each : cases) {
        SCOPED_TRACE(each.name);
        EXPECT_EQ(sniffed(each.text), each.expected);
    }
}

TEST(TextSniffer, KnowsMarkers)
{
    const TextCase cases[] = {
        {"card behind blank lines", "\n\n BEGIN:VCARD\nVERSION:3.0", "vcf"},
        {"calendar", "BEGIN:VCALENDAR\r\n", "ics"},
        {"captions", "WEBVTT\n\n00:01.000 --> 00:02.000\nHi", "vtt"},
        {"a word that begins like it", "WEBVTTX", ""},
        {"styled subtitles behind comments", "; made by hand\n[Script Info]\nScriptType: v4.00+", "ass ssa"},
        {"the older style section", "[Script Info]\n[V4 Styles]\n", "ssa ass"},
        {"product data", "ISO-10303-21;\nHEADER;\nFILE_SCHEMA(('CONFIG_CONTROL_DESIGN'));", "step"},
        {"building data", "ISO-10303-21;\nHEADER;\nFILE_SCHEMA (('IFC2X3'));", "ifc"},
        {"scene", "#usda 1.0\n(", "usd"},
        {"text FBX", "; FBX 7.3.0 project file", "fbx"},
        {"text solid", "solid part one\n  facet normal 0 0 1\n", "stl"},
        {"text polygons", "ply\nformat ascii 1.0\nelement vertex 8\n", "ply"},
        {"document class behind comments", "% my thesis\n\\documentclass{book}", "tex"},
        {"a program that quotes one", "text = r\"\"\"\n\\documentclass{book}\n\"\"\"\n", ""},
        {"a mention of it", "Write `\\documentclass` first.", ""},
        {"mailbox", "From a@b.fr Mon Jan  1 00:00:00 2024\nFrom: a@b.fr\nTo: c@d.fr\nDate: today\n\n", "mbox"},
        {"mailbox of one field, its sender without an address", "From - Fri Jul  8 12:08:34 2011\nSubject: x\n\nHi",
         "mbox"},
        {"mailbox without any, its zone before the year", "From a Fri Jul  8 12:08 +0200 2011\n\nHi", "mbox"},
        {"a letter that begins like one", "From Fri Jul till Sat Aug\nSubject: x\n\nHi", ""},
        {"PHP", "<?php\necho 1;", "php"},
    };
    expectEach(cases);
}

TEST(TextSniffer, KnowsMarkupByItsRoot)
{
    const TextCase cases[] = {
        {"HTML in any case", "<!DocType HTML>\n<p>", "html"},
        {"HTML behind a comment", "<!-- saved -->\n<HTML>", "html"},
        {"XHTML", "<?xml version=\"1.0\"?><html xmlns=\"x\">", "html"},
        {"SVG with a name-space prefix", "<?xml version='1.0'?><!-- a > b --><svg:svg>", "svg"},
        {"SVG behind a document type with its own declarations",
         "<!DOCTYPE svg PUBLIC \"x\" [<!ENTITY a \"b>c\">]>\n<svg>", "svg"},
        {"property list", "<?xml version=\"1.0\"?>\n<!DOCTYPE plist PUBLIC \"-//x\" \"y\">\n<plist version=\"1.0\">",
         "plist"},
        {"training", "<?xml version=\"1.0\"?>\n<TrainingCenterDatabase xmlns=\"x\">", "tcx"},
        {"book", "<?xml version=\"1.0\"?><FictionBook>", "fb2"},
        {"track", "<gpx version=\"1.1\">", "gpx"},
        {"any other root", "<?xml version=\"1.0\"?>\n<note/>", "xml"},
        {"no declaration, closed at the end", "<note><to>you</to></note>\n", "xml"},
        {"closed in the middle of a table", "<a href=\"x\">x</a>,1\n<a href=\"y\">y</a>,2,<a>z</a>\n", "html"},
        {"its name inside it, and a comment behind it", "<n><n/><nb/><n>1</n></n>\n<!-- end -->\n", "xml"},
        {"a name space, and text behind the end", "<note xmlns=\"n\">1</note> and more", ""},
        {"one tag in front of a text", "<p align=\"center\">\n# Title\n", ""},
        {"a part of a page",
         "<style>\nb { color: red; }\ni { margin: 0; }\n</style>\n<script>\nvar a = 1;\n</script>\n", "html"},
        {"a part of a page in one element", "<!-- a -->\n<div><p>one</p>\n<p>two</p></div>\n", "html xml"},
        {"a part of a page that only has a script", "<script>\nif (a <b) function f() {}\n", ""},
        {"a read-me with a centred picture", "<p align=\"center\"><img src=\"a\"></p>\n\n# Title\n\nSee [b](c.md).\n",
         "md"},
        {"an arrow", "<- back", ""},
        {"declaration cut by the end of the head", "<?xml version=\"1.0\" enc", "xml"},
    };
    expectEach(cases);
}

TEST(TextSniffer, KnowsTimedText)
{
    const TextCase cases[] = {
        {"SubRip", "1\r\n00:00:01,000 --> 00:00:02,000\r\nBonjour\r\n", "srt"},
        {"SubRip without numbers, full stops for commas", "00:00:01.000 --> 00:00:02.000\nHi", "srt"},
        {"a numbered list", "1\nThe first thing --> the second", ""},
        {"lyrics", "[ar:Someone]\n[00:12.00]La\n[00:15.30]Lala\n", "lrc"},
        {"a chat log", "[12:34] <ann> hi\n[12:35] <bob> hello\n", ""},
        {"frames", "{1}{25}Bonjour\n{26}{50}Salut", "sub"},
        {"set notation", "{1} is a set, {2} another", ""},
        {"times with a comma", "00:04:35.03,00:04:38.82\nHello", "sub"},
    };
    expectEach(cases);
}

TEST(TextSniffer, KnowsData)
{
    const std::string iges = std::string(72, ' ').append("S      1\n");
    const TextCase cases[] = {
        {"empty object", "{}", "json"},
        {"cut in a text", "{\"a\": [1, -2.5e3, null, \"b", "json"},
        {"trailing comma", "{\"a\": 1,}", ""},
        {"a footnote", "[1] See the book.", ""},
        {"leading zero", "[01, 2]", ""},
        {"two values", "{\"a\":1}\n{\"a\":2}\n", ""},
        {"features", "{\"type\": \"FeatureCollection\", \"features\": []}", "geojson"},
        {"scene", "{\"asset\": {\"version\": \"2.0\"}, \"nodes\": []}", "gltf"},
        {"assets of another kind", "{\"asset\": \"logo.png\", \"version\": 1}", "json"},
        {"TOML", "# build\n[package]\nname = \"x\"\nsizes = [\n  1,\n]\nedition = 2021\n", "toml"},
        {"an INI file", "[Desktop Entry]\nName=Files\nExec=files %U\n", ""},
        {"YAML",
         "on: push\njobs:\n  build:\n    steps:\n      - run: |\n          any {text} at all\n      - uses: x@v4\n",
         "yaml"},
        {"YAML behind its marker", "---\nkey: value\n", "yaml"},
        {"a memo", "To: all staff\nRe: lunch\nNote: bring plates\n", ""},
        {"CSV", "name,age\nBob,42\n", "csv"},
        {"CSV with semicolons and a line end in quotes", "a;b\n\"x\ny\";2\n1;2\n", "csv"},
        {"last record not ended", "a,b,c\n1,2,3\n4,5,6", "csv"},
        {"TSV", "a\tb\n1\t2\n", "tsv"},
        {"objects with their commas in step", "{\"a\":1,\"b\":2}\n{\"a\":3,\"b\":4}\n", ""},
        {"statements in step", "f(a, \"b\", 1);\nf(c, \"d\", 2);\nf(e, \"f\", 3);\n", ""},
        {"two statements", "$a: b;\n\n@import \"c\";/* d */\n", ""},
        {"settings that end in a semicolon, one with a comment", "a \"b\";\n\nc d;\ne f; // g\n", ""},
        {"a list over two lines", "a = b,c,\n  d,e,f\n", ""},
        {"uneven records", "a,b,c\n1,2\n", ""},
        {"letters with a comma per line", "Dear Ann, how are you\nI am well, thank you\n", ""},
        {"lines that end in a comma", "one,\ntwo,\nthree,\n", ""},
        {"vertices", "# cube\nv 0 0 0\nv 1.5 0 -1e3\nf 1 2 3\n", "obj"},
        {"a word list", "v for victory\no no\n", ""},
        {"drawing", "  0\r\nSECTION\r\n  2\r\nHEADER\r\n", "dxf"},
        {"sections with their letter in column 73", iges, "iges"},
        {"message", "Received: from a by b;\n Mon, 1 Jan 2024\nFrom: a@b.fr\nSubject: x\nDate: y\n\nHi", "eml"},
        {"a memo with the words of one", "From: Ann\nTo: Bob\nSubject: lunch\nDate: today\n\nHi", ""},
    };
    expectEach(cases);
}

TEST(TextSniffer, KnowsSourceCodeBySeveralMarks)
{
    const TextCase cases[] = {
        {"C", "#include <stdio.h>\n\nint main(void)\n{\n    return 0;\n}\n", "c cpp h"},
        {"C++", "#include <vector>\n\nnamespace a {\nint f();\n}\n", "cpp h"},
        {"header", "#ifndef A_H\n#define A_H\n#include <stdio.h>\nint f(void);\n#endif\n", "h c cpp"},
        {"Java", "package a.b;\n\nimport java.util.List;\n\npublic class X {\n}\n", "java"},
        {"Python", "import os\nfrom sys import argv\n\ndef main():\n    pass\n", "python"},
        {"Python by its first line", "#!/usr/bin/env python3\nprint(1)\n", "python"},
        {"a shell script", "#!/bin/sh\nset -e\n", ""},
        {"Swift", "import UIKit\n\nclass A: B {\n    override func go() {\n    }\n}\n", "swift"},
        {"Rust", "use std::fs;\n\nfn main() {\n    let mut x = 1;\n}\n", "rust"},
        {"Go", "package main\n\nimport \"fmt\"\n\nfunc main() {\n}\n", "go"},
        {"JavaScript", "'use strict';\nconst a = require('b');\nmodule.exports = a;\n",
         "javascript typescript jsx tsx"},
        {"TypeScript", "import { a } from './a';\nexport interface B {\n  c: string;\n}\n", "typescript tsx"},
        {"JSX",
         "import a from 'a';\nexport default function B() {\n  return (\n    <div className=\"b\">\n    </div>\n  "
         ");\n}\n",
         "jsx tsx javascript"},
        {"C#", "using System;\n\nnamespace A {\n    public class B {\n        private int c;\n    }\n}\n", ""},
        {"style sheet", "body {\n  color: red;\n  margin: 0;\n}\n", "css scss"},
        {"style sheet of attributes and functions", "input[a=b] {\n  color: red;\n}\na:not(.b) {\n  margin: 0;\n}\n",
         "css scss"},
        {"its dialect", "$a: 1px;\n.b {\n  &:hover { color: red; }\n  margin: $a;\n}\n", "scss css"},
        {"SQL", "-- dump\nCREATE TABLE a (b int);\n", "sql"},
        {"components that look like a style sheet",
         "const Box = styled('span', {\n  display: 'inline-block',\n  color: 'red',\n  width: 10,\n});\n", ""},
        {"members of a type", "interface Props {\n  color: string;\n  width: number;\n}\n", ""},
        {"fields of a structure", "struct Size {\n    width: u32,\n    height: u32,\n    left: u32,\n}\n", ""},
        {"a style sheet on one line", ".a{color:red;background:url(data:x;y)}.b>li:hover{margin:0}", "css scss"},
        {"a language of its own for styles", "@pad: 1px;\n.@{name}-b {\n  .mixin();\n  margin: @pad;\n}\n", ""},
        {"Ruby", "require 'a'\n\nclass B < C\n  def d(e) # :nodoc:\n    self.f = e\n  end\nend\n", ""},
        {"Kotlin", "package a.b\n\nimport c.d\n\nclass E :\n  F(1)\n", ""},
        {"Objective-C", "#import \"a.h\"\n#define B 1\n@implementation C\n- (void)d {\n}\n", ""},
        {"CMake", "#[=======[.rst:\nA\n#]=======]\ninclude(B)\nif(NOT C)\n  set(D \"int main() {\n\")\nendif()\n", ""},
        {"m4", "dnl macros\nAC_DEFUN([A], [\n#include <stdio.h>\n#define B 1\nint main(void) {\n])\n", ""},
        {"assembler", "#include \"a.h\"\n#define B 1\n.globl c\n.text\n", ""},
        {"Ada", "-- A\npragma Assertion_Policy (Pre => Ignore, Post => Ignore);\npackage B is\nend B;\n", ""},
        {"a sentence", "Select a book from the shelf. Then read; enjoy.", ""},
        {"Markdown", "# Title\n\nSee [here](https://x.org).\n\n- one\n", "md"},
        {"subscripts that look like links", "# a comment\nx = table[key](argument)\n- y\n", ""},
        {"Markdown without a heading", "See [here](a.md):\n\n```c\nx\n```\n", "md"},
        {"a link alone", "See [here](a.md).\n", ""},
        {"quotes of a macro language", "# a\n\nb(`c', ```$1'')\n```$2'', b)\n- `d' `e'\n[`$1'](%.3f)\n", ""},
        {"a manual that begins with its title", "Signing\n=======\n\n    import os\n    from sys import argv\n", ""},
        {"C whose functions stand on two lines", "#include <stdio.h>\n\nint\nmain(int argc, char* argv[])\n{\n}\n",
         "c cpp h"},
        {"style sheet with its braces on lines of their own", "body\n{\n  color: red;\n  margin: 0;\n}\n", "css scss"},
        {"a manual with an example",
         "To read a file write this and run it.\nIt will print the lines one by one.\nThe last line is empty as a "
         "rule.\n"
         "import os\nfrom sys import argv\ndef main():\n",
         ""},
    };
    expectEach(cases);

    // The longer a text, the more of it must agree.
    std::string text = "import os\nfrom sys import argv\n";
    EXPECT_EQ(sniffed(text), "python");
    for (int line = 0; line < 50; ++line)
        text += "a = [1, 2]\n";
    EXPECT_EQ(sniffed(text), "");
}

TEST(TextSniffer, LeavesProseAlone)
{
    const TextCase cases[] = {
        {"a letter", "Dear Sir,\n\nThank you for your letter; we import goods from Spain.\nclass sizes are small.\n",
         ""},
        {"a licence",
         "Permission is hereby granted, free of charge, to any person\n(the \"Software\"), to deal in it.\n", ""},
        {"notes with a list", "Shopping\n========\n\n- milk\n- bread\n", ""},
        {"a change to a program", "--- a.py\n+++ a.py\n@@ -1,2 +1,3 @@\n import os\n from a import b\n+def f():\n", ""},
        {"only white space", "  \n\t\n", ""},
    };
    expectEach(cases);
}

TEST(TextSniffer, ReadsOtherEncodingsForWhatIsPlain)
{
    const auto utf16 =
        testing::bytes("FF FE 31 00 0A 00 30 00 30 00 3A 00 30 00 30 00 3A 00 30 00 31 00 2C 00 30 00 30 00 30 00 "
                       "20 00 2D 00 2D 00 3E 00 20 00 30 00 30 00 3A 00 30 00 30 00 3A 00 30 00 32 00 2C 00 30 00");
    EXPECT_EQ(SignatureSniffer::sniff(utf16), (SniffResult{{"srt"}, std::nullopt, true}));
    EXPECT_EQ(sniffed("1\n00:00:01,000 --> 00:00:02,000\nD\xE9j\xE0 vu\n"), "srt"); // Windows-1252
    EXPECT_EQ(SignatureSniffer::sniff(testing::textBytes("D\xE9j\xE0 vu, mais o\xF9 donc ?")),
              SniffResult::unknownBinary());
}

} // namespace
} // namespace nivex
