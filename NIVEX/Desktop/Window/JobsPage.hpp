#pragma once

#include "NIVEX/Desktop/Window/JobTree.hpp"

#include <QWidget>

class QLabel;
class QPushButton;
class QStackedLayout;
class QTreeView;

namespace nivex::desktop {

class Application;
class MainWindow;

/// The conversions of this run: batch by batch, with what can be done with each.
class JobsPage : public QWidget {
public:
    JobsPage(Application& application, MainWindow& window);

    /// Puts a batch into view.
    void show(const Uuid& batch);

private:
    std::vector<const ConversionJob*> selected() const;
    void offerActions();
    void cancelSelected();
    void convertAgain();

    Application& application_;
    MainWindow& window_;
    JobTreeModel model_;
    QStackedLayout* states_;
    QTreeView* tree_;
    QLabel* cause_;
    QPushButton* open_;
    QPushButton* folder_;
    QPushButton* again_;
    QPushButton* cancel_;
    QPushButton* clear_;
};

} // namespace nivex::desktop
