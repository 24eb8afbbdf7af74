#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <variant>
#include <vector>

/// A document as every reader makes it and every writer takes it. All texts are UTF-8.
namespace nivex::document {

/// How a piece of a line is shown, one bit each. The order is the one in which writers nest them, outermost first.
enum class Style : std::uint16_t {
    strikethrough = 1 << 0,
    bold = 1 << 1,
    italic = 1 << 2,
    underline = 1 << 3,
    superscript = 1 << 4,
    subscript = 1 << 5,
    code = 1 << 6,
};
inline constexpr Style everyStyle[] = {Style::strikethrough, Style::bold,      Style::italic, Style::underline,
                                       Style::superscript,   Style::subscript, Style::code};

class Styles {
public:
    constexpr bool has(Style style) const { return (bits_ & static_cast<std::uint16_t>(style)) != 0; }
    constexpr void set(Style style, bool on = true)
    {
        const auto bit = static_cast<std::uint16_t>(style);
        bits_ = static_cast<std::uint16_t>(on ? bits_ | bit : bits_ & ~bit);
    }
    constexpr bool operator==(const Styles&) const = default;

private:
    std::uint16_t bits_ = 0;
};

/// A picture that the document holds, as it is stored.
struct Image {
    std::string mediaType; // "image/png"
    std::string bytes;
    int width = 0; // pixels; 0 where the kind of picture does not tell it
    int height = 0;
};

/// A piece of a paragraph that is alike in all of its looks.
struct Inline {
    enum class Kind {
        text,      // `text`, without line breaks
        lineBreak, // a new line in the same paragraph
        image,     // and, as what is read aloud instead, `text`
        anchor,    // nothing to see; `source` is the name that links have after "#"
        note,      // the mark of a footnote
    };

    Kind kind = Kind::text;
    std::string text;
    std::string source;               // of an anchor; the address of an image that the document does not hold
    std::optional<std::size_t> index; // of the image in Document::images, of the note in Document::notes
    double width = 0;                 // points in which an image is shown; 0 where the document does not say
    double height = 0;
    Styles styles;
    std::string link; // the address that the piece leads to, empty for none

    bool operator==(const Inline&) const = default;
};
using Inlines = std::vector<Inline>;

enum class Alignment { natural, left, center, right, justified };

struct Block;
using Blocks = std::vector<Block>;

struct Paragraph {
    Inlines inlines;
    Alignment alignment = Alignment::natural;
};

struct Heading {
    int level = 1; // 1…6
    Inlines inlines;
    Alignment alignment = Alignment::natural;
};

/// Text that keeps its spaces and lines.
struct CodeBlock {
    std::string language; // empty for none
    std::string text;     // lines end with \n, the last one does not
};

struct Quote {
    Blocks blocks;
};

struct ListItem {
    std::optional<bool> isChecked; // of an item that is a task
    Blocks blocks;
};

struct List {
    bool isOrdered = false;
    std::int64_t start = 1;
    std::vector<ListItem> items;
};

struct TableCell {
    Blocks blocks;
    int columns = 1; // how many it spans
    int rows = 1;
    bool isHeader = false;
    Alignment alignment = Alignment::natural;
};

struct TableRow {
    std::vector<TableCell> cells; // without those that a cell above reaches into
};

struct Table {
    Inlines caption;
    std::vector<TableRow> rows;

    /// How many columns the widest row takes.
    std::size_t columnCount() const;
};

struct Rule {};
struct PageBreak {};

struct Block {
    std::variant<Paragraph, Heading, CodeBlock, Quote, List, Table, Rule, PageBreak> content;
};

struct Document {
    std::string title;
    std::string author;
    std::string language; // BCP 47, empty where unknown
    Blocks blocks;
    std::vector<Blocks> notes; // the footnotes, in the order of their marks
    std::vector<Image> images;
};

/// Calls `visit` for every paragraph, heading and caption of the blocks, those inside others too, in their order.
void visitInlines(Blocks& blocks, const std::function<void(Inlines&)>& visit);

/// The text of a paragraph without its looks; line breaks are spaces.
std::string plainText(const Inlines& inlines);

} // namespace nivex::document
