#include "NIVEX/Desktop/Sphere/SphereView.hpp"

#include "NIVEX/Desktop/Look/Look.hpp"

#include <QPainter>
#include <cmath>

namespace nivex::desktop {
namespace {

constexpr std::chrono::milliseconds frameTime{33};
constexpr float phasePerFrame = 1.0F / 54; // a turn in less than two seconds

bool moves(SphereMood mood) { return mood == SphereMood::thinking || mood == SphereMood::working; }

} // namespace

SphereView::SphereView(int side, QWidget* parent) : QAbstractButton{parent}, side_{side}
{
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    setFixedSize(side, side);
    setFocusPolicy(Qt::StrongFocus);
    setCursor(Qt::PointingHandCursor);
    frames_.setInterval(frameTime);
    QObject::connect(&frames_, &QTimer::timeout, this, [this] {
        state_.phase += phasePerFrame;
        state_.phase -= std::floor(state_.phase);
        update();
    });
}

void SphereView::setMood(SphereMood mood, std::optional<float> progress)
{
    if (state_.mood == mood && state_.progress == progress)
        return;
    state_.mood = mood;
    state_.progress = progress;
    runAsNeeded();
    update();
}

void SphereView::runAsNeeded()
{
    const bool wanted = isVisible() && moves(state_.mood) && !reducesMotion(*this);
    if (wanted && !frames_.isActive()) {
        frames_.start();
    } else if (!wanted) {
        frames_.stop();
        state_.phase = 0;
    }
}

SphereState SphereView::shownState() const
{
    SphereState state = state_;
    state.appearance = Look::current().appearance;
    const bool isHeld = isUnderPointer_ || isDown() || state.mood == SphereMood::hovered;
    state.glow = state.mood == SphereMood::hovered ? 1.0F : isHeld ? 0.6F : 0.0F;
    if (state.mood == SphereMood::resting && isHeld)
        state.mood = SphereMood::hovered;
    return state;
}

bool SphereView::hitButton(const QPoint& position) const
{
    const double middle = side_ / 2.0;
    const double radius = renderer_ ? static_cast<double>(renderer_->radius()) * side_ / renderer_->side() : middle;
    return std::hypot(position.x() - middle, position.y() - middle) <= radius;
}

void SphereView::paintEvent(QPaintEvent*)
{
    const int pixels = static_cast<int>(std::lround(side_ * devicePixelRatioF()));
    if (!renderer_ || renderer_->side() != pixels) {
        renderer_ = std::make_unique<SphereRenderer>(pixels);
        frame_ = {};
    }
    const SphereState state = shownState();
    if (frame_.isNull() || !(state == frameState_)) {
        frame_ = QImage{renderer_->side(), renderer_->side(), QImage::Format_ARGB32_Premultiplied};
        const auto count = static_cast<std::size_t>(frame_.sizeInBytes()) / sizeof(std::uint32_t);
        renderer_->draw(state, {reinterpret_cast<std::uint32_t*>(frame_.bits()), count});
        frame_.setDevicePixelRatio(devicePixelRatioF());
        frameState_ = state;
    }
    QPainter painter{this};
    painter.drawImage(0, 0, frame_);
    if (hasFocus()) {
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(QPen{Look::current().accentText, 2});
        const double radius = static_cast<double>(renderer_->radius()) / devicePixelRatioF() + 4;
        painter.drawEllipse(QPointF{side_ / 2.0, side_ / 2.0}, radius, radius);
    }
}

void SphereView::enterEvent(QEnterEvent* event)
{
    isUnderPointer_ = true;
    update();
    QAbstractButton::enterEvent(event);
}

void SphereView::leaveEvent(QEvent* event)
{
    isUnderPointer_ = false;
    update();
    QAbstractButton::leaveEvent(event);
}

void SphereView::showEvent(QShowEvent* event)
{
    QAbstractButton::showEvent(event);
    runAsNeeded();
}

void SphereView::hideEvent(QHideEvent* event)
{
    QAbstractButton::hideEvent(event);
    runAsNeeded();
}

} // namespace nivex::desktop
