#include "NIVEX/Desktop/Window/RecipesPage.hpp"

#include "NIVEX/Desktop/Application.hpp"
#include "NIVEX/Desktop/Look/Look.hpp"
#include "NIVEX/Desktop/Look/Shown.hpp"
#include "NIVEX/Desktop/Window/EmptyPage.hpp"
#include "NIVEX/Desktop/Window/MainWindow.hpp"
#include "NIVEX/Model/RecipeWording.hpp"
#include "NIVEX/Model/Wording.hpp"

#include "NivexKit/Recipes/TargetCapabilities.hpp"

#include <QFile>
#include <QFileDialog>
#include <QInputDialog>
#include <QLabel>
#include <QListWidget>
#include <QLocale>
#include <QPushButton>
#include <QSaveFile>
#include <QStackedLayout>
#include <QVBoxLayout>

namespace nivex::desktop {
namespace {

QString fileFilter() { return shown("Raccourcis NIVEX (*.json)"_fr); }

} // namespace

RecipesPage::RecipesPage(Application& application, MainWindow& window) : application_{application}, window_{window}
{
    auto* layout = new QVBoxLayout{this};
    layout->setContentsMargins(28, 22, 28, 22);
    layout->setSpacing(12);
    auto* head = new QHBoxLayout;
    head->addWidget(titleLabel(shown("Raccourcis"_fr)), 1);
    auto* import = button(shown("Importer…"_fr));
    connect(import, &QPushButton::clicked, this, [this] { importRecipe(); });
    head->addWidget(import);
    layout->addLayout(head);

    auto* states = new QWidget;
    states_ = new QStackedLayout{states};
    states_->addWidget(emptyPage(
        shown("Aucun raccourci"_fr),
        shown("Un raccourci garde un format de sortie et ses réglages. Importez celui que l’on vous a envoyé."_fr)));
    auto* content = new QWidget;
    auto* columns = new QHBoxLayout{content};
    columns->setContentsMargins(0, 0, 0, 0);
    columns->setSpacing(18);
    list_ = new QListWidget;
    list_->setAccessibleName(shown("Raccourcis"_fr));
    list_->setFixedWidth(260);
    connect(list_, &QListWidget::currentRowChanged, this, [this] { showSelected(); });
    columns->addWidget(list_);
    columns->addWidget(detailArea(), 1);
    states_->addWidget(content);
    layout->addWidget(states, 1);
    unreadable_ = quietLabel({});
    layout->addWidget(unreadable_);
}

QWidget* RecipesPage::detailArea()
{
    auto* area = new QFrame;
    area->setProperty("rank", QStringLiteral("card"));
    auto* layout = new QVBoxLayout{area};
    layout->setContentsMargins(20, 18, 20, 18);
    layout->setSpacing(12);
    title_ = headingLabel({});
    blocks_ = new QLabel;
    blocks_->setWordWrap(true);
    blocks_->setTextFormat(Qt::PlainText);
    warnings_ = quietLabel({});
    run_ = primaryButton(shown("Utiliser sur les fichiers choisis"_fr));
    connect(run_, &QPushButton::clicked, this, [this] { runSelected(); });
    auto* actions = new QHBoxLayout;
    const std::pair<Text, void (RecipesPage::*)()> rows[] = {
        {"Exporter…"_fr, &RecipesPage::exportSelected},
        {"Renommer…"_fr, &RecipesPage::renameSelected},
        {"Supprimer"_fr, &RecipesPage::removeSelected},
    };
    actions->addWidget(run_);
    actions->addStretch(1);
    for (const auto& [text, act] : rows) {
        auto* each = button(shown(text));
        connect(each, &QPushButton::clicked, this, [this, act] { (this->*act)(); });
        actions->addWidget(each);
        actions_.push_back(each);
    }
    layout->addWidget(title_);
    layout->addWidget(blocks_);
    layout->addWidget(warnings_);
    layout->addStretch(1);
    layout->addLayout(actions);
    return area;
}

void RecipesPage::refresh()
{
    const ConversionRecipe* before = selected();
    const std::optional<Uuid> id = before ? std::optional{before->id} : std::nullopt;
    RecipeLibrary::Listing listing = application_.model().recipes().list();
    recipes_ = std::move(listing.recipes);
    list_->clear();
    for (const RecipeLibrary::Kept& kept : recipes_) {
        list_->addItem(shown(kept.recipe.name));
        if (id == kept.recipe.id)
            list_->setCurrentRow(list_->count() - 1);
    }
    if (list_->currentRow() < 0 && !recipes_.empty())
        list_->setCurrentRow(0);
    std::vector<std::string> problems;
    for (const RecipeLibrary::Unreadable& each : listing.unreadable)
        problems.push_back(shownPath(each.file.filename()) + " : " + each.message);
    unreadable_->setText(shown(joined(problems, "\n")));
    unreadable_->setVisible(!problems.empty());
    states_->setCurrentIndex(recipes_.empty() ? 0 : 1);
    showSelected();
}

const ConversionRecipe* RecipesPage::selected() const
{
    const int row = list_->currentRow();
    return row >= 0 && static_cast<std::size_t>(row) < recipes_.size() ? &recipes_[static_cast<std::size_t>(row)].recipe
                                                                       : nullptr;
}

void RecipesPage::showSelected()
{
    const ConversionRecipe* recipe = selected();
    for (QPushButton* each : actions_)
        each->setEnabled(recipe != nullptr);
    run_->setEnabled(recipe && application_.center().usableFiles() > 0);
    run_->setToolTip(run_->isEnabled() ? QString{} : shown("Déposez d’abord des fichiers."_fr));
    if (!recipe)
        return;
    title_->setText(shown(recipe->name));
    blocks_->setText(shown(joined(describeBlocks(*recipe), "\n")));
    std::vector<std::string> lines;
    if (const auto target = recipe->target())
        lines = recipe->compatibilityWarnings(TargetCapabilities::of(*target, application_.model().engines()));
    if (!lines.empty())
        lines.insert(lines.begin(), "Ces blocs ne sont pas appliqués par cette conversion : "_fr);
    warnings_->setText(shown(joined(lines, "\n")));
    warnings_->setVisible(!lines.empty());
}

void RecipesPage::importRecipe()
{
    const QString name = QFileDialog::getOpenFileName(this, shown("Choisissez un raccourci NIVEX partagé (.json)."_fr),
                                                      {}, fileFilter());
    if (name.isEmpty())
        return;
    QFile file{name};
    if (!file.open(QIODevice::ReadOnly)) {
        window_.tell(shown("Ce fichier de raccourci ne peut pas être lu."_fr));
        return;
    }
    try {
        const QByteArray contents = file.read(static_cast<qint64>(ConversionRecipe::maxFileBytes) + 1);
        const ConversionRecipe imported = application_.model().recipes().import(contents.toStdString());
        window_.tell(shown(filled("Raccourci importé : {}"_fr, {imported.name})));
    } catch (const RecipeError& error) {
        window_.tell(shown(error.message()));
    }
    refresh();
}

void RecipesPage::exportSelected()
{
    const ConversionRecipe* recipe = selected();
    const QString name = QFileDialog::getSaveFileName(
        this, shown("Exporter le raccourci"_fr), QString::fromUtf8(ConversionRecipe::defaultFileName), fileFilter());
    if (!recipe || name.isEmpty())
        return;
    try {
        QSaveFile file{name};
        const QByteArray contents = QByteArray::fromStdString(recipe->exportData());
        if (!file.open(QIODevice::WriteOnly) || file.write(contents) != contents.size() || !file.commit())
            window_.tell(shown("Le raccourci n’a pas pu être enregistré."_fr));
    } catch (const RecipeError& error) {
        window_.tell(shown(error.message()));
    }
}

void RecipesPage::renameSelected()
{
    const ConversionRecipe* recipe = selected();
    if (!recipe)
        return;
    bool isTaken = false;
    const QString name = QInputDialog::getText(this, shown("Renommer le raccourci"_fr), shown("Nom"_fr),
                                               QLineEdit::Normal, shown(recipe->name), &isTaken);
    if (!isTaken)
        return;
    try {
        application_.model().recipes().rename(recipe->id, name.toStdString());
    } catch (const RecipeError& error) {
        window_.tell(shown(error.message()));
    }
    refresh();
}

void RecipesPage::removeSelected()
{
    const ConversionRecipe* recipe = selected();
    if (!recipe)
        return;
    try {
        application_.model().recipes().remove(recipe->id);
    } catch (const RecipeError& error) {
        window_.tell(shown(error.message()));
    }
    refresh();
}

void RecipesPage::runSelected()
{
    if (const ConversionRecipe* recipe = selected()) {
        const std::string said = application_.center().run(*recipe, QLocale::system().name().toStdString());
        if (!said.empty())
            window_.tell(shown(said));
    }
}

} // namespace nivex::desktop
