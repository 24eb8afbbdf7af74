#pragma once

#include <QString>

class QWidget;

namespace nivex::desktop {

/// What a page shows while it has nothing: a heading, and one sentence on what to do.
QWidget* emptyPage(const QString& heading, const QString& sentence);

} // namespace nivex::desktop
