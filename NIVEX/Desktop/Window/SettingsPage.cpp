#include "NIVEX/Desktop/Window/SettingsPage.hpp"

#include "NIVEX/Desktop/Application.hpp"
#include "NIVEX/Desktop/Look/Look.hpp"
#include "NIVEX/Desktop/Look/Shown.hpp"
#include "NIVEX/Desktop/Window/OptionFields.hpp"
#include "NIVEX/Model/JobCount.hpp"

#include <QCheckBox>
#include <QComboBox>
#include <QFileDialog>
#include <QFormLayout>
#include <QLabel>
#include <QScrollArea>
#include <QSpinBox>
#include <QVBoxLayout>

namespace nivex::desktop {
namespace {

using Kind = ConversionOptionKind;

/// The settings for all conversions, by what they are about. The targets are ones that take every value.
struct OptionSection {
    Text title;
    ConversionOptionKinds kinds;
    const char* target;
};

// clang-format off
const OptionSection optionSections[] = {
    {"Images"_fr,            {Kind::quality, Kind::metadata, Kind::colorProfile, Kind::dimensions, Kind::background}, "jpeg"},
    {"Pages et documents"_fr, {Kind::renderResolution},                                                               "png"},
    {"Vidéo et son"_fr,       {Kind::videoQuality, Kind::audioQuality},                                               "mov"},
};
// clang-format on

/// A list of choices of which one is in force.
template <class Value, class Choose>
QComboBox* choices(const std::vector<std::pair<QString, Value>>& all, Value current, const Choose& choose)
{
    auto* box = new QComboBox;
    for (const auto& [text, value] : all) {
        box->addItem(text);
        if (value == current)
            box->setCurrentIndex(box->count() - 1);
    }
    QObject::connect(box, &QComboBox::activated, box,
                     [all, choose](int index) { choose(all[static_cast<std::size_t>(index)].second); });
    return box;
}

} // namespace

SettingsPage::SettingsPage(Application& application) : application_{application}
{
    auto* whole = new QVBoxLayout{this};
    whole->setContentsMargins(28, 22, 0, 0);
    whole->addWidget(titleLabel(shown("Réglages"_fr)));
    auto* content = new QWidget;
    auto* layout = new QVBoxLayout{content};
    layout->setContentsMargins(0, 6, 28, 22);
    layout->setSpacing(14);
    addGeneral(*section(*layout, shown("Général"_fr)));
    for (const OptionSection& each : optionSections) {
        auto* fields = new OptionFields;
        fields->show(optionControls(each.kinds, *FormatRegistry::standard().format(each.target),
                                    application_.preferences().options));
        fields->onChange = [this](const OptionControl& control) {
            application_.changePreferences([&](Preferences& preferences) {
                OptionOverrides changed;
                apply(control, changed);
                preferences.options = changed.appliedTo(preferences.options);
            });
        };
        section(*layout, shown(each.title))->addRow(fields);
    }
    addPrivacy(*section(*layout, shown("Confidentialité et historique"_fr)));
    addIsolation(*section(*layout, shown("Isolation"_fr)));
    addAbout(*section(*layout, shown("À propos"_fr)));
    layout->addStretch(1);
    auto* scroll = new QScrollArea;
    scroll->setWidgetResizable(true);
    scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    scroll->setFocusPolicy(Qt::NoFocus);
    scroll->setWidget(content);
    whole->addWidget(scroll, 1);
}

QFormLayout* SettingsPage::section(QVBoxLayout& layout, const QString& title)
{
    auto* card = new QFrame;
    card->setProperty("rank", QStringLiteral("card"));
    card->setMaximumWidth(680);
    auto* inside = new QVBoxLayout{card};
    inside->setContentsMargins(20, 16, 20, 18);
    inside->setSpacing(12);
    inside->addWidget(headingLabel(title));
    auto* form = new QFormLayout;
    form->setHorizontalSpacing(18);
    form->setVerticalSpacing(10);
    form->setFieldGrowthPolicy(QFormLayout::FieldsStayAtSizeHint);
    inside->addLayout(form);
    layout.addWidget(card);
    return form;
}

void SettingsPage::addGeneral(QFormLayout& form)
{
    form.addRow(shown("Langue"_fr), choices<Language>({{QStringLiteral("Français"), Language::french},
                                                       {QStringLiteral("English"), Language::english}},
                                                      application_.preferences().language, [this](Language language) {
                                                          application_.changePreferences([=](Preferences& preferences) {
                                                              preferences.language = language;
                                                          });
                                                      }));
    form.addRow(shown("Enregistrer"_fr), destinationField());
    auto* jobs = new QSpinBox;
    jobs->setButtonSymbols(QAbstractSpinBox::NoButtons);
    jobs->setRange(0, Preferences::maxJobs);
    jobs->setSpecialValueText(shown(filled("Automatique ({})"_fr, {std::to_string(jobsOfThisMachine())})));
    jobs->setValue(application_.preferences().jobs.value_or(0));
    jobs->setKeyboardTracking(false);
    connect(jobs, &QSpinBox::valueChanged, this, [this](int value) {
        application_.changePreferences(
            [=](Preferences& preferences) { preferences.jobs = value > 0 ? std::optional{value} : std::nullopt; });
    });
    form.addRow(shown("Conversions à la fois"_fr), jobs);
    const std::pair<Text, bool DesktopState::*> switches[] = {
        {"Donner aux résultats la date de l’original"_fr, &DesktopState::keepsDate},
    };
    for (const auto& [text, flag] : switches) {
        auto* box = new QCheckBox{shown(text)};
        box->setChecked(application_.state().*flag);
        connect(box, &QCheckBox::toggled, this, [this, flag](bool isOn) {
            application_.changeState([=](DesktopState& state) { state.*flag = isOn; });
        });
        form.addRow(box);
    }
}

QWidget* SettingsPage::destinationField()
{
    auto* box = new QComboBox;
    const auto show = [this, box] {
        const auto* folder = std::get_if<DestinationFolder>(&application_.preferences().destination);
        box->clear();
        box->addItem(shown("À côté de l’original"_fr));
        box->addItem(folder ? shown(folder->location) : shown("Choisir un dossier…"_fr));
        if (folder)
            box->addItem(shown("Choisir un dossier…"_fr));
        box->setCurrentIndex(folder ? 1 : 0);
    };
    show();
    connect(box, &QComboBox::activated, this, [this, box, show](int index) {
        std::optional<OutputDestination> chosen;
        if (index == 0) {
            chosen = SameFolderAsSource{};
        } else if (index == box->count() - 1) {
            const QString folder = QFileDialog::getExistingDirectory(this, shown("Dossier de destination"_fr));
            if (!folder.isEmpty())
                chosen = DestinationFolder{pathOf(folder)};
        }
        if (chosen)
            application_.changePreferences([&](Preferences& preferences) { preferences.destination = *chosen; });
        show();
    });
    return box;
}

void SettingsPage::addPrivacy(QFormLayout& form)
{
    std::vector<std::pair<QString, HistoryRetention>> retentions;
    for (const HistoryRetention each : allRetentions())
        retentions.emplace_back(shown(label(each)), each);
    form.addRow(
        shown("Garder l’historique"_fr),
        choices<HistoryRetention>(retentions, application_.preferences().retention, [this](HistoryRetention choice) {
            application_.changePreferences([=](Preferences& preferences) { preferences.retention = choice; });
        }));
    form.addRow(quietLabel(shown("Tout se passe sur cette machine. Les originaux ne sont jamais modifiés."_fr)));
}

void SettingsPage::addIsolation(QFormLayout& form)
{
    form.addRow(quietLabel(shown(
        "Chaque fichier est décodé dans un programme séparé qui ne peut lire que lui et n’atteint pas le réseau."_fr)));
    auto* box = new QCheckBox{shown("Convertir même là où le système ne permet pas cette isolation entière"_fr)};
    box->setChecked(application_.preferences().incompleteSandbox == IncompleteSandbox::proceed);
    connect(box, &QCheckBox::toggled, this, [this](bool isOn) {
        application_.changePreferences([=](Preferences& preferences) {
            preferences.incompleteSandbox = isOn ? IncompleteSandbox::proceed : IncompleteSandbox::refuse;
        });
    });
    form.addRow(box);
    form.addRow(quietLabel(shown("Ce choix vaut à partir du prochain démarrage."_fr)));
}

void SettingsPage::addAbout(QFormLayout& form)
{
    form.addRow(new QLabel{shown(filled("NIVEX {}"_fr, {NIVEX_VERSION}))});
    form.addRow(quietLabel(shown(filled("Fenêtres : Qt {} (LGPL 3)"_fr, {qVersion()}))));
}

} // namespace nivex::desktop
