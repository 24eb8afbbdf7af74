#include "NivexWorkers/Document/Markdown/MarkdownWriter.hpp"

#include "NivexWorkers/Document/Model/Images.hpp"
#include "NivexWorkers/Document/Model/Visit.hpp"

#include "NivexKit/Foundation/Text/Ascii.hpp"
#include "NivexKit/Foundation/Text/Unicode.hpp"

#include <algorithm>
#include <iterator>
#include <utility>
#include <variant>
#include <vector>

namespace nivex::document {
namespace {

struct Mark {
    Style style;
    std::string_view begin;
    std::string_view end;
};

constexpr Mark marks[] = {
    {Style::underline, "<u>", "</u>"},
    {Style::superscript, "<sup>", "</sup>"},
    {Style::subscript, "<sub>", "</sub>"},
    {Style::strikethrough, "~~", "~~"},
    {Style::bold, "**", "**"},
    {Style::italic, "*", "*"},
};

/// Characters that would be marks, behind a backslash.
std::string escapedMarkdown(std::string_view text, bool isAtLineStart, bool isCell)
{
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char character = text[i];
        const bool isInsideWord = character == '_' && i > 0 && i + 1 < text.size() && isAsciiLetter(text[i - 1]) &&
                                  isAsciiLetter(text[i + 1]);
        if ((std::string_view{"\\`*_[]<>~"}.find(character) != std::string_view::npos && !isInsideWord) ||
            (isCell && character == '|'))
            result += '\\';
        if (character == '&' && text.substr(i, 12).find(';') != text.npos)
            result += '\\';
        result += character;
    }
    if (!isAtLineStart || result.empty())
        return result;
    // What begins a line would make a heading, a list or a rule of it.
    const std::size_t digits = std::min(result.find_first_not_of("0123456789"), result.size());
    if (digits > 0 && digits < result.size() && (result[digits] == '.' || result[digits] == ')'))
        result.insert(digits, 1, '\\');
    else if (std::string_view{"#+-=|"}.find(result.front()) != std::string_view::npos)
        result.insert(0, 1, '\\');
    return result;
}

/// A code span whose fence is longer than any inside it.
std::string codeSpan(std::string_view text)
{
    std::size_t longest = 0;
    std::size_t run = 0;
    for (const char character : text) {
        run = character == '`' ? run + 1 : 0;
        longest = std::max(longest, run);
    }
    const std::string fence(longest + 1, '`');
    const bool needsSpace = longest > 0;
    return fence + (needsSpace ? " " : "") + std::string{text} + (needsSpace ? " " : "") + fence;
}

std::string escapedAddress(std::string_view address)
{
    if (address.find_first_of(" ()<>\t") == address.npos)
        return std::string{address};
    std::string result = "<";
    for (const char character : address)
        result += character == '<' ? "%3C" : character == '>' ? "%3E" : std::string(1, character);
    return result + ">";
}

class MarkdownWriter {
public:
    explicit MarkdownWriter(const Document& document) : document_{document} {}

    std::string written()
    {
        writeHead();
        write(document_.blocks);
        for (std::size_t i = 0; i < document_.notes.size(); ++i) {
            separate();
            prefix_ += "    ";
            first_ = "[^" + std::to_string(i + 1) + "]: ";
            if (document_.notes[i].empty())
                line();
            write(document_.notes[i]);
            prefix_.resize(prefix_.size() - 4);
        }
        endLine();
        return std::move(text_);
    }

private:
    void writeHead()
    {
        if (document_.title.empty())
            return;
        const auto quoted = [](const std::string& value) {
            std::string result = "\"";
            for (const char character : value)
                result += character == '"' || character == '\\' ? std::string{'\\', character}
                          : character == '\n'                   ? std::string{" "}
                                                                : std::string(1, character);
            return result + "\"";
        };
        text_ += "---\ntitle: " + quoted(document_.title) + "\n";
        if (!document_.author.empty())
            text_ += "author: " + quoted(document_.author) + "\n";
        if (!document_.language.empty())
            text_ += "lang: " + quoted(document_.language) + "\n";
        text_ += "---\n";
    }

    void write(const Blocks& blocks)
    {
        for (const Block& block : blocks)
            std::visit([this](const auto& content) { write(content); }, block.content);
    }

