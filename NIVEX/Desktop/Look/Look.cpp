#include "NIVEX/Desktop/Look/Look.hpp"

#include <QApplication>
#include <QLabel>
#include <QPalette>
#include <QPushButton>
#include <QStyle>

namespace nivex::desktop {
namespace {

Appearance appearanceInUse = Appearance::light;

// clang-format off
const Look looks[] = {
    {.appearance = Appearance::light, .window = {246, 247, 250}, .surface = {255, 255, 255},
     .text = {27, 33, 48},    .quiet = {88, 97, 115},   .line = {222, 226, 234}, .accent = {}, .accentText = {48, 78, 176},
     .warning = {146, 88, 0}, .failure = {176, 42, 52},  .success = {18, 112, 78}},
    {.appearance = Appearance::dark,  .window = {23, 25, 31},    .surface = {31, 34, 42},
     .text = {232, 235, 242}, .quiet = {158, 167, 184}, .line = {52, 57, 69},    .accent = {}, .accentText = {148, 174, 252},
     .warning = {240, 190, 96}, .failure = {244, 138, 140}, .success = {112, 214, 168}},
};
// clang-format on

QPalette paletteOf(const Look& look)
{
    QPalette palette;
    palette.setColor(QPalette::Window, look.window);
    palette.setColor(QPalette::WindowText, look.text);
    palette.setColor(QPalette::Base, look.surface);
    palette.setColor(QPalette::AlternateBase, look.window);
    palette.setColor(QPalette::Text, look.text);
    palette.setColor(QPalette::PlaceholderText, look.quiet);
    palette.setColor(QPalette::Button, look.surface);
    palette.setColor(QPalette::ButtonText, look.text);
    palette.setColor(QPalette::BrightText, look.failure);
    palette.setColor(QPalette::Highlight, look.accent);
    palette.setColor(QPalette::HighlightedText, Qt::white);
    palette.setColor(QPalette::Link, look.accentText);
    palette.setColor(QPalette::ToolTipBase, look.surface);
    palette.setColor(QPalette::ToolTipText, look.text);
    palette.setColor(QPalette::Mid, look.line);
    palette.setColor(QPalette::Dark, look.line);
    for (const QPalette::ColorRole role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText}) {
        QColor faint = look.quiet;
        faint.setAlphaF(0.6F);
        palette.setColor(QPalette::Disabled, role, faint);
    }
    return palette;
}

QString styleSheetOf(const Look& look)
{
    return QStringLiteral(R"(
        QToolTip { color: %1; background: %2; border: 1px solid %3; padding: 6px; }
        QLabel[rank="quiet"] { color: %4; }
        QPushButton { padding: 7px 14px; border: 1px solid %3; border-radius: 8px; background: %2; color: %1; }
        QPushButton:hover { border-color: %5; }
        QPushButton:focus { border: 2px solid %5; padding: 6px 13px; }
        QPushButton:pressed { background: %3; }
        QPushButton:disabled { color: %6; }
        QPushButton[rank="primary"] { background: %7; border-color: %7; color: white; font-weight: 600; padding: 9px 18px; }
        QPushButton[rank="primary"]:focus { border: 2px solid %1; padding: 8px 17px; }
        QPushButton[rank="primary"]:disabled { background: %3; border-color: %3; color: %4; }
        QPushButton[rank="place"] { text-align: left; border: none; background: transparent; color: %4; padding: 9px 12px; }
        QPushButton[rank="place"]:hover { background: %3; color: %1; }
        QPushButton[rank="place"]:checked { background: %2; color: %1; font-weight: 600; }
        QPushButton[rank="place"]:focus { border: 2px solid %5; padding: 7px 10px; }
        QPushButton[rank="link"] { border: none; background: transparent; color: %5; padding: 4px 6px; text-align: left; }
        QPushButton[rank="link"]:focus { border: 2px solid %5; padding: 2px 4px; }
        QFrame#sidebar { border: none; border-right: 1px solid %3; }
        QFrame[rank="card"] { background: %2; border: 1px solid %3; border-radius: 12px; }
        QTreeView { background: %2; border: 1px solid %3; border-radius: 10px; outline: none; selection-background-color: %7; }
        QTreeView::item { padding: 6px 4px; border: none; }
        QTreeView::item:selected { background: %7; color: white; }
        QHeaderView { background: transparent; }
        QHeaderView::section { background: transparent; color: %4; border: none; border-bottom: 1px solid %3; padding: 7px 7px; }
        QLineEdit, QSpinBox { padding: 5px 8px; border: 1px solid %3; border-radius: 7px; background: %2; color: %1; }
        QLineEdit:focus, QSpinBox:focus { border: 2px solid %5; padding: 4px 7px; }
        QScrollArea { border: none; background: transparent; }
        QScrollArea > QWidget > QWidget { background: transparent; }
        QProgressBar { border: none; border-radius: 3px; background: %3; max-height: 6px; }
        QProgressBar::chunk { border-radius: 3px; background: %7; }
        QScrollBar:vertical { width: 10px; background: transparent; }
        QScrollBar::handle:vertical { background: %3; border-radius: 5px; min-height: 30px; }
        QScrollBar::add-line:vertical, QScrollBar::sub-line:vertical { height: 0; }
    )")
        .arg(look.text.name(), look.surface.name(), look.line.name(), look.quiet.name(), look.accentText.name(),
             look.appearance == Appearance::dark ? QStringLiteral("#6b7386") : QStringLiteral("#9aa2b3"),
             look.accent.name());
}

QLabel* label(const QString& text, QWidget* parent, double size, QFont::Weight weight)
{
    auto* result = new QLabel{text, parent};
    QFont font = result->font();
    font.setPointSizeF(font.pointSizeF() * size);
    font.setWeight(weight);
    result->setFont(font);
    result->setWordWrap(true);
    result->setTextFormat(Qt::PlainText);
    return result;
}

} // namespace

