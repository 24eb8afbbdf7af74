#pragma once

#include "NIVEX/Model/OptionForm.hpp"

#include <QFrame>
#include <optional>
#include <vector>

class QComboBox;
class QLabel;
class QPushButton;
class QVBoxLayout;

namespace nivex::desktop {

class Application;
class OptionFields;

/// What will be done with the files: the way, what is lost, the settings, where the results go, and the button that
/// does it.
class ChoicePanel : public QFrame {
public:
    explicit ChoicePanel(Application& application, QWidget* parent = nullptr);

    void refresh();

private:
    void showDestination();
    void chooseDestination(int index);
    void convert();

    Application& application_;
    QLabel* title_;
    QLabel* route_;
    QLabel* warnings_;
    QLabel* refusals_;
    OptionFields* fields_;
    QComboBox* destination_;
    QLabel* destinationProblem_;
    QPushButton* convert_;
    std::optional<OfferID> shownOffer_;
};

} // namespace nivex::desktop
