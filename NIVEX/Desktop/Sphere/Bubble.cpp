#include "NIVEX/Desktop/Sphere/Bubble.hpp"

#include "NIVEX/Desktop/Look/Look.hpp"
#include "NIVEX/Desktop/Look/Shown.hpp"
#include "NIVEX/Model/Wording.hpp"

#include <QPainter>
#include <cmath>

namespace nivex::desktop {

QString lossesOf(const TargetOffer& offer)
{
    const std::vector<std::string> warnings = offer.losses.warnings();
    return warnings.empty() ? shown("Rien n’est perdu."_fr) : shown(joined(warnings, "\n"));
}

Bubble::Bubble(const TargetOffer& offer, QWidget* parent)
    : QAbstractButton{parent}, id_{offer.id()}, family_{offer.target.family},
      losesMuch_{offer.losses.intersects(ConversionLoss::major)}, losesLittle_{!offer.losses.isEmpty()}
{
    setCheckable(true);
    setFixedSize(diameter, diameter);
    setFocusPolicy(Qt::StrongFocus);
    setText(shown(offer.title()));
    const QString route = shown(offer.route);
    setToolTip(route + QLatin1Char{'\n'} + lossesOf(offer));
    setAccessibleName(text());
    setAccessibleDescription(toolTip());
}

void Bubble::setHeldOver(bool isHeldOver)
{
    isLit_ = isHeldOver;
    update();
}

bool Bubble::hitButton(const QPoint& position) const
{
    return std::hypot(position.x() - width() / 2.0, position.y() - height() / 2.0) <= diameter / 2.0;
}

void Bubble::paintEvent(QPaintEvent*)
{
    const Look& look = Look::current();
    const QColor hue = familyColor(family_);
    QPainter painter{this};
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF circle = QRectF{rect()}.adjusted(4, 4, -4, -4);

    QColor fill = look.surface;
    QColor ink = look.text;
    if (isChecked()) {
        fill = look.accent;
        ink = Qt::white;
    } else if (isLit_ || isDown()) {
        fill = hue;
        fill.setAlphaF(0.16F);
    }
    painter.setPen(QPen{isChecked() ? look.accent : hue, isLit_ ? 2.5 : 1.6});
    painter.setBrush(fill);
    painter.drawEllipse(circle);
    if (hasFocus()) {
        painter.setPen(QPen{look.accentText, 2});
        painter.setBrush(Qt::NoBrush);
        painter.drawEllipse(QRectF{rect()}.adjusted(1, 1, -1, -1));
    }

    QFont name = font();
    name.setWeight(QFont::DemiBold);
    const double room = circle.width() - 12;
    while (name.pointSizeF() > 6.5 && QFontMetricsF{name}.horizontalAdvance(text()) > room)
        name.setPointSizeF(name.pointSizeF() - 0.5);
    painter.setFont(name);
    painter.setPen(ink);
    painter.drawText(circle, Qt::AlignCenter, QFontMetricsF{name}.elidedText(text(), Qt::ElideRight, room));

    // Full for what a person must know of, hollow for what is small, none where nothing is lost.
    if (losesLittle_) {
        const QPointF mark{circle.center().x(), circle.bottom() - 13};
        const QColor color = isChecked() ? QColor{Qt::white} : losesMuch_ ? look.warning : look.quiet;
        painter.setPen(QPen{color, 1.4});
        painter.setBrush(losesMuch_ ? QBrush{color} : QBrush{Qt::NoBrush});
        painter.drawEllipse(mark, 3, 3);
    }
}

void Bubble::enterEvent(QEnterEvent* event)
{
    setHeldOver(true);
    QAbstractButton::enterEvent(event);
}

void Bubble::leaveEvent(QEvent* event)
{
    setHeldOver(false);
    QAbstractButton::leaveEvent(event);
}

} // namespace nivex::desktop
