#pragma once

#include "NivexDesign/SphereRenderer.hpp"

#include <QAbstractButton>
#include <QImage>
#include <QTimer>
#include <functional>
#include <memory>

namespace nivex::desktop {

/// The sphere as a button that files can be held over. It draws a frame only when what it shows has changed, and by
/// itself only while something moves.
class SphereView : public QAbstractButton {
public:
    /// side  of the square that it takes, in pixels of the layout
    explicit SphereView(int side, QWidget* parent = nullptr);

    /// Without a progress the work's end is unknown.
    void setMood(SphereMood mood, std::optional<float> progress = {});
    SphereMood mood() const { return state_.mood; }

    QSize sizeHint() const override { return {side_, side_}; }
    bool hitButton(const QPoint& position) const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void enterEvent(QEnterEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    SphereState shownState() const;
    void runAsNeeded();

    int side_;
    SphereState state_;
    bool isUnderPointer_ = false;
    QTimer frames_;
    std::unique_ptr<SphereRenderer> renderer_; // for the size and the screen at hand
    QImage frame_;
    SphereState frameState_;
};

} // namespace nivex::desktop
