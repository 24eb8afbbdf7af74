#pragma once

#include <QColor>
#include <QIcon>

namespace nivex::desktop {

/// A round mark of one colour, for a family.
QIcon dotIcon(const QColor& color);

/// What the icons of NIVEX picture, all drawn with one pen.
enum class Picture { convert, jobs, history, recipes, settings };

QIcon icon(Picture picture, const QColor& color);

/// The sphere as the icon of windows and of the tray.
QIcon sphereIcon();

} // namespace nivex::desktop
