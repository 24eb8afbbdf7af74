#pragma once

#include "NivexWorkers/Document/Model/Document.hpp"

#include <cstddef>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace nivex::document {

/// Puts together a document from what a reader comes across, in the order of the text. It tolerates every order:
/// containers that were not closed, items outside a list, cells outside a table, text anywhere. Levels beyond
/// `mostLevels` are merged into the level above, so that nothing that goes through a document recurses deeply.
class DocumentBuilder {
public:
    static constexpr std::size_t mostLevels = 64;
    static constexpr int mostSpanned = 1'000; // columns or rows, by one cell

    enum class Container { quote, list, item, table, row, cell, note };

    /// Each opens a container at the end of the text, and ends the paragraph before it.
    void openQuote() { open(Container::quote, Block{Quote{}}); }
    void openList(bool isOrdered, std::int64_t start) { open(Container::list, Block{List{isOrdered, start, {}}}); }
    void openItem();
    void openTable() { open(Container::table, Block{Table{}}); }
    void openRow();
    void openCell(TableCell cell);
    /// A footnote, whose mark the text gets here. What was open before goes on behind it.
    void openNote();

    /// Closes the innermost container of this kind and what is open inside it; nothing where there is none.
    void close(Container container);

    /// The item that is open is a task.
    void checkItem(bool isChecked);

    /// What comes next stands in a paragraph or heading of its own. `level` 0 is a paragraph.
    void startParagraph(int level = 0, Alignment alignment = Alignment::natural);
    /// Ends the paragraph that is open; one without any content leaves nothing.
    void endParagraph();
    /// What comes next is the caption of the table that is open, until the paragraph ends.
    void startCaption();

    /// Adds to the paragraph that is open, and opens one where none is. Text that looks alike is joined.
    void add(Inline piece);

    /// As add, for a text of HTML's rules: runs of white space are one space, and none at the start of a paragraph.
    void addCollapsed(std::string_view text, const Inline& like);

    void addCode(CodeBlock code);
    void addRule() { addBlock(Block{Rule{}}); }
    void addPageBreak() { addBlock(Block{PageBreak{}}); }

    /// Keeps a picture; the same bytes are kept once. The index that inlines name it by.
    std::size_t keep(Image image);

    Document& document() { return document_; }

    /// The finished document. Nothing may be added afterwards.
    Document finish();

private:
    struct Line {
        Paragraph paragraph;
        int level = 0; // of a heading; 0 for a paragraph
        bool isCaption = false;
    };
    /// An open container and where its content is gathered until it is closed.
    struct Level {
        Container container;
        Block block;                        // of a quote, list or table
        ListItem item;                      // of an item
        TableRow row;                       // of a row
        TableCell cell;                     // of a cell
        Blocks note;                        // of a note
        std::optional<Line> suspended = {}; // by a note: the paragraph that goes on behind it
        std::size_t index = 0;              // of a note
    };

    bool open(Container container, Block block = {});
    bool isOpen(Container container) const;
    Blocks& blocks();
    void closeInnermost();
    void addBlock(Block block);
    bool endsInSpace() const;
    void removeAnchorsWithoutLinks();

    Document document_;
    std::vector<Level> levels_;
    std::vector<Container> merged_; // what was asked for beyond the last level
    std::optional<Line> line_;      // the paragraph that is open
    std::set<std::string, std::less<>> linkedAnchors_;
};

} // namespace nivex::document