    void write(const Paragraph& paragraph)
    {
        separate();
        line();
        write(paragraph.inlines);
    }
    void write(const Heading& heading)
    {
        separate();
        line();
        text_ += std::string(static_cast<std::size_t>(heading.level), '#') + " ";
        isHeading_ = true;
        write(heading.inlines);
        isHeading_ = false;
    }
    void write(const CodeBlock& code)
    {
        separate();
        const std::string fence = code.text.find("```") == code.text.npos ? "```" : "~~~~~~";
        line();
        text_ += fence + code.language;
        std::string_view rest = code.text;
        while (true) {
            endLine();
            const std::size_t end = rest.find('\n');
            line();
            text_ += rest.substr(0, end);
            if (end == rest.npos)
                break;
            rest.remove_prefix(end + 1);
        }
        endLine();
        line();
        text_ += fence;
    }
    void write(const Quote& quote)
    {
        separate();
        prefix_ += "> ";
        write(quote.blocks);
        prefix_.resize(prefix_.size() - 2);
    }
    void write(const List& list)
    {
        separate();
        if (wasList_) { // else they would be one
            line();
            text_ += "<!-- -->";
            separate();
        }
        const bool isTight = std::ranges::all_of(list.items, [](const ListItem& item) {
            return item.blocks.size() <= 1 ||
                   (item.blocks.size() == 2 && std::holds_alternative<List>(item.blocks[1].content));
        });
        const bool wasTight = std::exchange(isTight_, isTight);
        std::int64_t number = std::max<std::int64_t>(0, list.start);
        for (const ListItem& item : list.items) {
            separate();
            const std::string mark = list.isOrdered ? std::to_string(number++) + ". " : "- ";
            first_ = first_.empty() ? prefix_ + mark : first_ + mark;
            prefix_ += std::string(mark.size(), ' ');
            if (item.isChecked)
                first_ += *item.isChecked ? "[x] " : "[ ] ";
            if (item.blocks.empty())
                line();
            write(item.blocks);
            prefix_.resize(prefix_.size() - mark.size());
            wasList_ = false;
        }
        isTight_ = wasTight;
        endLine();
        wasList_ = true;
    }
    void write(const Table& table)
    {
        if (!table.caption.empty())
            write(Paragraph{table.caption});
        const std::size_t columns = table.columnCount();
        if (columns == 0)
            return;
        separate();
        bool hasHead = false;
        for (const TableRow& row : table.rows) {
            if (!hasHead && !isHead(row)) { // the format knows no table without
                writeRow(TableRow{}, columns);
                writeRule(table, columns);
            }
            writeRow(row, columns);
            if (!hasHead && isHead(row))
                writeRule(table, columns);
            hasHead = true;
        }
    }
    void write(const Rule&)
    {
        separate();
        line();
        text_ += "---";
    }
    void write(const PageBreak&) {}

    static bool isHead(const TableRow& row) { return std::ranges::any_of(row.cells, &TableCell::isHeader); }

    void writeRow(const TableRow& row, std::size_t columns)
    {
        endLine();
        line();
        text_ += "|";
        std::size_t written = 0;
        for (const TableCell& cell : row.cells) {
            text_ += " " + inOneLine(cell.blocks) + " |";
            for (int i = 1; i < cell.columns; ++i)
                text_ += "  |";
            written += static_cast<std::size_t>(cell.columns);
        }
        for (; written < columns; ++written)
            text_ += "  |";
    }

    void writeRule(const Table& table, std::size_t columns)
    {
        endLine();
        line();
        text_ += "|";
        const std::vector<TableCell>* cells = table.rows.empty() ? nullptr : &table.rows.front().cells;
        for (std::size_t i = 0; i < columns; ++i) {
            const Alignment alignment = cells && i < cells->size() ? (*cells)[i].alignment : Alignment::natural;
            text_ += alignment == Alignment::center ? " :-: |" : alignment == Alignment::right ? " --: |" : " --- |";
        }
    }

    /// What a cell can hold: its blocks one behind the other.
    std::string inOneLine(const Blocks& blocks) const
    {
        MarkdownWriter inner{document_};
        inner.isCell_ = true;
        for (const Block& block : blocks) {
            if (!inner.text_.empty())
                inner.text_ += "<br>";
            inner.writeInCell(block);
        }
        return inner.text_;
    }

    void writeInCell(const Block& block)
    {
        std::visit(Overloaded{[this](const Paragraph& paragraph) { write(paragraph.inlines); },
                              [this](const Heading& heading) { write(heading.inlines); },
                              [this](const CodeBlock& code) {
                                  std::string text = code.text;
                                  std::ranges::replace(text, '\n', ' ');
                                  text_ += codeSpan(text);
                              },
                              [this](const Quote& quote) { text_ += inOneLine(quote.blocks); },
                              [this](const List& list) {
                                  for (const ListItem& item : list.items) {
                                      if (&item != &list.items.front())
                                          text_ += "<br>";
                                      text_ += "- " + inOneLine(item.blocks);
                                  }
                              },
                              [this](const Table& table) {
                                  for (const TableRow& row : table.rows)
                                      for (const TableCell& cell : row.cells)
                                          text_ += inOneLine(cell.blocks) + " ";
                              },
                              [](const Rule&) {}, [](const PageBreak&) {}},
                   block.content);
    }