QColor toolkitColor(const Color& color) { return QColor::fromRgbF(color.red, color.green, color.blue, color.alpha); }

const Look& Look::of(Appearance appearance)
{
    static const std::array<Look, 2> withAccent = [] {
        std::array<Look, 2> all{looks[0], looks[1]};
        for (Look& look : all)
            look.accent = toolkitColor(nivex::accent(look.appearance));
        return all;
    }();
    return withAccent[appearance == Appearance::dark ? 1 : 0];
}

const Look& Look::current() { return of(appearanceInUse); }

void Look::use(Appearance appearance, QApplication& application)
{
    appearanceInUse = appearance;
    const Look& look = of(appearance);
    application.setPalette(paletteOf(look));
    application.setStyleSheet(styleSheetOf(look));
}

QColor familyColor(FormatFamily family)
{
    return toolkitColor(familyHue(static_cast<std::size_t>(family), Look::current().appearance));
}

bool reducesMotion(const QWidget& widget) { return widget.style()->styleHint(QStyle::SH_Widget_Animate) == 0; }

QLabel* titleLabel(const QString& text, QWidget* parent) { return label(text, parent, 1.7, QFont::DemiBold); }
QLabel* headingLabel(const QString& text, QWidget* parent) { return label(text, parent, 1.1, QFont::DemiBold); }

QLabel* quietLabel(const QString& text, QWidget* parent)
{
    QLabel* result = label(text, parent, 1, QFont::Normal);
    result->setProperty("rank", QStringLiteral("quiet"));
    return result;
}

QPushButton* button(const QString& text, QWidget* parent)
{
    auto* result = new QPushButton{text, parent};
    result->setAutoDefault(false);
    return result;
}

QPushButton* primaryButton(const QString& text, QWidget* parent)
{
    QPushButton* result = button(text, parent);
    result->setProperty("rank", QStringLiteral("primary"));
    return result;
}

} // namespace nivex::desktop
