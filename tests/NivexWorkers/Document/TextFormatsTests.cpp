#include "NivexWorkers/Document/Html/HtmlWriter.hpp"
#include "NivexWorkers/Document/Markdown/MarkdownWriter.hpp"
#include "NivexWorkers/Document/Text/TextWriter.hpp"

#include "tests/NivexWorkers/Document/DocumentTestSupport.hpp"

namespace nivex::document {
namespace {

using testing::readFrom;

std::string htmlToMarkdown(std::string_view html) { return writtenMarkdown(readFrom(html, readHtml)); }

/// Everything that Markdown has marks for comes back the same from what was read of it.
TEST(Markdown, isTheSameAfterReadingAndWriting)
{
    constexpr std::string_view text =
        "---\ntitle: \"Été\"\nlang: \"fr\"\n---\n\n"
        "# Titre *un*\n\n"
        "Du **gras**, du `code à | barre`, [un lien](https://exemple.fr/a?b=1) et ![mot](a.png)  \n"
        "seconde ligne.\n\n"
        "- un\n- deux\n  1. premier\n  2. second\n- [x] fait\n- [ ] à faire\n\n"
        "> Citation\n>\n> - dans la citation\n\n"
        "| a | b |\n| --- | --: |\n| 1 \\| 2 | é |\n\n"
        "```python\nif x:\n    y\n```\n\n"
        "---\n\n"
        "3. trois\n4. quatre\n";
    EXPECT_EQ(writtenMarkdown(readFrom(text, readMarkdown)), text);
}

/// A word that looks like a mark stays a word.
TEST(Markdown, keepsWordsThatLookLikeMarks)
{
    for (const char* words : {"*étoiles* et _traits_", "# pas un titre", "1. pas une liste", "1) non plus", "- tiret",
                              "+ plus", "a <b> & &amp; c", "[pas](un lien)", "`pas du code`", "~~pas barré~~",
                              "C:\\dossier\\*", "---", "| pas | un tableau |", "snake_case_reste", "=== non"}) {
        Document document;
        document.blocks.push_back(Block{Paragraph{{{.text = words}}}});
        const Document again = readFrom(writtenMarkdown(document), readMarkdown);
        EXPECT_EQ(writtenText(again), std::string{words} + "\n") << writtenMarkdown(document);
    }
}

TEST(Html, isReadWhateverItsQuality)
{
    const std::pair<const char*, const char*> rows[] = {
        {"<p>un<p>deux", "un\n\ndeux\n"},
        {"<b>a<i>b</b>c", "**a*b***c\n"},
        {"<ul><li>a<ul><li>b</ul><li>c</ul>", "- a\n  - b\n- c\n"},
        {"a<script>evil()</script><style>x</style>b", "ab\n"},
        {"<div>a</div>b<div style='display: none'>c</div>", "a\n\nb\n"},
        {"<p>a\n   b&nbsp;c&eacute;</p>", "a b\u00A0cé\n"},
        {"<pre>a\n  b</pre>", "```\na\n  b\n```\n"},
        {"<h7>x</h7><h2>y</h2>", "x\n\n## y\n"},
    };
    for (const auto& [html, markdown] : rows)
        EXPECT_EQ(htmlToMarkdown(html), markdown) << html;
    const Document table = readFrom("<table><td>a<td>b<tr><td>c</table>", readHtml);
    EXPECT_EQ(writtenText(table), "a\tb\nc\n");
    EXPECT_EQ(writtenHtml(readFrom("<a href='javascript:evil()'>x</a>", readHtml)).find("javascript"),
              std::string::npos);
}

TEST(Html, readsTheCharactersThatItDeclares)
{
    EXPECT_EQ(htmlToMarkdown("<meta charset=windows-1251><p>\xCF\xF0\xE8\xE2\xE5\xF2"), "Привет\n");
    EXPECT_EQ(htmlToMarkdown("<meta charset='iso-8859-1'><p>\xE9t\xE9"), "été\n");
    EXPECT_EQ(htmlToMarkdown("<meta charset='iso-8859-1'><p>été"), "été\n") << "it says what is not so";
}

TEST(Html, endsWhereElementsAreNestedTooDeeply)
{
    std::string html;
    for (int i = 0; i < 20'000; ++i)
        html += "<div>";
    EXPECT_THROW(readFrom(html, readHtml), ConversionError);
    html.resize(5 * 5'000);
    html += "mot";
    EXPECT_EQ(writtenText(readFrom(html, readHtml)), "mot\n");
}

TEST(Text, keepsLinesAndWhatIsAligned)
{
    const Document document = readFrom("un\r\ndeux\r\n\r\ncol1   col2\r\na      b\r\n\f\r\nfin", readText);
    ASSERT_EQ(document.blocks.size(), 4U);
    EXPECT_EQ(std::get<Paragraph>(document.blocks[0].content).inlines[1].kind, Inline::Kind::lineBreak);
    EXPECT_EQ(std::get<CodeBlock>(document.blocks[1].content).text, "col1   col2\na      b");
    EXPECT_TRUE(std::holds_alternative<PageBreak>(document.blocks[2].content));
    EXPECT_EQ(writtenText(document), "un\ndeux\n\ncol1   col2\na      b\n\nfin\n");
}

} // namespace
} // namespace nivex::document
