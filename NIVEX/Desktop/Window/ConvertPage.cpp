#include "NIVEX/Desktop/Window/ConvertPage.hpp"

#include "NIVEX/Desktop/Application.hpp"
#include "NIVEX/Desktop/Look/FlowLayout.hpp"
#include "NIVEX/Desktop/Look/Look.hpp"
#include "NIVEX/Desktop/Look/Shown.hpp"
#include "NIVEX/Desktop/Session/Files.hpp"
#include "NIVEX/Desktop/Sphere/Bubble.hpp"
#include "NIVEX/Desktop/Sphere/SphereView.hpp"
#include "NIVEX/Desktop/Window/ChoicePanel.hpp"
#include "NIVEX/Desktop/Window/MainWindow.hpp"
#include "NIVEX/Model/Wording.hpp"

#include <QAction>
#include <QButtonGroup>
#include <QFileDialog>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QScrollArea>
#include <QStackedLayout>
#include <QTreeView>
#include <QVBoxLayout>

namespace nivex::desktop {
namespace {

constexpr int sphereSide = 260;
constexpr std::size_t recentItems = 3;

std::string summaryOf(const ConversionCenter& center)
{
    constexpr Counted files{"{} fichier"_fr, "{} fichiers"_fr};
    constexpr Counted leftAside{"{} laissé de côté"_fr, "{} laissés de côté"_fr};
    std::vector<std::string> parts{files.of(center.files().size() + center.remaining())};
    if (center.isLooking())
        parts.push_back("lecture en cours…"_fr);
    else if (const std::size_t unusable = center.files().size() - center.usableFiles(); unusable > 0)
        parts.push_back(leftAside.of(unusable));
    return joined(parts, " · ");
}

} // namespace

ConvertPage::ConvertPage(Application& application, MainWindow& window)
    : application_{application}, window_{window}, states_{new QStackedLayout{this}}
{
    states_->addWidget(emptyPage());
    states_->addWidget(filesPage());
    history_ = application_.model().history().observe([this] {
        if (wasEmpty_)
            showRecent();
    });
    refresh();
}

ConvertPage::~ConvertPage() = default;

// MARK: Nothing put in yet

QWidget* ConvertPage::emptyPage()
{
    auto* page = new QWidget;
    auto* layout = new QVBoxLayout{page};
    layout->setContentsMargins(40, 24, 40, 24);
    layout->setSpacing(14);
    sphere_ = new SphereView{sphereSide};
    sphere_->setAccessibleName(shown("Choisir des fichiers à convertir"_fr));
    sphere_->setAccessibleDescription(shown("Déposez des fichiers ici, ou appuyez pour en choisir."_fr));
    connect(sphere_, &QAbstractButton::clicked, this, [this] { chooseFiles(); });
    auto* title = titleLabel(shown("Déposez des fichiers"_fr));
    auto* explanation = quietLabel(shown(
        "NIVEX reconnaît ce qu’ils sont vraiment et propose ce qu’ils peuvent devenir. Rien ne quitte cette machine."_fr));
    for (QLabel* label : {title, explanation})
        label->setAlignment(Qt::AlignCenter);
    chooseFiles_ = primaryButton(shown("Choisir des fichiers…"_fr));
    connect(chooseFiles_, &QPushButton::clicked, this, [this] { chooseFiles(); });
    layout->addStretch(2);
    layout->addWidget(sphere_, 0, Qt::AlignHCenter);
    layout->addWidget(title);
    layout->addWidget(explanation);
    layout->addWidget(chooseFiles_, 0, Qt::AlignHCenter);
    layout->addStretch(3);
    recent_ = new QVBoxLayout;
    recent_->setSpacing(2);
    layout->addLayout(recent_);
    return page;
}

void ConvertPage::showRecent()
{
    while (QLayoutItem* item = recent_->takeAt(0)) {
        delete item->widget();
        delete item;
    }
    const std::vector<HistoryEntry>& entries = application_.model().history().entries();
    std::size_t count = 0;
    for (const HistoryEntry& entry : entries) {
        if (entry.status != HistoryEntry::Status::succeeded || entry.outputPaths.empty())
            continue;
        if (count == 0)
            recent_->addWidget(quietLabel(shown("Récemment"_fr)), 0, Qt::AlignHCenter);
        auto* link = button(shown(entry.sourceName + " → " + shownPath(entry.outputURLs().front().filename())));
        link->setProperty("rank", QStringLiteral("link"));
        link->setToolTip(shown(entry.outputURLs().front()));
        connect(link, &QPushButton::clicked, this, [files = entry.outputURLs()] { showInFolder(files); });
        recent_->addWidget(link, 0, Qt::AlignHCenter);
        if (++count == recentItems)
            break;
    }
}

void ConvertPage::chooseFiles()
{
    std::vector<std::filesystem::path> files;
    for (const QString& file : QFileDialog::getOpenFileNames(this, shown("Fichiers à convertir"_fr)))
        files.push_back(pathOf(file));
    if (!files.empty())
        window_.putIn(std::move(files));
}

void ConvertPage::focusFirst() { chooseFiles_->setFocus(); }

void ConvertPage::setHeldOver(bool isHeldOver)
{
    sphere_->setMood(isHeldOver ? SphereMood::hovered : SphereMood::resting);
}

// MARK: Files

QWidget* ConvertPage::filesPage()
{
    auto* page = new QWidget;
    auto* layout = new QVBoxLayout{page};
    layout->setContentsMargins(28, 22, 28, 22);
    layout->setSpacing(12);

    auto* head = new QHBoxLayout;
    summary_ = titleLabel({});
    up_ = button(shown("Monter"_fr));
    down_ = button(shown("Descendre"_fr));
    auto* more = button(shown("Ajouter…"_fr));
    auto* clear = button(shown("Tout retirer"_fr));
    connect(up_, &QPushButton::clicked, this, [this] { moveSelected(-1); });
    connect(down_, &QPushButton::clicked, this, [this] { moveSelected(1); });
    connect(more, &QPushButton::clicked, this, [this] { chooseFiles(); });
    connect(clear, &QPushButton::clicked, this, [this] { application_.center().clear(); });
    head->addWidget(summary_, 1);
    for (QPushButton* each : {up_, down_, more, clear})
        head->addWidget(each);
    layout->addLayout(head);

    files_ = new QTreeView;
    files_->setModel(&fileModel_);
    files_->setRootIsDecorated(false);
    files_->setUniformRowHeights(true);
    files_->setSelectionMode(QAbstractItemView::ExtendedSelection);
    files_->setAllColumnsShowFocus(true);
    files_->setAccessibleName(shown("Fichiers à convertir"_fr));
    files_->header()->setStretchLastSection(true);
    files_->setColumnWidth(FileTableModel::name, 230);
    files_->setColumnWidth(FileTableModel::format, 120);
    files_->setColumnWidth(FileTableModel::size, 90);
    files_->setColumnWidth(FileTableModel::details, 190);
    auto* remove = new QAction{shown("Retirer de la liste"_fr), files_};
    remove->setShortcut(QKeySequence::Delete);
    remove->setShortcutContext(Qt::WidgetShortcut);
    connect(remove, &QAction::triggered, this, [this] { removeSelected(); });
    files_->addAction(remove);
    files_->setContextMenuPolicy(Qt::ActionsContextMenu);
    layout->addWidget(files_);

    problems_ = new QLabel;
    problems_->setWordWrap(true);
    layout->addWidget(problems_);

    auto* lower = new QHBoxLayout;
    lower->setSpacing(18);
    lower->addWidget(offersArea(), 1);
    choice_ = new ChoicePanel{application_};
    lower->addWidget(choice_);
    layout->addLayout(lower, 1);
    return page;
}

QWidget* ConvertPage::offersArea()
{
    auto* area = new QWidget;
    auto* layout = new QVBoxLayout{area};
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(headingLabel(shown("Convertir en"_fr)));
    noOffer_ = quietLabel({});
    layout->addWidget(noOffer_);
    bubbleField_ = new QWidget;
    new FlowLayout{6, bubbleField_};
    auto* scroll = new QScrollArea;
    scroll->setWidgetResizable(true);
    scroll->setFocusPolicy(Qt::NoFocus);
    scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    scroll->setWidget(bubbleField_);
    layout->addWidget(scroll, 1);
    return area;
}

void ConvertPage::refresh()
{
    const ConversionCenter& center = application_.center();
    const bool isEmpty = center.files().empty() && !center.isLooking();
    fileModel_.show(center.files());
    if (isEmpty) {
        showRecent();
        shownOffers_.clear();
    }
    states_->setCurrentIndex(isEmpty ? 0 : 1);
    if (!isEmpty) {
        summary_->setText(shown(summaryOf(center)));
        problems_->setText(shown(joined(center.problems(), "\n")));
        problems_->setVisible(!center.problems().empty());
        const bool areCombined = center.chosen() && center.chosen()->purpose == OfferPurpose::combine;
        up_->setVisible(areCombined);
        down_->setVisible(areCombined);
        fitTable();
        showOffers();
        keepChoiceValid();
        choice_->refresh();
    }
    wasEmpty_ = isEmpty;
}

/// As high as its rows, so that a few files leave the room to what they can become.
void ConvertPage::fitTable()
{
    constexpr int mostRows = 8;
    const int rows = std::clamp(fileModel_.rowCount(), 1, mostRows);
    const int row = std::max(files_->sizeHintForRow(0), 28);
    files_->setFixedHeight(files_->header()->sizeHint().height() + rows * row + 8);
}

void ConvertPage::showOffers()
{
    const ConversionCenter& center = application_.center();
    noOffer_->setText(shown(center.whyNoOffer()));
    noOffer_->setVisible(!noOffer_->text().isEmpty());
    if (shownOffers_ == center.offers())
        return;
    const bool hadFocus = wasEmpty_ || (bubbles_ && focusWidget() && bubbles_->buttons().contains(focusWidget()));
    shownOffers_ = center.offers();
    delete bubbles_;
    bubbles_ = new QButtonGroup{this};
    QLayout* flow = bubbleField_->layout();
    while (QLayoutItem* item = flow->takeAt(0)) {
        delete item->widget();
        delete item;
    }
    for (const TargetOffer& offer : shownOffers_) {
        auto* bubble = new Bubble{offer, bubbleField_};
        bubbles_->addButton(bubble);
        flow->addWidget(bubble);
        bubble->show(); // what is not shown yet takes no focus
        bubble->setChecked(center.chosen() && center.chosen()->id() == offer.id());
        connect(bubble, &QAbstractButton::toggled, this, [this, offer](bool isChecked) {
            if (isChecked)
                choose(offer);
        });
        if (bubble->isChecked() && hadFocus)
            bubble->setFocus();
    }
}

/// Something is always chosen while there is something to choose: the first proposal, until a person says otherwise.
void ConvertPage::keepChoiceValid()
{
    const ConversionCenter& center = application_.center();
    if (center.chosen() || shownOffers_.empty())
        return;
    QAbstractButton* first = bubbles_->buttons().front();
    first->setFocus();
    first->setChecked(true);
}

void ConvertPage::choose(const TargetOffer& offer)
{
    ConversionCenter& center = application_.center();
    if (!center.chosen() || !(center.chosen()->id() == offer.id()))
        center.choose(offer.id(), application_.settingsFor(offer));
}

void ConvertPage::removeSelected()
{
    std::vector<std::size_t> places;
    for (const QModelIndex& row : files_->selectionModel()->selectedRows())
        places.push_back(static_cast<std::size_t>(row.row()));
    application_.center().remove(std::move(places));
}

void ConvertPage::moveSelected(int by)
{
    const QModelIndex current = files_->currentIndex();
    const int target = current.row() + by;
    if (!current.isValid() || target < 0 || target >= fileModel_.rowCount())
        return;
    application_.center().move(static_cast<std::size_t>(current.row()), static_cast<std::size_t>(target));
    files_->setCurrentIndex(fileModel_.index(target, 0));
}

} // namespace nivex::desktop
