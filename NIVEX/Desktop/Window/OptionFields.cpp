#include "NIVEX/Desktop/Window/OptionFields.hpp"

#include "NIVEX/Desktop/Look/Look.hpp"
#include "NIVEX/Desktop/Look/Shown.hpp"

#include <QCheckBox>
#include <QComboBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QSlider>
#include <QSpinBox>

namespace nivex::desktop {

OptionFields::OptionFields(QWidget* parent) : QWidget{parent}
{
    auto* layout = new QVBoxLayout{this};
    layout->setContentsMargins(0, 0, 0, 0);
}

void OptionFields::show(std::vector<OptionControl> controls)
{
    controls_ = std::move(controls);
    delete content_;
    content_ = new QWidget{this};
    layout()->addWidget(content_);
    auto* form = new QFormLayout{content_};
    form->setContentsMargins(0, 0, 0, 0);
    form->setVerticalSpacing(10);
    form->setRowWrapPolicy(QFormLayout::WrapAllRows);
    for (std::size_t i = 0; i < controls_.size(); ++i) {
        QWidget* field = fieldFor(i);
        field->setToolTip(shown(controls_[i].detail));
        if (std::holds_alternative<SwitchControl>(controls_[i].value)) {
            form->addRow(field);
            continue;
        }
        auto* name = new QLabel{shown(controls_[i].label), content_};
        name->setToolTip(field->toolTip());
        name->setBuddy(field->focusProxy() ? field->focusProxy() : field);
        form->addRow(name, field);
    }
    setVisible(!controls_.empty());
}

QWidget* OptionFields::fieldFor(std::size_t place)
{
    return std::visit([&](const auto& control) { return field(place, control); }, controls_[place].value);
}

template <class Control, class Change>
void OptionFields::change(std::size_t place, const Change& change)
{
    change(std::get<Control>(controls_[place].value));
    if (onChange)
        onChange(controls_[place]);
}

QWidget* OptionFields::field(std::size_t place, const NumberControl& control)
{
    auto* row = new QWidget{content_};
    auto* layout = new QHBoxLayout{row};
    layout->setContentsMargins(0, 0, 0, 0);
    auto* number = new QSpinBox{row};
    number->setRange(static_cast<int>(control.low), static_cast<int>(control.high));
    number->setValue(static_cast<int>(control.value));
    number->setSuffix(shown(control.unit));
    number->setButtonSymbols(QAbstractSpinBox::NoButtons);
    number->setGroupSeparatorShown(true);
    number->setKeyboardTracking(false);
    number->setAccessibleName(shown(controls_[place].label));
    row->setFocusProxy(number);
    if (control.isOptional) {
        auto* isSet = new QCheckBox{row};
        isSet->setChecked(control.isSet);
        isSet->setAccessibleName(shown(controls_[place].label));
        number->setEnabled(control.isSet);
        row->setFocusProxy(isSet);
        layout->addWidget(isSet);
        connect(isSet, &QCheckBox::toggled, this, [this, place, number](bool isOn) {
            number->setEnabled(isOn);
            change<NumberControl>(place, [&](NumberControl& changed) { changed.isSet = isOn; });
        });
    }
    if (control.high == 100) {
        auto* slider = new QSlider{Qt::Horizontal, row};
        slider->setRange(0, 100);
        slider->setValue(number->value());
        slider->setFocusPolicy(Qt::NoFocus); // the number beside it has the keyboard
        slider->setAccessibleName(shown(controls_[place].label));
        connect(slider, &QSlider::valueChanged, number, &QSpinBox::setValue);
        connect(number, &QSpinBox::valueChanged, slider, &QSlider::setValue);
        layout->addWidget(slider, 1);
    }
    layout->addWidget(number);
    if (control.high != 100)
        layout->addStretch(1);
    connect(number, &QSpinBox::valueChanged, this, [this, place](int value) {
        change<NumberControl>(place, [&](NumberControl& changed) { changed.value = value; });
    });
    return row;
}

QWidget* OptionFields::field(std::size_t place, const ChoiceControl& control)
{
    auto* box = new QComboBox{content_};
    for (const std::string& label : control.labels)
        box->addItem(shown(label));
    box->setCurrentIndex(static_cast<int>(control.current));
    connect(box, &QComboBox::activated, this, [this, place](int index) {
        change<ChoiceControl>(place,
                              [&](ChoiceControl& changed) { changed.current = static_cast<std::size_t>(index); });
    });
    return box;
}

QWidget* OptionFields::field(std::size_t place, const SwitchControl& control)
{
    auto* box = new QCheckBox{shown(controls_[place].label), content_};
    box->setChecked(control.isOn);
    connect(box, &QCheckBox::toggled, this, [this, place](bool isOn) {
        change<SwitchControl>(place, [&](SwitchControl& changed) { changed.isOn = isOn; });
    });
    return box;
}

} // namespace nivex::desktop
