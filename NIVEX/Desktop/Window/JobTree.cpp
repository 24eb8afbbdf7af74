#include "NIVEX/Desktop/Window/JobTree.hpp"

#include "NIVEX/Desktop/Look/Icons.hpp"
#include "NIVEX/Desktop/Look/Look.hpp"
#include "NIVEX/Desktop/Look/Shown.hpp"
#include "NIVEX/Model/JobWording.hpp"
#include "NIVEX/Model/Wording.hpp"

#include <algorithm>

namespace nivex::desktop {
namespace {

constexpr quintptr isBatch = 0; // rows of jobs carry the place of their batch, counted from 1

QString toolTipOf(const ConversionJob& job)
{
    std::vector<std::string> lines{shownPath(job.source.url), describeRoute(job.plan)};
    if (const auto* succeeded = std::get_if<ConversionJob::Succeeded>(&job.state)) {
        for (const std::filesystem::path& output : succeeded->outcome.outputs)
            lines.push_back(shownPath(output));
        lines.insert(lines.end(), succeeded->outcome.warnings.begin(), succeeded->outcome.warnings.end());
    }
    if (const auto* failed = std::get_if<ConversionJob::Failed>(&job.state)) {
        lines.push_back(failed->message);
        if (!failed->cause.empty())
            lines.push_back("[" + failed->cause + "]");
    }
    return shown(joined(lines, "\n"));
}

QVariant colorOf(const ConversionJob& job)
{
    if (std::holds_alternative<ConversionJob::Failed>(job.state))
        return Look::current().failure;
    if (std::holds_alternative<ConversionJob::Succeeded>(job.state))
        return Look::current().success;
    return Look::current().quiet;
}

} // namespace

JobTreeModel::JobTreeModel(ConversionQueue& queue) : queue_{queue}
{
    readAll();
    observation_ = queue_.observe([this](const QueueChange& change) { apply(change); });
}

void JobTreeModel::readAll()
{
    batches_.clear();
    positions_.clear();
    for (const ConversionJob& job : queue_.jobs())
        add(job);
}

void JobTreeModel::add(const ConversionJob& job)
{
    if (batches_.empty() || batches_.back().id != job.batchID)
        batches_.push_back({job.batchID, {}});
    positions_[job.id] = {batches_.size() - 1, batches_.back().jobs.size()};
    batches_.back().jobs.push_back(job.id);
}

void JobTreeModel::apply(const QueueChange& change)
{
    if (!change.removed.empty()) {
        beginResetModel();
        readAll();
        endResetModel();
        return;
    }
    for (auto first = change.added.begin(); first != change.added.end();) {
        // The jobs of one batch are one row; they come together.
        const ConversionJob* job = queue_.job(*first);
        if (!job) {
            ++first;
            continue;
        }
        beginInsertRows({}, 0, 0);
        const Uuid batch = job->batchID;
        for (; first != change.added.end(); ++first) {
            const ConversionJob* next = queue_.job(*first);
            if (next && next->batchID != batch)
                break;
            if (next)
                add(*next);
        }
        endInsertRows();
    }
    std::vector<std::size_t> touched;
    for (const Uuid& id : change.updated)
        if (const auto position = positions_.find(id); position != positions_.end()) {
            const auto [batch, job] = position->second;
            const QModelIndex parent = index(rowOf(batch), 0);
            const QModelIndex changed = index(static_cast<int>(job), state, parent);
            Q_EMIT dataChanged(changed, changed);
            if (std::ranges::find(touched, batch) == touched.end())
                touched.push_back(batch);
        }
    for (const std::size_t batch : touched)
        Q_EMIT dataChanged(index(rowOf(batch), 0), index(rowOf(batch), columnCount_ - 1));
}

std::optional<Uuid> JobTreeModel::batchAt(const QModelIndex& at) const
{
    if (!at.isValid())
        return std::nullopt;
    const QModelIndex top = at.internalId() == isBatch ? at : at.parent();
    return batches_[batches_.size() - 1 - static_cast<std::size_t>(top.row())].id;
}

const ConversionJob* JobTreeModel::jobAt(const QModelIndex& at) const
{
    if (!at.isValid() || at.internalId() == isBatch)
        return nullptr;
    return queue_.job(batches_[at.internalId() - 1].jobs[static_cast<std::size_t>(at.row())]);
}

std::vector<const ConversionJob*> JobTreeModel::jobsOf(const QModelIndex& at) const
{
    if (const ConversionJob* job = jobAt(at))
        return {job};
    const auto batch = batchAt(at);
    return batch ? queue_.jobsInBatch(*batch) : std::vector<const ConversionJob*>{};
}

QModelIndex JobTreeModel::indexOf(const Uuid& batch) const
{
    const auto found = std::ranges::find(batches_, batch, &Batch::id);
    return found == batches_.end() ? QModelIndex{}
                                   : index(rowOf(static_cast<std::size_t>(found - batches_.begin())), 0);
}

QModelIndex JobTreeModel::index(int row, int column, const QModelIndex& parent) const
{
    if (row < 0 || row >= rowCount(parent) || column < 0 || column >= columnCount_)
        return {};
    return createIndex(row, column,
                       parent.isValid() ? batches_.size() - static_cast<std::size_t>(parent.row()) : isBatch);
}

QModelIndex JobTreeModel::parent(const QModelIndex& child) const
{
    if (!child.isValid() || child.internalId() == isBatch)
        return {};
    return createIndex(rowOf(child.internalId() - 1), 0, isBatch);
}

int JobTreeModel::rowCount(const QModelIndex& parent) const
{
    if (!parent.isValid())
        return static_cast<int>(batches_.size());
    if (parent.internalId() != isBatch || parent.column() != 0)
        return 0;
    const Batch& batch = batches_[batches_.size() - 1 - static_cast<std::size_t>(parent.row())];
    return batch.jobs.size() < 2 ? 0 : static_cast<int>(batch.jobs.size()); // one alone is told by its batch
}

int JobTreeModel::columnCount(const QModelIndex&) const { return columnCount_; }

QVariant JobTreeModel::data(const QModelIndex& at, int role) const
{
    if (!at.isValid())
        return {};
    if (const ConversionJob* job = jobAt(at))
        return jobData(*job, at, role);
    return batchData(batches_[batches_.size() - 1 - static_cast<std::size_t>(at.row())], at, role);
}

QVariant JobTreeModel::batchData(const Batch& batch, const QModelIndex& at, int role) const
{
    const std::vector<const ConversionJob*> jobs = queue_.jobsInBatch(batch.id);
    const std::optional<BatchProgress> progress = queue_.progress(batch.id);
    if (jobs.empty() || !progress)
        return {};
    if (at.column() == state && jobs.size() == 1 && role != fractionRole)
        return jobData(*jobs.front(), at, role);
    switch (role) {
    case Qt::DisplayRole:
    case Qt::AccessibleTextRole:
        return at.column() == name
                   ? shown(batchTitle(jobs))
                   : shown(describeBatch(*progress, jobs.front()->createdAt, std::chrono::system_clock::now()));
    case Qt::DecorationRole:
        return at.column() == name ? QVariant{dotIcon(familyColor(jobs.front()->plan.target.family))} : QVariant{};
    case Qt::ToolTipRole:
        return jobs.size() == 1 ? QVariant{toolTipOf(*jobs.front())} : QVariant{};
    case fractionRole:
        return progress->isFinished() ? QVariant{} : QVariant{progress->fraction.value_or(0)};
    default:
        return {};
    }
}

QVariant JobTreeModel::jobData(const ConversionJob& job, const QModelIndex& at, int role) const
{
    switch (role) {
    case Qt::DisplayRole:
    case Qt::AccessibleTextRole:
        return at.column() == name ? shown(job.source.fileName()) : shown(describeState(job));
    case Qt::ForegroundRole:
        return at.column() == state ? colorOf(job) : QVariant{};
    case Qt::ToolTipRole:
        return toolTipOf(job);
    case fractionRole:
        return job.isFinished() ? QVariant{} : QVariant{fractionOf(job).value_or(0)};
    default:
        return {};
    }
}

QVariant JobTreeModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
        return {};
    return section == name ? shown("Travail"_fr) : shown("État"_fr);
}

} // namespace nivex::desktop
