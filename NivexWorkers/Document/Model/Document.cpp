#include "NivexWorkers/Document/Model/Document.hpp"

#include "NivexWorkers/Document/Model/Visit.hpp"

#include <algorithm>

namespace nivex::document {

std::size_t Table::columnCount() const
{
    std::size_t most = 0;
    std::vector<std::size_t> reaching; // by column, how many more rows a cell above reaches into
    for (const TableRow& row : rows) {
        std::size_t column = 0;
        const auto passReaching = [&] {
            while (column < reaching.size() && reaching[column] > 0)
                --reaching[column++];
        };
        for (const TableCell& cell : row.cells) {
            passReaching();
            const std::size_t end = column + static_cast<std::size_t>(cell.columns);
            reaching.resize(std::max(reaching.size(), end));
            while (column < end)
                reaching[column++] = static_cast<std::size_t>(cell.rows) - 1;
        }
        most = std::max(most, column);
        for (; column < reaching.size(); ++column)
            if (reaching[column] > 0) {
                --reaching[column];
                most = std::max(most, column + 1);
            }
    }
    return most;
}

void visitInlines(Blocks& blocks, const std::function<void(Inlines&)>& visit)
{
    for (Block& block : blocks)
        std::visit(Overloaded{[&](Paragraph& paragraph) { visit(paragraph.inlines); },
                              [&](Heading& heading) { visit(heading.inlines); },
                              [&](Quote& quote) { visitInlines(quote.blocks, visit); },
                              [&](List& list) {
                                  for (ListItem& item : list.items)
                                      visitInlines(item.blocks, visit);
                              },
                              [&](Table& table) {
                                  visit(table.caption);
                                  for (TableRow& row : table.rows)
                                      for (TableCell& cell : row.cells)
                                          visitInlines(cell.blocks, visit);
                              },
                              [](const auto&) {}},
                   block.content);
}

std::string plainText(const Inlines& inlines)
{
    std::string text;
    for (const Inline& piece : inlines)
        text += piece.kind == Inline::Kind::lineBreak ? " " : piece.text;
    return text;
}

} // namespace nivex::document
