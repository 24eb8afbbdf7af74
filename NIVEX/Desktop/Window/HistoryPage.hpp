#pragma once

#include "NivexKit/Execution/History/HistoryStore.hpp"

#include <QAbstractTableModel>
#include <QWidget>
#include <vector>

class QLineEdit;
class QPushButton;
class QStackedLayout;
class QTreeView;

namespace nivex::desktop {

class Application;
class MainWindow;

/// The entries of the history that match a search, newest first.
class HistoryModel : public QAbstractTableModel {
public:
    enum Column { name, route, result, when, columnCount_ };

    /// Shows those entries of `history` that match.
    void show(const std::vector<HistoryEntry>& history, const std::string& search);
    const HistoryEntry& entryAt(const QModelIndex& index) const
    {
        return entries_[static_cast<std::size_t>(index.row())];
    }

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

private:
    std::vector<HistoryEntry> entries_;
};

/// Past conversions: searched, opened, shown in their folder, done again, forgotten.
class HistoryPage : public QWidget {
public:
    HistoryPage(Application& application, MainWindow& window);

    void refresh();
    void focusSearch();

private:
    std::vector<HistoryEntry> selected() const;
    void offerActions();
    void clearAll();

    Application& application_;
    MainWindow& window_;
    HistoryModel model_;
    QStackedLayout* states_;
    QLineEdit* search_;
    QTreeView* table_;
    QPushButton* folder_;
    QPushButton* open_;
    QPushButton* again_;
    QPushButton* forget_;
    Observation observation_;
};

} // namespace nivex::desktop
