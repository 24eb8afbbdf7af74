#include "NivexWorkers/Document/Text/TextWriter.hpp"

#include "NivexWorkers/Document/Model/Visit.hpp"

#include <utility>
#include <variant>

namespace nivex::document {
namespace {

class TextWriter {
public:
    explicit TextWriter(const Document& document) : document_{document} {}

    std::string written()
    {
        write(document_.blocks, "");
        for (std::size_t i = 0; i < document_.notes.size(); ++i) {
            separate();
            first_ = "[" + std::to_string(i + 1) + "] ";
            write(document_.notes[i], "");
        }
        if (!text_.empty())
            text_ += '\n';
        return std::move(text_);
    }

private:
    void write(const Blocks& blocks, const std::string& indent)
    {
        for (const Block& block : blocks)
            std::visit([&](const auto& content) { write(content, indent); }, block.content);
    }

    void write(const Paragraph& paragraph, const std::string& indent)
    {
        separate();
        line(indent);
        write(paragraph.inlines, indent);
    }
    void write(const Heading& heading, const std::string& indent) { write(Paragraph{heading.inlines}, indent); }
    void write(const CodeBlock& code, const std::string& indent)
    {
        separate();
        line(indent);
        for (const char character : code.text) {
            text_ += character;
            if (character == '\n')
                text_ += indent;
        }
    }
    void write(const Quote& quote, const std::string& indent) { write(quote.blocks, indent + "  "); }
    void write(const List& list, const std::string& indent)
    {
        separate();
        std::int64_t number = list.start;
        for (const ListItem& item : list.items) {
            const std::string mark = list.isOrdered ? std::to_string(number++) + ". " : "- ";
            if (isTight_)
                separate();
            first_ = mark + (!item.isChecked ? "" : *item.isChecked ? "[x] " : "[ ] ");
            if (item.blocks.empty())
                line(indent);
            const bool wasTight = std::exchange(isTight_, true);
            write(item.blocks, indent + std::string(mark.size(), ' '));
            isTight_ = wasTight;
            endLine();
        }
    }
    void write(const Table& table, const std::string& indent)
    {
        if (!table.caption.empty())
            write(Paragraph{table.caption}, indent);
        separate();
        for (const TableRow& row : table.rows) {
            line(indent);
            for (const TableCell& cell : row.cells) {
                if (&cell != &row.cells.front())
                    text_ += '\t';
                writeCell(cell);
            }
            endLine();
        }
    }
    void write(const Rule&, const std::string& indent)
    {
        separate();
        line(indent);
        text_ += "----------";
    }
    void write(const PageBreak&, const std::string&) {}

    /// In one line.
    void writeCell(const TableCell& cell)
    {
        TextWriter inner{document_};
        inner.isTight_ = true;
        inner.write(cell.blocks, "");
        for (const char character : inner.text_)
            text_ += character == '\n' || character == '\t' ? ' ' : character;
    }

    void write(const Inlines& inlines, const std::string& indent)
    {
        for (const Inline& piece : inlines) {
            if (piece.kind == Inline::Kind::lineBreak)
                text_ += '\n' + indent;
            else if (piece.kind == Inline::Kind::note)
                text_ += "[" + std::to_string(*piece.index + 1) + "]";
            else if (piece.kind == Inline::Kind::text || piece.kind == Inline::Kind::image)
                text_ += piece.text;
        }
    }

    /// An empty line, or inside lists and cells the end of a line, unless something new has just begun.
    void separate()
    {
        if (text_.empty() || !first_.empty())
            return;
        endLine();
        if (!isTight_ && !text_.ends_with("\n\n"))
            text_ += '\n';
    }
    void endLine()
    {
        if (!text_.empty() && !text_.ends_with('\n'))
            text_ += '\n';
    }
    /// Begins a line, the first of an item with its mark.
    void line(const std::string& indent)
    {
        if (first_.empty()) {
            text_ += indent;
            return;
        }
        text_ += indent.substr(0, indent.size() - std::min(indent.size(), first_.size())) + first_;
        first_.clear();
    }

    const Document& document_;
    std::string text_;
    std::string first_; // what the next line begins with: the mark of an item or a note
    bool isTight_ = false;
};

} // namespace

std::string writtenText(const Document& document)
{
    std::string text = TextWriter{document}.written();
    while (text.ends_with("\n\n"))
        text.pop_back();
    return text;
}

} // namespace nivex::document
