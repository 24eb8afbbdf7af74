#pragma once

#include "NIVEX/Model/OptionForm.hpp"

#include <QWidget>
#include <functional>
#include <vector>

class QFormLayout;

namespace nivex::desktop {

/// A form of settings, each with its name and what it does.
class OptionFields : public QWidget {
public:
    explicit OptionFields(QWidget* parent = nullptr);

    void show(std::vector<OptionControl> controls);
    /// Called with a control that a person has changed.
    std::function<void(const OptionControl&)> onChange;

private:
    QWidget* fieldFor(std::size_t place);
    QWidget* field(std::size_t place, const NumberControl& control);
    QWidget* field(std::size_t place, const ChoiceControl& control);
    QWidget* field(std::size_t place, const SwitchControl& control);
    template <class Control, class Change>
    void change(std::size_t place, const Change& change);

    std::vector<OptionControl> controls_;
    QWidget* content_ = nullptr;
};

} // namespace nivex::desktop
