#pragma once

#include "NIVEX/Model/TargetOffer.hpp"

#include <QAbstractButton>

namespace nivex::desktop {

/// One offer as a round button: the short name, the hue of the family, and a mark that says at a glance whether
/// something is lost. The sentences are in the tool tip and in the accessible description.
class Bubble : public QAbstractButton {
public:
    static constexpr int diameter = 76;

    explicit Bubble(const TargetOffer& offer, QWidget* parent = nullptr);

    const OfferID& offer() const { return id_; }
    /// While a file is held over it.
    void setHeldOver(bool isHeldOver);

    QSize sizeHint() const override { return {diameter, diameter}; }
    bool hitButton(const QPoint& position) const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void enterEvent(QEnterEvent* event) override;
    void leaveEvent(QEvent* event) override;

private:
    OfferID id_;
    FormatFamily family_;
    bool losesMuch_;
    bool losesLittle_;
    bool isLit_ = false;
};

/// What an offer loses, one sentence a line; what it says where nothing is lost.
QString lossesOf(const TargetOffer& offer);

} // namespace nivex::desktop
