#include "NivexWorkers/Document/Model/DocumentBuilder.hpp"
#include "NivexWorkers/Document/Model/TableGrid.hpp"
#include "NivexWorkers/Document/Text/TextWriter.hpp"

#include <gtest/gtest.h>

namespace nivex::document {
namespace {

using Container = DocumentBuilder::Container;

Inline text(std::string words) { return {.text = std::move(words)}; }

/// Readers meet every order of marks: nothing may be lost, and nothing may end a reading.
TEST(DocumentBuilder, keepsEveryWordWhateverTheOrder)
{
    DocumentBuilder builder;
    builder.close(Container::table);
    builder.openItem();
    builder.add(text("item"));
    builder.openItem();
    builder.add(text("next"));
    builder.openCell({});
    builder.add(text("cell"));
    builder.openRow();
    builder.add(text("between"));
    builder.close(Container::list);
    builder.openQuote();
    builder.add(text("quote"));
    builder.checkItem(true);
    const Document document = builder.finish();
    const std::string written = writtenText(document);
    for (const char* each : {"item", "next", "cell", "between", "quote"})
        EXPECT_NE(written.find(each), written.npos) << each << "\n" << written;
}

TEST(DocumentBuilder, mergesWhatIsNestedTooDeeply)
{
    constexpr std::size_t levels = 10'000;
    DocumentBuilder builder;
    for (std::size_t i = 0; i < levels; ++i)
        builder.openQuote();
    builder.add(text("deep"));
    for (std::size_t i = 0; i < levels; ++i)
        builder.close(Container::quote);
    builder.add(text("out"));
    Document document = builder.finish();
    ASSERT_EQ(document.blocks.size(), 2U);
    std::size_t depth = 0;
    const Blocks* blocks = &document.blocks;
    for (const Quote* quote = std::get_if<Quote>(&blocks->front().content); quote;
         quote = std::get_if<Quote>(&quote->blocks.front().content))
        ++depth;
    EXPECT_EQ(depth, DocumentBuilder::mostLevels);
    EXPECT_EQ(plainText(std::get<Paragraph>(document.blocks.back().content).inlines), "out");
}

TEST(DocumentBuilder, goesOnWithTheParagraphBehindANote)
{
    DocumentBuilder builder;
    builder.add(text("before"));
    builder.openNote();
    builder.add(text("note"));
    builder.close(Container::note);
    builder.add(text(" behind"));
    const Document document = builder.finish();
    ASSERT_EQ(document.blocks.size(), 1U);
    EXPECT_EQ(plainText(std::get<Paragraph>(document.blocks[0].content).inlines), "before behind");
    ASSERT_EQ(document.notes.size(), 1U);
    EXPECT_EQ(document.notes[0].size(), 1U);
}

TEST(DocumentBuilder, keepsAnchorsThatLinksLeadTo)
{
    DocumentBuilder builder;
    builder.add({.kind = Inline::Kind::anchor, .source = "wanted"});
    builder.add({.kind = Inline::Kind::anchor, .source = "unwanted"});
    builder.add({.text = "there", .link = "#wanted"});
    const Document document = builder.finish();
    const Inlines& inlines = std::get<Paragraph>(document.blocks[0].content).inlines;
    ASSERT_EQ(inlines.size(), 2U);
    EXPECT_EQ(inlines[0].source, "wanted");
}

TEST(DocumentBuilder, keepsTheSamePictureOnce)
{
    DocumentBuilder builder;
    EXPECT_EQ(builder.keep({.bytes = "a"}), 0U);
    EXPECT_EQ(builder.keep({.bytes = "b"}), 1U);
    EXPECT_EQ(builder.keep({.bytes = "a"}), 0U);
}

/// A cell reaches over rows and columns; what does not fit beside it is cut, and every row has the same width.
TEST(TableGrid, placesCellsThatSpan)
{
    const auto cell = [](int columns, int rows) { return TableCell{.columns = columns, .rows = rows}; };
    Table table;
    table.rows = {{{cell(1, 2), cell(2, 1)}}, {{cell(1, 3)}}, {{}}};
    EXPECT_EQ(table.columnCount(), 3U);
    const auto grid = gridOf(table);
    ASSERT_EQ(grid.size(), 3U);
    EXPECT_EQ(grid[0].size(), 2U);
    ASSERT_EQ(grid[1].size(), 3U);
    EXPECT_FALSE(grid[1][0].isFirstRow);
    EXPECT_EQ(grid[1][1].cell, &table.rows[1].cells[0]);
    EXPECT_EQ(grid[1][2].cell, nullptr);
    ASSERT_EQ(grid[2].size(), 3U);
    EXPECT_EQ(grid[2][0].cell, nullptr);
    EXPECT_FALSE(grid[2][1].isFirstRow);
}

} // namespace
} // namespace nivex::document
