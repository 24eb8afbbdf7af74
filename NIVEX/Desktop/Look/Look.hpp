#pragma once

#include "NivexDesign/SpherePalette.hpp"

#include "NivexKit/Formats/FormatFamily.hpp"

#include <QColor>
#include <QFont>
#include <QWidget>

class QApplication;
class QLabel;
class QPushButton;

namespace nivex::desktop {

QColor toolkitColor(const Color& color);

/// The colours of all windows in one appearance.
struct Look {
    Appearance appearance;
    QColor window;
    QColor surface; // lists and cards on the window
    QColor text;
    QColor quiet; // text of second rank
    QColor line;
    QColor accent;
    QColor accentText; // the accent as text on the window
    QColor warning;
    QColor failure;
    QColor success;

    static const Look& of(Appearance appearance);
    /// That of the windows now.
    static const Look& current();
    /// Gives all windows an appearance.
    static void use(Appearance appearance, QApplication& application);
};

/// The hue of a family in the windows now.
QColor familyColor(FormatFamily family);

/// True where the person's desktop asks for no movement.
bool reducesMotion(const QWidget& widget);

/// Texts of the ranks that windows use.
QLabel* titleLabel(const QString& text, QWidget* parent = nullptr);
QLabel* headingLabel(const QString& text, QWidget* parent = nullptr);
QLabel* quietLabel(const QString& text, QWidget* parent = nullptr);
QPushButton* button(const QString& text, QWidget* parent = nullptr);
/// The one button of a page that does what the page is for.
QPushButton* primaryButton(const QString& text, QWidget* parent = nullptr);

} // namespace nivex::desktop
