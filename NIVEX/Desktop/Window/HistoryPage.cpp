#include "NIVEX/Desktop/Window/HistoryPage.hpp"

#include "NIVEX/Desktop/Application.hpp"
#include "NIVEX/Desktop/Look/Icons.hpp"
#include "NIVEX/Desktop/Look/Look.hpp"
#include "NIVEX/Desktop/Look/Shown.hpp"
#include "NIVEX/Desktop/Session/Files.hpp"
#include "NIVEX/Desktop/Window/EmptyPage.hpp"
#include "NIVEX/Desktop/Window/MainWindow.hpp"
#include "NIVEX/Model/JobWording.hpp"

#include "NivexKit/Foundation/Text/ByteCount.hpp"

#include <QDateTime>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QLocale>
#include <QMessageBox>
#include <QPushButton>
#include <QStackedLayout>
#include <QTreeView>
#include <QVBoxLayout>

namespace nivex::desktop {
namespace {

constexpr Text headings[] = {"Fichier"_fr, "Conversion"_fr, "Résultat"_fr, "Date"_fr};

QString dateOf(const HistoryEntry& entry)
{
    const auto since = std::chrono::duration_cast<std::chrono::milliseconds>(entry.date.time_since_epoch());
    return QLocale{}.toString(QDateTime::fromMSecsSinceEpoch(since.count()), QLocale::ShortFormat);
}

QString resultOf(const HistoryEntry& entry)
{
    switch (entry.status) {
    case HistoryEntry::Status::succeeded:
        return shown(entry.outputBytes ? shownByteCount(*entry.outputBytes) : "Terminé"_fr.localized());
    case HistoryEntry::Status::failed:
        return shown(entry.message.value_or(""));
    case HistoryEntry::Status::cancelled:
        return shown("Annulé"_fr);
    }
    return {};
}

const FileFormat* formatOf(const FormatID& id) { return FormatRegistry::standard().format(id); }

std::string nameOf(const FormatID& id)
{
    const FileFormat* format = formatOf(id);
    return format ? format->name : id.rawValue;
}

QString textOf(const HistoryEntry& entry, int column)
{
    switch (column) {
    case HistoryModel::name:
        return shown(entry.sourceName);
    case HistoryModel::route:
        return shown(nameOf(entry.sourceFormat) + " → " + nameOf(entry.targetFormat));
    case HistoryModel::result:
        return resultOf(entry);
    default:
        return dateOf(entry);
    }
}

} // namespace

void HistoryModel::show(const std::vector<HistoryEntry>& history, const std::string& search)
{
    beginResetModel();
    entries_.clear();
    for (const HistoryEntry& entry : history)
        if (matches(entry, search))
            entries_.push_back(entry);
    endResetModel();
}

int HistoryModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(entries_.size());
}

int HistoryModel::columnCount(const QModelIndex&) const { return columnCount_; }

QVariant HistoryModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid())
        return {};
    const HistoryEntry& entry = entryAt(index);
    switch (role) {
    case Qt::DisplayRole:
    case Qt::AccessibleTextRole:
        return textOf(entry, index.column());
    case Qt::ToolTipRole:
        return index.column() == result && entry.message ? shown(*entry.message) : shown(entry.sourcePath);
    case Qt::DecorationRole:
        if (const FileFormat* target = index.column() == route ? formatOf(entry.targetFormat) : nullptr)
            return dotIcon(familyColor(target->family));
        return {};
    case Qt::ForegroundRole:
        if (index.column() == result && entry.status == HistoryEntry::Status::failed)
            return Look::current().failure;
        return index.column() == name ? QVariant{} : QVariant{Look::current().quiet};
    default:
        return {};
    }
}

QVariant HistoryModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    return orientation == Qt::Horizontal && role == Qt::DisplayRole ? QVariant{shown(headings[section])} : QVariant{};
}

