#include "NIVEX/Desktop/Look/Icons.hpp"

#include "NivexDesign/SphereRenderer.hpp"

#include <QPainter>
#include <QPainterPath>
#include <QPixmap>
#include <cmath>
#include <map>

namespace nivex::desktop {
namespace {

constexpr int grid = 24; // the drawings' own units

QPainterPath pathOf(Picture picture)
{
    QPainterPath path;
    switch (picture) {
    case Picture::convert: // an arrow into a bowl
        path.moveTo(12, 4);
        path.lineTo(12, 14);
        path.moveTo(8, 10.5);
        path.lineTo(12, 14.5);
        path.lineTo(16, 10.5);
        path.moveTo(4.5, 14);
        path.quadTo(5.5, 20, 12, 20);
        path.quadTo(18.5, 20, 19.5, 14);
        break;
    case Picture::jobs: // lines, one of them under way
        for (const double y : {6.5, 12.0, 17.5}) {
            path.moveTo(9, y);
            path.lineTo(20, y);
            path.addEllipse(QPointF{5, y}, 1.1, 1.1);
        }
        break;
    case Picture::history: // a clock
        path.addEllipse(QPointF{12, 12}, 8, 8);
        path.moveTo(12, 7.5);
        path.lineTo(12, 12.4);
        path.lineTo(15.4, 14.4);
        break;
    case Picture::recipes: // a bookmark
        path.moveTo(7, 4.5);
        path.lineTo(17, 4.5);
        path.lineTo(17, 19.5);
        path.lineTo(12, 15.5);
        path.lineTo(7, 19.5);
        path.closeSubpath();
        break;
    case Picture::settings: // three sliders
        for (const auto& [y, knob] : {std::pair{6.5, 15.0}, std::pair{12.0, 8.5}, std::pair{17.5, 13.0}}) {
            path.moveTo(4, y);
            path.lineTo(knob - 2, y);
            path.moveTo(knob + 2, y);
            path.lineTo(20, y);
            path.addEllipse(QPointF{knob, y}, 2, 2);
        }
        break;
    }
    return path;
}

template <class Draw>
QIcon drawn(int side, const Draw& draw)
{
    QIcon icon;
    for (const int scale : {1, 2, 3}) {
        QPixmap pixels{side * scale, side * scale};
        pixels.fill(Qt::transparent);
        QPainter painter{&pixels};
        painter.setRenderHint(QPainter::Antialiasing);
        painter.scale(scale, scale);
        draw(painter);
        painter.end();
        pixels.setDevicePixelRatio(scale);
        icon.addPixmap(pixels);
    }
    return icon;
}

} // namespace

QIcon dotIcon(const QColor& color)
{
    static std::map<QRgb, QIcon> known; // a list has one in every row
    auto found = known.find(color.rgba());
    if (found == known.end())
        found = known
                    .emplace(color.rgba(), drawn(16,
                                                 [&](QPainter& painter) {
                                                     painter.setPen(Qt::NoPen);
                                                     painter.setBrush(color);
                                                     painter.drawEllipse(QPointF{8, 8}, 4, 4);
                                                 }))
                    .first;
    return found->second;
}

QIcon icon(Picture picture, const QColor& color)
{
    return drawn(grid, [&](QPainter& painter) {
        painter.setPen(QPen{color, 1.6, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin});
        painter.drawPath(pathOf(picture));
    });
}

QIcon sphereIcon()
{
    QIcon icon;
    for (const int side : {22, 32, 48, 128}) {
        QImage image{side, side, QImage::Format_ARGB32_Premultiplied};
        const auto count = static_cast<std::size_t>(image.sizeInBytes()) / sizeof(std::uint32_t);
        SphereRenderer{side}.draw({}, {reinterpret_cast<std::uint32_t*>(image.bits()), count});
        icon.addPixmap(QPixmap::fromImage(image));
    }
    return icon;
}

} // namespace nivex::desktop