    void write(const Inlines& inlines)
    {
        bool isAtLineStart = !isCell_ && !isHeading_;
        for (auto piece = inlines.begin(); piece != inlines.end();) {
            const std::string& link = piece->link;
            const auto end = std::find_if(piece, inlines.end(), [&](const Inline& each) { return each.link != link; });
            if (!link.empty())
                text_ += '[';
            for (; piece != end; ++piece) {
                if (piece->kind != Inline::Kind::text)
                    closeMarks({});
                write(*piece, isAtLineStart && link.empty());
                isAtLineStart = !isCell_ && !isHeading_ && piece->kind == Inline::Kind::lineBreak;
            }
            closeMarks({});
            if (!link.empty())
                text_ += "](" + escapedAddress(link) + ")";
        }
    }

    void write(const Inline& piece, bool isAtLineStart)
    {
        switch (piece.kind) {
        case Inline::Kind::text:
            writeText(piece, isAtLineStart);
            break;
        case Inline::Kind::lineBreak:
            if (isCell_ || isHeading_) {
                text_ += isCell_ ? "<br>" : " ";
            } else {
                text_ += "  ";
                endLine();
                line();
            }
            break;
        case Inline::Kind::image:
            text_ += "![" + escapedMarkdown(piece.text, false, isCell_) + "](" +
                     escapedAddress(piece.index ? addressOf(document_.images[*piece.index]) : piece.source) + ")";
            break;
        case Inline::Kind::anchor:
            text_ += "<a id=\"" + piece.source + "\"></a>";
            break;
        case Inline::Kind::note:
            text_ += "[^" + std::to_string(*piece.index + 1) + "]";
            break;
        }
    }

    /// Marks must touch the words: white space at the ends stays outside them.
    void writeText(const Inline& piece, bool isAtLineStart)
    {
        const std::string_view text = piece.text;
        const std::string_view words = trimmed(text);
        if (words.empty()) {
            text_ += text;
            return;
        }
        closeMarks(piece.styles);
        const auto begin = static_cast<std::size_t>(words.data() - text.data());
        if (!isAtLineStart)
            text_ += text.substr(0, begin);
        for (const Mark& mark : marks)
            if (piece.styles.has(mark.style) && std::ranges::find(open_, &mark) == open_.end()) {
                text_ += mark.begin;
                open_.push_back(&mark);
            }
        text_ += piece.styles.has(Style::code)
                     ? codeSpan(words)
                     : escapedMarkdown(words, isAtLineStart && piece.styles == Styles{}, isCell_);
        text_ += text.substr(begin + words.size());
    }

    /// Closes those that the next words do not have, and what was opened inside them.
    void closeMarks(Styles kept)
    {
        const auto first = std::ranges::find_if(open_, [&](const Mark* mark) { return !kept.has(mark->style); });
        const std::size_t count = static_cast<std::size_t>(open_.end() - first);
        if (count == 0)
            return;
        const std::size_t end = text_.find_last_not_of(' ') + 1;
        const std::string spaces = text_.substr(end);
        text_.resize(end);
        for (std::size_t i = 0; i < count; ++i) {
            text_ += open_.back()->end;
            open_.pop_back();
        }
        text_ += spaces;
    }

    /// An empty line between blocks, unless something new has just begun.
    void separate()
    {
        if (!first_.empty() || text_.empty())
            return;
        endLine();
        if (!isTight_ && !text_.ends_with("\n\n")) {
            std::string_view prefix = prefix_;
            while (prefix.ends_with(' '))
                prefix.remove_suffix(1);
            text_.append(prefix) += '\n';
        }
    }
    void endLine()
    {
        if (!text_.empty() && !text_.ends_with('\n'))
            text_ += '\n';
    }
    /// Begins a line, the first of an item with its mark.
    void line()
    {
        wasList_ = false;
        text_ += first_.empty() ? prefix_ : first_;
        first_.clear();
    }

    const Document& document_;
    std::string text_;
    std::string prefix_;            // of each line: what it stands inside
    std::string first_;             // of the next line instead, where an item or note begins
    std::vector<const Mark*> open_; // from the outermost
    bool isTight_ = false;
    bool isCell_ = false;
    bool isHeading_ = false;
    bool wasList_ = false; // the block before, at the same level
};

} // namespace

std::string writtenMarkdown(const Document& document) { return MarkdownWriter{document}.written(); }

} // namespace nivex::document
