#include "NIVEX/Desktop/Look/FlowLayout.hpp"

#include <algorithm>

namespace nivex::desktop {

FlowLayout::FlowLayout(int spacing, QWidget* parent) : QLayout{parent}
{
    setContentsMargins(0, 0, 0, 0);
    setSpacing(spacing);
}

QLayoutItem* FlowLayout::itemAt(int index) const
{
    return index >= 0 && index < count() ? items_[static_cast<std::size_t>(index)].get() : nullptr;
}

QLayoutItem* FlowLayout::takeAt(int index)
{
    if (index < 0 || index >= count())
        return nullptr;
    QLayoutItem* taken = items_[static_cast<std::size_t>(index)].release();
    items_.erase(items_.begin() + index);
    return taken;
}

int FlowLayout::heightForWidth(int width) const { return arrange({0, 0, width, 0}, false); }

QSize FlowLayout::minimumSize() const
{
    QSize largest;
    for (const auto& item : items_)
        largest = largest.expandedTo(item->minimumSize());
    return largest;
}

void FlowLayout::setGeometry(const QRect& area)
{
    QLayout::setGeometry(area);
    arrange(area, true);
}

int FlowLayout::arrange(const QRect& area, bool places) const
{
    int x = area.x();
    int y = area.y();
    int lineHeight = 0;
    for (const auto& item : items_) {
        const QSize size = item->sizeHint();
        if (lineHeight > 0 && x + size.width() > area.x() + area.width()) {
            x = area.x();
            y += lineHeight + spacing();
            lineHeight = 0;
        }
        if (places)
            item->setGeometry({QPoint{x, y}, size});
        x += size.width() + spacing();
        lineHeight = std::max(lineHeight, size.height());
    }
    return y + lineHeight - area.y();
}

} // namespace nivex::desktop
