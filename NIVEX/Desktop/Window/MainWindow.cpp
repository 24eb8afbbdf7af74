#include "NIVEX/Desktop/Window/MainWindow.hpp"

#include "NIVEX/Desktop/Application.hpp"
#include "NIVEX/Desktop/Look/Icons.hpp"
#include "NIVEX/Desktop/Look/Look.hpp"
#include "NIVEX/Desktop/Look/Shown.hpp"
#include "NIVEX/Desktop/Session/Files.hpp"
#include "NIVEX/Desktop/Window/ConvertPage.hpp"
#include "NIVEX/Desktop/Window/HistoryPage.hpp"
#include "NIVEX/Desktop/Window/JobsPage.hpp"
#include "NIVEX/Desktop/Window/RecipesPage.hpp"
#include "NIVEX/Desktop/Window/SettingsPage.hpp"
#include "NIVEX/Model/Wording.hpp"

#include <QButtonGroup>
#include <QCloseEvent>
#include <QDragEnterEvent>
#include <QFrame>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QShortcut>
#include <QStackedWidget>
#include <QTimer>
#include <QVBoxLayout>

namespace nivex::desktop {
namespace {

constexpr std::chrono::seconds noticeTime{12};

struct PlaceRow {
    Place place;
    Text name;
    Picture picture;
};

// clang-format off
constexpr PlaceRow placeRows[] = {
    {Place::convert,  "Convertir"_fr,  Picture::convert},
    {Place::jobs,     "Travaux"_fr,    Picture::jobs},
    {Place::history,  "Historique"_fr, Picture::history},
    {Place::recipes,  "Raccourcis"_fr, Picture::recipes},
    {Place::settings, "Réglages"_fr,   Picture::settings},
};
// clang-format on

std::string sentenceOf(const std::vector<Remark>& refusals)
{
    std::vector<std::string> parts;
    for (const Remark& refusal : refusals)
        parts.push_back(refusal.files == 1
                            ? refusal.text
                            : filled("{} fichiers : {}"_fr, {std::to_string(refusal.files), refusal.text}));
    return joined(parts, " ");
}

} // namespace

MainWindow::MainWindow(Application& application) : application_{application}, places_{new QButtonGroup{this}}
{
    setWindowTitle(QStringLiteral("NIVEX"));
    setWindowIcon(sphereIcon());
    setAcceptDrops(true);
    setMinimumSize(860, 600);
    resize(1080, 740);
    restoreGeometry(QByteArray::fromBase64(QByteArray::fromStdString(application_.state().windowGeometry)));

    auto* columns = new QHBoxLayout{this};
    columns->setContentsMargins(0, 0, 0, 0);
    columns->setSpacing(0);
    pages_ = new QStackedWidget;
    convert_ = new ConvertPage{application_, *this};
    jobs_ = new JobsPage{application_, *this};
    history_ = new HistoryPage{application_, *this};
    recipes_ = new RecipesPage{application_, *this};
    settings_ = new SettingsPage{application_};
    for (QWidget* page :
         {static_cast<QWidget*>(convert_), static_cast<QWidget*>(jobs_), static_cast<QWidget*>(history_),
          static_cast<QWidget*>(recipes_), static_cast<QWidget*>(settings_)})
        pages_->addWidget(page);
    notice_ = new QLabel;
    notice_->setWordWrap(true);
    notice_->setContentsMargins(28, 10, 28, 12);
    notice_->setVisible(false);
    notice_->setTextFormat(Qt::PlainText);
    auto* right = new QVBoxLayout;
    right->setSpacing(0);
    right->addWidget(pages_, 1);
    right->addWidget(notice_);
    columns->addWidget(sidebar());
    columns->addLayout(right, 1);
    addShortcuts();

    ConversionCenter& center = application_.center();
    center.onChange = [this] { convert_->refresh(); };
    center.onQueued = [this](std::optional<Uuid> batch, const std::vector<Remark>& refusals) {
        if (!refusals.empty())
            tell(shown(sentenceOf(refusals)));
        if (!batch)
            return;
        application_.center().clear();
        go(Place::jobs);
        jobs_->show(*batch);
    };
    go(Place::convert);
    convert_->focusFirst();
}

MainWindow::~MainWindow()
{
    application_.center().onChange = nullptr;
    application_.center().onQueued = nullptr;
}

QWidget* MainWindow::sidebar()
{
    auto* bar = new QFrame;
    bar->setObjectName(QStringLiteral("sidebar"));
    bar->setFixedWidth(188);
    auto* layout = new QVBoxLayout{bar};
    layout->setContentsMargins(12, 22, 12, 16);
    layout->setSpacing(4);
    for (const PlaceRow& row : placeRows) {
        auto* place = button(shown(row.name));
        place->setProperty("rank", QStringLiteral("place"));
        place->setCheckable(true);
        place->setIcon(icon(row.picture, Look::current().quiet));
        place->setIconSize({20, 20});
        places_->addButton(place, static_cast<int>(row.place));
        layout->addWidget(place);
    }
    layout->addStretch(1);
    connect(places_, &QButtonGroup::idClicked, this, [this](int id) { go(static_cast<Place>(id)); });
    return bar;
}

void MainWindow::addShortcuts()
{
    const auto on = [this](const QKeySequence& keys, auto action) {
        connect(new QShortcut{keys, this}, &QShortcut::activated, this, action);
    };
    for (const PlaceRow& row : placeRows)
        on(QKeySequence{QKeyCombination{Qt::CTRL, static_cast<Qt::Key>(Qt::Key_1 + static_cast<int>(row.place))}},
           [this, place = row.place] { go(place); });
    on(QKeySequence::Open, [this] {
        go(Place::convert);
        convert_->chooseFiles();
    });
    on(QKeySequence::Find, [this] {
        go(Place::history);
        history_->focusSearch();
    });
    on(QKeySequence::Quit, [this] { close(); });
}

void MainWindow::putIn(std::vector<std::filesystem::path> files)
{
    if (files.empty())
        return;
    go(Place::convert);
    application_.center().add(std::move(files));
}

void MainWindow::go(Place place)
{
    if (place == Place::history)
        history_->refresh();
    if (place == Place::recipes)
        recipes_->refresh();
    places_->button(static_cast<int>(place))->setChecked(true);
    pages_->setCurrentIndex(static_cast<int>(place));
}

void MainWindow::tell(const QString& sentence)
{
    notice_->setText(sentence);
    notice_->setVisible(true);
    QTimer::singleShot(noticeTime, notice_, [this, sentence] {
        if (notice_->text() == sentence)
            notice_->setVisible(false);
    });
}

void MainWindow::dragEnterEvent(QDragEnterEvent* event)
{
    if (!event->mimeData()->hasUrls())
        return;
    // A move would have the source delete the original.
    event->setDropAction(Qt::CopyAction);
    event->accept();
    convert_->setHeldOver(true);
}

void MainWindow::dragLeaveEvent(QDragLeaveEvent*) { convert_->setHeldOver(false); }

void MainWindow::dropEvent(QDropEvent* event)
{
    convert_->setHeldOver(false);
    event->setDropAction(Qt::CopyAction);
    event->accept();
    Intake intake = Intake::of(*event->mimeData());
    if (!intake.problem.isEmpty())
        tell(intake.problem);
    putIn(std::move(intake.files));
}

bool MainWindow::mayClose()
{
    if (!application_.model().queue().isBusy())
        return true;
    QMessageBox question{QMessageBox::Question, QStringLiteral("NIVEX"), shown("Des conversions sont en cours."_fr),
                         QMessageBox::NoButton, this};
    question.setInformativeText(shown("Quitter les annule. Les originaux ne changent pas."_fr));
    const auto* quit = question.addButton(shown("Quitter"_fr), QMessageBox::DestructiveRole);
    question.setDefaultButton(question.addButton(shown("Continuer les conversions"_fr), QMessageBox::RejectRole));
    question.exec();
    return question.clickedButton() == quit;
}

void MainWindow::closeEvent(QCloseEvent* event)
{
    if (!mayClose()) {
        event->ignore();
        return;
    }
    application_.changeState(
        [this](DesktopState& state) { state.windowGeometry = saveGeometry().toBase64().toStdString(); });
    event->accept();
}

} // namespace nivex::desktop
