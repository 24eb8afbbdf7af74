#include "NIVEX/Desktop/Window/JobsPage.hpp"

#include "NIVEX/Desktop/Application.hpp"
#include "NIVEX/Desktop/Look/Look.hpp"
#include "NIVEX/Desktop/Look/Shown.hpp"
#include "NIVEX/Desktop/Session/Files.hpp"
#include "NIVEX/Desktop/Window/EmptyPage.hpp"
#include "NIVEX/Desktop/Window/MainWindow.hpp"

#include <QHeaderView>
#include <QLabel>
#include <QPainter>
#include <QPushButton>
#include <QStackedLayout>
#include <QStyledItemDelegate>
#include <QTreeView>
#include <QVBoxLayout>
#include <algorithm>

namespace nivex::desktop {
namespace {

/// Draws a thin line of progress below the words of a row.
class ProgressDelegate : public QStyledItemDelegate {
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override
    {
        QStyledItemDelegate::paint(painter, option, index);
        const QVariant fraction = index.data(JobTreeModel::fractionRole);
        if (!fraction.isValid())
            return;
        const QRectF line{option.rect.left() + 4.0, option.rect.bottom() - 4.0, option.rect.width() - 12.0, 3.0};
        const bool isSelected = option.state.testFlag(QStyle::State_Selected);
        painter->save();
        painter->setRenderHint(QPainter::Antialiasing);
        painter->setPen(Qt::NoPen);
        painter->setBrush(Look::current().line);
        painter->drawRoundedRect(line, 1.5, 1.5);
        painter->setBrush(isSelected ? QColor{Qt::white} : Look::current().accent);
        QRectF done = line;
        done.setWidth(line.width() * fraction.toDouble());
        painter->drawRoundedRect(done, 1.5, 1.5);
        painter->restore();
    }
};

std::vector<std::filesystem::path> outputsOf(const std::vector<const ConversionJob*>& jobs)
{
    std::vector<std::filesystem::path> outputs;
    for (const ConversionJob* job : jobs)
        if (const auto* succeeded = std::get_if<ConversionJob::Succeeded>(&job->state))
            outputs.insert(outputs.end(), succeeded->outcome.outputs.begin(), succeeded->outcome.outputs.end());
    return outputs;
}

} // namespace

JobsPage::JobsPage(Application& application, MainWindow& window)
    : application_{application}, window_{window}, model_{application.model().queue()}, states_{new QStackedLayout{this}}
{
    states_->addWidget(
        emptyPage(shown("Aucun travail"_fr), shown("Ce que vous convertissez apparaît ici, avec sa progression."_fr)));
    auto* page = new QWidget;
    auto* layout = new QVBoxLayout{page};
    layout->setContentsMargins(28, 22, 28, 22);
    layout->setSpacing(12);
    layout->addWidget(titleLabel(shown("Travaux"_fr)));
    tree_ = new QTreeView;
    tree_->setModel(&model_);
    tree_->setUniformRowHeights(true);
    tree_->setSelectionMode(QAbstractItemView::ExtendedSelection);
    tree_->setAllColumnsShowFocus(true);
    tree_->setAccessibleName(shown("Travaux"_fr));
    tree_->setColumnWidth(JobTreeModel::name, 320);
    tree_->setItemDelegateForColumn(JobTreeModel::state, new ProgressDelegate{tree_});
    layout->addWidget(tree_, 1);
    cause_ = quietLabel({});
    cause_->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    layout->addWidget(cause_);

    auto* actions = new QHBoxLayout;
    folder_ = primaryButton(shown("Afficher dans le dossier"_fr));
    open_ = button(shown("Ouvrir"_fr));
    again_ = button(shown("Autres réglages…"_fr));
    again_->setToolTip(shown("Reprend ces fichiers pour les convertir autrement."_fr));
    cancel_ = button(shown("Annuler"_fr));
    clear_ = button(shown("Effacer les travaux finis"_fr));
    for (QPushButton* each : {folder_, open_, again_, cancel_})
        actions->addWidget(each);
    actions->addStretch(1);
    actions->addWidget(clear_);
    layout->addLayout(actions);
    states_->addWidget(page);

    connect(folder_, &QPushButton::clicked, this, [this] { showInFolder(outputsOf(selected())); });
    connect(open_, &QPushButton::clicked, this, [this] {
        if (const auto outputs = outputsOf(selected()); !outputs.empty())
            openFile(outputs.front());
    });
    connect(again_, &QPushButton::clicked, this, [this] { convertAgain(); });
    connect(cancel_, &QPushButton::clicked, this, [this] { cancelSelected(); });
    connect(clear_, &QPushButton::clicked, this, [this] { application_.model().queue().clearFinished(); });
    connect(tree_->selectionModel(), &QItemSelectionModel::selectionChanged, this, [this] { offerActions(); });
    for (const auto signal : {&QAbstractItemModel::modelReset})
        connect(&model_, signal, this, [this] { offerActions(); });
    connect(&model_, &QAbstractItemModel::dataChanged, this, [this] { offerActions(); });
    connect(&model_, &QAbstractItemModel::rowsInserted, this, [this] { offerActions(); });
    offerActions();
}

void JobsPage::show(const Uuid& batch)
{
    const QModelIndex index = model_.indexOf(batch);
    tree_->setCurrentIndex(index);
    tree_->scrollTo(index);
    tree_->setFocus();
    offerActions();
}

std::vector<const ConversionJob*> JobsPage::selected() const
{
    std::vector<const ConversionJob*> jobs;
    for (const QModelIndex& row : tree_->selectionModel()->selectedRows())
        for (const ConversionJob* job : model_.jobsOf(row))
            if (std::ranges::find(jobs, job) == jobs.end())
                jobs.push_back(job);
    return jobs;
}

void JobsPage::offerActions()
{
    states_->setCurrentIndex(model_.rowCount() == 0 ? 0 : 1);
    const std::vector<const ConversionJob*> jobs = selected();
    const bool hasOutputs = !outputsOf(jobs).empty();
    const bool hasUnfinished = std::ranges::any_of(jobs, [](const ConversionJob* job) { return !job->isFinished(); });
    folder_->setEnabled(hasOutputs);
    open_->setEnabled(hasOutputs);
    again_->setEnabled(!jobs.empty());
    cancel_->setEnabled(hasUnfinished);
    clear_->setEnabled(std::ranges::any_of(application_.model().queue().jobs(),
                                           [](const ConversionJob& job) { return job.isFinished(); }));
    const auto* failed = jobs.size() == 1 ? std::get_if<ConversionJob::Failed>(&jobs.front()->state) : nullptr;
    cause_->setText(failed && !failed->cause.empty() ? shown(filled("Détail technique : {}"_fr, {failed->cause}))
                                                     : QString{});
    cause_->setVisible(!cause_->text().isEmpty());
}

void JobsPage::cancelSelected()
{
    std::vector<Uuid> ids;
    for (const ConversionJob* job : selected())
        ids.push_back(job->id);
    for (const Uuid& id : ids)
        application_.model().queue().cancel(id);
}

void JobsPage::convertAgain()
{
    std::vector<std::filesystem::path> files;
    for (const ConversionJob* job : selected()) {
        files.push_back(job->source.url);
        for (const JoinedSource& other : job->others)
            files.push_back(other.source.url);
    }
    const auto jobs = selected();
    const OfferID offer{jobs.front()->plan.joins ? OfferPurpose::combine : OfferPurpose::convert,
                        jobs.front()->plan.target.id};
    application_.center().clear();
    window_.putIn(std::move(files));
    application_.center().choose(offer);
}

} // namespace nivex::desktop
