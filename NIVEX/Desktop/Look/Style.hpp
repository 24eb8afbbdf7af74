#pragma once

#include <QProxyStyle>

namespace nivex::desktop {

/// The toolkit's plain style, with marks that are seen on every window.
class Style : public QProxyStyle {
public:
    Style();

    void drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter,
                       const QWidget* widget = nullptr) const override;
};

} // namespace nivex::desktop