HistoryPage::HistoryPage(Application& application, MainWindow& window)
    : application_{application}, window_{window}, states_{new QStackedLayout{this}}
{
    states_->addWidget(
        emptyPage(shown("Aucune conversion"_fr),
                  shown("Les conversions passées apparaissent ici, aussi longtemps que vous le voulez."_fr)));
    auto* page = new QWidget;
    auto* layout = new QVBoxLayout{page};
    layout->setContentsMargins(28, 22, 28, 22);
    layout->setSpacing(12);
    auto* head = new QHBoxLayout;
    head->addWidget(titleLabel(shown("Historique"_fr)), 1);
    search_ = new QLineEdit;
    search_->setPlaceholderText(shown("Rechercher"_fr));
    search_->setAccessibleName(shown("Rechercher dans l’historique"_fr));
    search_->setClearButtonEnabled(true);
    search_->setFixedWidth(260);
    head->addWidget(search_);
    layout->addLayout(head);
    table_ = new QTreeView;
    table_->setModel(&model_);
    table_->setRootIsDecorated(false);
    table_->setUniformRowHeights(true);
    table_->setSelectionMode(QAbstractItemView::ExtendedSelection);
    table_->setAllColumnsShowFocus(true);
    table_->setAccessibleName(shown("Historique"_fr));
    table_->setColumnWidth(HistoryModel::name, 240);
    table_->setColumnWidth(HistoryModel::route, 170);
    table_->setColumnWidth(HistoryModel::result, 240);
    layout->addWidget(table_, 1);

    auto* actions = new QHBoxLayout;
    folder_ = primaryButton(shown("Afficher dans le dossier"_fr));
    open_ = button(shown("Ouvrir"_fr));
    again_ = button(shown("Convertir à nouveau…"_fr));
    forget_ = button(shown("Oublier"_fr));
    auto* clear = button(shown("Tout effacer…"_fr));
    for (QPushButton* each : {folder_, open_, again_, forget_})
        actions->addWidget(each);
    actions->addStretch(1);
    actions->addWidget(clear);
    layout->addLayout(actions);
    states_->addWidget(page);

    connect(search_, &QLineEdit::textChanged, this, [this] { refresh(); });
    connect(table_->selectionModel(), &QItemSelectionModel::selectionChanged, this, [this] { offerActions(); });
    connect(folder_, &QPushButton::clicked, this, [this] { showInFolder(selected().front().outputURLs()); });
    connect(open_, &QPushButton::clicked, this, [this] { openFile(selected().front().outputURLs().front()); });
    connect(again_, &QPushButton::clicked, this, [this] {
        std::vector<std::filesystem::path> files;
        for (const HistoryEntry& entry : selected())
            files.emplace_back(entry.sourcePath);
        application_.center().clear();
        window_.putIn(std::move(files));
    });
    connect(forget_, &QPushButton::clicked, this, [this] {
        std::unordered_set<Uuid> ids;
        for (const HistoryEntry& entry : selected())
            ids.insert(entry.id);
        application_.model().history().remove(ids);
    });
    connect(clear, &QPushButton::clicked, this, [this] { clearAll(); });
    observation_ = application_.model().history().observe([this] {
        if (isVisible())
            refresh();
    });
}

void HistoryPage::refresh()
{
    const std::vector<HistoryEntry>& entries = application_.model().history().entries();
    model_.show(entries, search_->text().toStdString());
    states_->setCurrentIndex(entries.empty() ? 0 : 1);
    offerActions();
}

void HistoryPage::focusSearch() { search_->setFocus(); }

std::vector<HistoryEntry> HistoryPage::selected() const
{
    std::vector<HistoryEntry> entries;
    for (const QModelIndex& row : table_->selectionModel()->selectedRows())
        entries.push_back(model_.entryAt(row));
    return entries;
}

void HistoryPage::offerActions()
{
    const std::vector<HistoryEntry> entries = selected();
    const bool hasOutput = entries.size() == 1 && !entries.front().outputPaths.empty();
    folder_->setEnabled(hasOutput);
    open_->setEnabled(hasOutput);
    again_->setEnabled(!entries.empty());
    forget_->setEnabled(!entries.empty());
}

void HistoryPage::clearAll()
{
    QMessageBox question{QMessageBox::Question, shown("Historique"_fr), shown("Effacer tout l’historique ?"_fr),
                         QMessageBox::NoButton, this};
    question.setInformativeText(shown("Les fichiers convertis restent où ils sont."_fr));
    const auto* clear = question.addButton(shown("Effacer"_fr), QMessageBox::DestructiveRole);
    question.setDefaultButton(question.addButton(shown("Annuler"_fr), QMessageBox::RejectRole));
    question.exec();
    if (question.clickedButton() == clear)
        application_.model().history().clear();
}

} // namespace nivex::desktop
