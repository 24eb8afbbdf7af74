#pragma once

#include "NIVEX/Desktop/Window/FileTable.hpp"
#include "NIVEX/Model/TargetOffer.hpp"

#include "NivexKit/Foundation/Running/Observers.hpp"

#include <QWidget>
#include <memory>
#include <vector>

class QButtonGroup;
class QLabel;
class QPushButton;
class QStackedLayout;
class QTreeView;
class QVBoxLayout;

namespace nivex::desktop {

class Application;
class Bubble;
class ChoicePanel;
class MainWindow;
class SphereView;

/// Where files are put in, and where a person sees what they are and picks what they become.
class ConvertPage : public QWidget {
public:
    ConvertPage(Application& application, MainWindow& window);
    ~ConvertPage() override;

    /// Shows what the centre of conversions holds now.
    void refresh();
    /// While files are held over the window.
    void setHeldOver(bool isHeldOver);
    void chooseFiles();
    /// Gives the keyboard to what a person does here first.
    void focusFirst();

private:
    QWidget* emptyPage();
    QWidget* filesPage();
    QWidget* offersArea();
    void showRecent();
    void fitTable();
    void showOffers();
    void choose(const TargetOffer& offer);
    void removeSelected();
    void keepChoiceValid();
    void moveSelected(int by);

    Application& application_;
    MainWindow& window_;
    QStackedLayout* states_;
    SphereView* sphere_;
    QPushButton* chooseFiles_;
    QVBoxLayout* recent_;

    QLabel* summary_;
    QLabel* problems_;
    FileTableModel fileModel_;
    QTreeView* files_;
    QPushButton* up_;
    QPushButton* down_;
    QLabel* noOffer_;
    QWidget* bubbleField_;
    QButtonGroup* bubbles_ = nullptr;
    std::vector<TargetOffer> shownOffers_;
    ChoicePanel* choice_;
    bool wasEmpty_ = true;
    Observation history_;
};

} // namespace nivex::desktop
