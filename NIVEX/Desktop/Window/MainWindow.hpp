#pragma once

#include <QWidget>
#include <filesystem>
#include <vector>

class QLabel;
class QButtonGroup;
class QStackedWidget;

namespace nivex::desktop {

class Application;
class ConvertPage;
class HistoryPage;
class JobsPage;
class RecipesPage;
class SettingsPage;

/// The pages that the window has, in the order of its sidebar.
enum class Place { convert, jobs, history, recipes, settings };

/// The one window: a sidebar of places, and the page of the place at hand. Files can be dropped anywhere on it.
class MainWindow : public QWidget {
public:
    explicit MainWindow(Application& application);
    ~MainWindow() override;

    void putIn(std::vector<std::filesystem::path> files);
    void go(Place place);
    /// Says something that needs no answer, for a while, below the page.
    void tell(const QString& sentence);

protected:
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dragLeaveEvent(QDragLeaveEvent* event) override;
    void dropEvent(QDropEvent* event) override;
    void closeEvent(QCloseEvent* event) override;

private:
    QWidget* sidebar();
    void addShortcuts();
    bool mayClose();

    Application& application_;
    QButtonGroup* places_;
    QStackedWidget* pages_;
    QLabel* notice_;
    ConvertPage* convert_;
    JobsPage* jobs_;
    HistoryPage* history_;
    RecipesPage* recipes_;
    SettingsPage* settings_;
};

} // namespace nivex::desktop
