#include "NIVEX/Desktop/Window/ChoicePanel.hpp"

#include "NIVEX/Desktop/Application.hpp"
#include "NIVEX/Desktop/Look/Look.hpp"
#include "NIVEX/Desktop/Look/Shown.hpp"
#include "NIVEX/Desktop/Window/OptionFields.hpp"
#include "NIVEX/Model/Wording.hpp"

#include <QComboBox>
#include <QFileDialog>
#include <QLabel>
#include <QPushButton>
#include <QScrollArea>
#include <QShortcut>
#include <QVBoxLayout>

namespace nivex::desktop {
namespace {

enum Destination { besideOriginal, chosenFolder, otherFolder };

/// One remark a line; how many files it is about where they are not all.
QString linesOf(const std::vector<Remark>& remarks, std::size_t files)
{
    std::vector<std::string> lines;
    for (const Remark& remark : remarks)
        lines.push_back(remark.files < files ? filled("{} ({} sur {})"_fr, {remark.text, std::to_string(remark.files),
                                                                            std::to_string(files)})
                                             : remark.text);
    return shown(joined(lines, "\n"));
}

QString actionOf(const TargetOffer& offer, std::size_t files)
{
    constexpr Counted converting{"Convertir en {}"_fr, "Convertir {} fichiers en {}"_fr};
    constexpr Counted lightening{"Alléger le fichier"_fr, "Alléger {} fichiers"_fr};
    switch (offer.purpose) {
    case OfferPurpose::convert:
        return shown(files < 2 ? filled(converting.one, {offer.target.name})
                               : filled(converting.several, {std::to_string(files), offer.target.name}));
    case OfferPurpose::lighten:
        return shown(lightening.of(files < 2 ? 1 : files));
    case OfferPurpose::combine:
        return shown(filled("Réunir en un seul {}"_fr, {offer.target.name}));
    }
    return {};
}

void showText(QLabel& label, const QString& text)
{
    label.setText(text);
    label.setVisible(!text.isEmpty());
}

void color(QLabel& label, const QColor& color)
{
    QPalette palette = label.palette();
    palette.setColor(QPalette::WindowText, color);
    label.setPalette(palette);
}

} // namespace

ChoicePanel::ChoicePanel(Application& application, QWidget* parent) : QFrame{parent}, application_{application}
{
    setProperty("rank", QStringLiteral("card"));
    setFixedWidth(330);
    auto* whole = new QVBoxLayout{this};
    whole->setContentsMargins(18, 16, 18, 16);
    whole->setSpacing(10);

    auto* content = new QWidget;
    auto* layout = new QVBoxLayout{content};
    layout->setContentsMargins(0, 0, 6, 0);
    layout->setSpacing(10);
    title_ = headingLabel({});
    route_ = quietLabel({});
    warnings_ = new QLabel;
    refusals_ = new QLabel;
    for (QLabel* label : {warnings_, refusals_}) {
        label->setWordWrap(true);
        label->setTextFormat(Qt::PlainText);
    }
    color(*warnings_, Look::current().warning);
    color(*refusals_, Look::current().failure);
    fields_ = new OptionFields;
    fields_->onChange = [this](const OptionControl& control) {
        OptionOverrides settings = application_.center().settings();
        apply(control, settings);
        application_.center().setSettings(settings);
    };
    for (QWidget* each :
         {static_cast<QWidget*>(title_), static_cast<QWidget*>(route_), static_cast<QWidget*>(warnings_),
          static_cast<QWidget*>(refusals_), static_cast<QWidget*>(fields_)})
        layout->addWidget(each);
    layout->addStretch(1);
    auto* scroll = new QScrollArea;
    scroll->setWidgetResizable(true);
    scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    scroll->setFocusPolicy(Qt::NoFocus);
    scroll->setWidget(content);
    whole->addWidget(scroll, 1);

    auto* where = new QLabel{shown("Enregistrer"_fr)};
    destination_ = new QComboBox;
    where->setBuddy(destination_);
    connect(destination_, &QComboBox::activated, this, [this](int index) { chooseDestination(index); });
    destinationProblem_ = new QLabel;
    destinationProblem_->setWordWrap(true);
    color(*destinationProblem_, Look::current().failure);
    convert_ = primaryButton({});
    // A shortcut of the button itself would go with its text.
    const QKeySequence keys{Qt::CTRL | Qt::Key_Return};
    connect(new QShortcut{keys, this}, &QShortcut::activated, convert_, [this] { convert_->click(); });
    convert_->setToolTip(keys.toString(QKeySequence::NativeText));
    connect(convert_, &QPushButton::clicked, this, [this] { convert(); });
    whole->addWidget(where);
    whole->addWidget(destination_);
    whole->addWidget(destinationProblem_);
    whole->addWidget(convert_);
}

void ChoicePanel::refresh()
{
    const ConversionCenter& center = application_.center();
    const TargetOffer* offer = center.chosen();
    setVisible(offer != nullptr);
    if (!offer) {
        shownOffer_.reset();
        return;
    }
    if (shownOffer_ != offer->id()) {
        shownOffer_ = offer->id();
        title_->setText(shown(offer->purpose == OfferPurpose::convert ? offer->target.longName : offer->title()));
        fields_->show(optionControls(offer->options, offer->target,
                                     center.settings().appliedTo(application_.preferences().options)));
    }
    showText(*route_,
             shown(offer->hasSeveralRoutes ? "Chaque fichier par son meilleur chemin"_fr.localized() : offer->route));
    const std::optional<Judgement>& judgement = center.judgement();
    const std::size_t files = judgement ? judgement->files : center.usableFiles();
    if (judgement) {
        color(*warnings_, judgement->warnings.empty() ? Look::current().success : Look::current().warning);
        showText(*warnings_,
                 judgement->warnings.empty() ? shown("Rien n’est perdu."_fr) : linesOf(judgement->warnings, files));
        showText(*refusals_, linesOf(judgement->refusals, 0));
        showText(*destinationProblem_, shown(judgement->destination));
    }
    convert_->setText(actionOf(*offer, files));
    convert_->setEnabled(!judgement || (judgement->files > 0 && judgement->destination.empty()));
    showDestination();
}

void ChoicePanel::showDestination()
{
    const auto* folder = std::get_if<DestinationFolder>(&application_.center().destination());
    destination_->clear();
    destination_->addItem(shown("À côté de l’original"_fr), besideOriginal);
    if (folder)
        destination_->addItem(shown(filled("Dans « {} »"_fr, {shownPath(folder->location.filename())})), chosenFolder);
    destination_->addItem(shown("Choisir un dossier…"_fr), otherFolder);
    destination_->setCurrentIndex(folder ? 1 : 0);
    destination_->setToolTip(folder ? shown(folder->location) : QString{});
}

void ChoicePanel::chooseDestination(int index)
{
    const int choice = destination_->itemData(index).toInt();
    if (choice == besideOriginal)
        application_.center().setDestination(SameFolderAsSource{});
    if (choice == otherFolder) {
        const QString folder = QFileDialog::getExistingDirectory(this, shown("Dossier de destination"_fr));
        if (!folder.isEmpty())
            application_.center().setDestination(DestinationFolder{pathOf(folder)});
    }
    showDestination();
}

void ChoicePanel::convert()
{
    const TargetOffer* offer = application_.center().chosen();
    if (!offer)
        return;
    application_.changeState([&](DesktopState& state) {
        state.settings[DesktopState::keyOf(offer->id())] = application_.center().settings();
    });
    application_.center().convert();
}

} // namespace nivex::desktop
