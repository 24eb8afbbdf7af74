#include "NIVEX/Desktop/Look/Style.hpp"

#include "NIVEX/Desktop/Look/Look.hpp"

#include <QPainter>
#include <QPainterPath>
#include <QStyleOption>

namespace nivex::desktop {

Style::Style() : QProxyStyle{QStringLiteral("Fusion")} {}

void Style::drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter,
                          const QWidget* widget) const
{
    if (element != PE_IndicatorCheckBox) {
        QProxyStyle::drawPrimitive(element, option, painter, widget);
        return;
    }
    const Look& look = Look::current();
    const bool isOn = option->state.testFlag(State_On);
    const QRectF box = QRectF{option->rect}.adjusted(0.5, 0.5, -0.5, -0.5);
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    painter->setPen(isOn ? look.accent : look.quiet);
    painter->setBrush(isOn ? look.accent : look.surface);
    painter->drawRoundedRect(box, 3.5, 3.5);
    if (isOn) {
        QPainterPath mark{{box.left() + 0.24 * box.width(), box.top() + 0.52 * box.height()}};
        mark.lineTo(box.left() + 0.43 * box.width(), box.top() + 0.70 * box.height());
        mark.lineTo(box.left() + 0.76 * box.width(), box.top() + 0.30 * box.height());
        painter->setPen(QPen{Qt::white, 1.8, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin});
        painter->setBrush(Qt::NoBrush);
        painter->drawPath(mark);
    }
    painter->restore();
}

} // namespace nivex::desktop
