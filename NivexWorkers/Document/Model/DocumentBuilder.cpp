#include "NivexWorkers/Document/Model/DocumentBuilder.hpp"

#include "NivexKit/Foundation/Text/Ascii.hpp"

#include <algorithm>
#include <utility>

namespace nivex::document {
namespace {

using Container = DocumentBuilder::Container;

bool isTablePart(Container container)
{
    return container == Container::table || container == Container::row || container == Container::cell;
}

} // namespace

bool DocumentBuilder::isOpen(Container container) const
{
    return std::ranges::any_of(levels_, [=](const Level& level) { return level.container == container; });
}

bool DocumentBuilder::open(Container container, Block block)
{
    endParagraph();
    if (levels_.size() >= mostLevels) {
        merged_.push_back(container);
        return false;
    }
    levels_.push_back({.container = container, .block = std::move(block)});
    return true;
}

void DocumentBuilder::openItem()
{
    if (merged_.empty() && (levels_.empty() || levels_.back().container != Container::list)) {
        // Inside an item that was not closed, its list goes on; elsewhere there is none.
        const auto list = std::ranges::find_if(levels_.rbegin(), levels_.rend(), [](const Level& level) {
            return level.container == Container::list || isTablePart(level.container) ||
                   level.container == Container::note;
        });
        if (list == levels_.rend() || list->container != Container::list)
            openList(false, 1);
        else
            while (levels_.back().container != Container::list)
                closeInnermost();
    }
    open(Container::item);
}

void DocumentBuilder::openRow()
{
    while (merged_.empty() && !levels_.empty() && levels_.back().container != Container::table &&
           isOpen(Container::table))
        closeInnermost();
    if (merged_.empty() && !isOpen(Container::table))
        openTable();
    open(Container::row);
}

void DocumentBuilder::openCell(TableCell cell)
{
    while (merged_.empty() && !levels_.empty() && levels_.back().container != Container::row && isOpen(Container::row))
        closeInnermost();
    if (merged_.empty() && !isOpen(Container::row))
        openRow();
    cell.columns = std::clamp(cell.columns, 1, mostSpanned);
    cell.rows = std::clamp(cell.rows, 1, mostSpanned);
    if (open(Container::cell))
        levels_.back().cell = std::move(cell);
}

void DocumentBuilder::openNote()
{
    const std::size_t index = document_.notes.size();
    add({.kind = Inline::Kind::note, .index = index});
    std::optional<Line> suspended = std::exchange(line_, std::nullopt);
    document_.notes.emplace_back();
    if (open(Container::note)) {
        levels_.back().suspended = std::move(suspended);
        levels_.back().index = index;
    } else {
        line_ = std::move(suspended);
    }
}

void DocumentBuilder::close(Container container)
{
    const auto merged = std::ranges::find(merged_.rbegin(), merged_.rend(), container);
    if (merged != merged_.rend()) {
        endParagraph();
        merged_.erase(merged.base() - 1, merged_.end());
        return;
    }
    if (!isOpen(container))
        return;
    merged_.clear();
    while (levels_.back().container != container)
        closeInnermost();
    closeInnermost();
}

void DocumentBuilder::closeInnermost()
{
    endParagraph();
    Level level = std::move(levels_.back());
    levels_.pop_back();
    Level* outer = levels_.empty() ? nullptr : &levels_.back();
    switch (level.container) {
    case Container::quote:
    case Container::list:
    case Container::table:
        blocks().push_back(std::move(level.block));
        break;
    case Container::item:
        std::get<List>(outer->block.content).items.push_back(std::move(level.item));
        break;
    case Container::row:
        std::get<Table>(outer->block.content).rows.push_back(std::move(level.row));
        break;
    case Container::cell:
        outer->row.cells.push_back(std::move(level.cell));
        break;
    case Container::note:
        document_.notes[level.index] = std::move(level.note);
        line_ = std::move(level.suspended);
        break;
    }
}

/// Where the blocks of the innermost container go; what stands between items, rows and cells goes before all of them.
Blocks& DocumentBuilder::blocks()
{
    for (auto level = levels_.rbegin(); level != levels_.rend(); ++level)
        switch (level->container) {
        case Container::quote:
            return std::get<Quote>(level->block.content).blocks;
        case Container::item:
            return level->item.blocks;
        case Container::cell:
            return level->cell.blocks;
        case Container::note:
            return level->note;
        case Container::list:
        case Container::table:
        case Container::row:
            break;
        }
    return document_.blocks;
}

void DocumentBuilder::addBlock(Block block)
{
    endParagraph();
    blocks().push_back(std::move(block));
}

void DocumentBuilder::checkItem(bool isChecked)
{
    if (!levels_.empty() && levels_.back().container == Container::item)
        levels_.back().item.isChecked = isChecked;
}

void DocumentBuilder::startParagraph(int level, Alignment alignment)
{
    endParagraph();
    line_ = Line{.paragraph = {{}, alignment}, .level = std::clamp(level, 0, 6)};
}

void DocumentBuilder::startCaption()
{
    endParagraph();
    line_ = Line{.isCaption = true};
}

void DocumentBuilder::endParagraph()
{
    if (!line_)
        return;
    Line line = *std::exchange(line_, std::nullopt);
    Inlines& inlines = line.paragraph.inlines;
    while (!inlines.empty() && inlines.back().kind == Inline::Kind::lineBreak)
        inlines.pop_back();
    if (!inlines.empty() && inlines.back().kind == Inline::Kind::text && inlines.back().text.ends_with(' ')) {
        inlines.back().text.pop_back();
        if (inlines.back().text.empty())
            inlines.pop_back();
    }
    if (inlines.empty())
        return;
    const auto table = std::ranges::find(levels_.rbegin(), levels_.rend(), Container::table, &Level::container);
    if (line.isCaption && table != levels_.rend())
        std::get<Table>(table->block.content).caption = std::move(inlines);
    else if (line.level > 0)
        blocks().push_back(Block{Heading{line.level, std::move(inlines), line.paragraph.alignment}});
    else
        blocks().push_back(Block{std::move(line.paragraph)});
}

void DocumentBuilder::add(Inline piece)
{
    if (!line_)
        startParagraph();
    if (piece.link.starts_with('#'))
        linkedAnchors_.insert(piece.link.substr(1));
    Inlines& inlines = line_->paragraph.inlines;
    if (piece.kind == Inline::Kind::text) {
        if (piece.text.empty())
            return;
        if (!inlines.empty() && inlines.back().kind == Inline::Kind::text && inlines.back().styles == piece.styles &&
            inlines.back().link == piece.link) {
            inlines.back().text += piece.text;
            return;
        }
    }
    inlines.push_back(std::move(piece));
}

bool DocumentBuilder::endsInSpace() const
{
    if (!line_)
        return true;
    for (auto piece = line_->paragraph.inlines.rbegin(); piece != line_->paragraph.inlines.rend(); ++piece) {
        if (piece->kind == Inline::Kind::lineBreak)
            return true;
        if (piece->kind != Inline::Kind::anchor)
            return piece->kind == Inline::Kind::text && piece->text.ends_with(' ');
    }
    return true;
}

void DocumentBuilder::addCollapsed(std::string_view text, const Inline& like)
{
    std::string collapsed;
    bool isBehindSpace = endsInSpace();
    for (const char character : text) {
        const bool isSpace = isAsciiSpace(character);
        if (!isSpace || !isBehindSpace)
            collapsed += isSpace ? ' ' : character;
        isBehindSpace = isSpace;
    }
    if (collapsed.empty())
        return;
    Inline piece = like;
    piece.text = std::move(collapsed);
    add(std::move(piece));
}

void DocumentBuilder::addCode(CodeBlock code)
{
    if (code.text.ends_with('\n'))
        code.text.pop_back();
    addBlock(Block{std::move(code)});
}

std::size_t DocumentBuilder::keep(Image image)
{
    const auto same = std::ranges::find(document_.images, image.bytes, &Image::bytes);
    if (same != document_.images.end())
        return static_cast<std::size_t>(same - document_.images.begin());
    document_.images.push_back(std::move(image));
    return document_.images.size() - 1;
}

/// Programs name much that nothing leads to.
void DocumentBuilder::removeAnchorsWithoutLinks()
{
    const auto remove = [this](Inlines& inlines) {
        std::erase_if(inlines, [this](const Inline& piece) {
            return piece.kind == Inline::Kind::anchor && !linkedAnchors_.contains(piece.source);
        });
    };
    visitInlines(document_.blocks, remove);
    std::erase_if(document_.blocks, [](const Block& block) {
        const auto* paragraph = std::get_if<Paragraph>(&block.content);
        return paragraph && paragraph->inlines.empty();
    });
    for (Blocks& note : document_.notes)
        visitInlines(note, remove);
}

Document DocumentBuilder::finish()
{
    endParagraph();
    while (!levels_.empty())
        closeInnermost();
    endParagraph();
    removeAnchorsWithoutLinks();
    return std::move(document_);
}

} // namespace nivex::document
