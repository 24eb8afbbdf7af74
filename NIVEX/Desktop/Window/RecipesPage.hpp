#pragma once

#include "NIVEX/Model/RecipeLibrary.hpp"

#include <QWidget>
#include <optional>
#include <vector>

class QLabel;
class QListWidget;
class QPushButton;
class QStackedLayout;

namespace nivex::desktop {

class Application;
class MainWindow;

/// The recipes that a person keeps: what each does, used on the files that are put in, shared as files.
class RecipesPage : public QWidget {
public:
    RecipesPage(Application& application, MainWindow& window);

    /// Reads the library anew.
    void refresh();

private:
    QWidget* detailArea();
    const ConversionRecipe* selected() const;
    void showSelected();
    void importRecipe();
    void exportSelected();
    void renameSelected();
    void removeSelected();
    void runSelected();

    Application& application_;
    MainWindow& window_;
    std::vector<RecipeLibrary::Kept> recipes_;
    QStackedLayout* states_;
    QListWidget* list_;
    QLabel* unreadable_;
    QLabel* title_;
    QLabel* blocks_;
    QLabel* warnings_;
    QPushButton* run_;
    std::vector<QPushButton*> actions_; // that need a recipe
};

} // namespace nivex::desktop
