#pragma once

#include "NivexKit/Execution/ConversionQueue.hpp"

#include <QAbstractItemModel>
#include <optional>
#include <unordered_map>
#include <vector>

namespace nivex::desktop {

/// The batches of the queue, newest first, with their jobs below them. It asks the queue for what it shows, and is told
/// what has changed.
class JobTreeModel : public QAbstractItemModel {
public:
    enum Column { name, state, columnCount_ };
    static constexpr int fractionRole = Qt::UserRole; // 0…1 while it runs; none otherwise

    explicit JobTreeModel(ConversionQueue& queue);

    /// The batch of a row, whether it is one itself or holds the job.
    std::optional<Uuid> batchAt(const QModelIndex& index) const;
    /// The job of a row; null for a batch.
    const ConversionJob* jobAt(const QModelIndex& index) const;
    /// All jobs of a row: of a batch, or the one.
    std::vector<const ConversionJob*> jobsOf(const QModelIndex& index) const;
    QModelIndex indexOf(const Uuid& batch) const;

    QModelIndex index(int row, int column, const QModelIndex& parent = {}) const override;
    QModelIndex parent(const QModelIndex& index) const override;
    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

private:
    struct Batch {
        Uuid id;
        std::vector<Uuid> jobs;
    };
    struct Position {
        std::size_t batch;
        std::size_t job;
    };

    void apply(const QueueChange& change);
    void readAll();
    void add(const ConversionJob& job);
    int rowOf(std::size_t batch) const { return static_cast<int>(batches_.size() - 1 - batch); }
    QVariant batchData(const Batch& batch, const QModelIndex& index, int role) const;
    QVariant jobData(const ConversionJob& job, const QModelIndex& index, int role) const;

    ConversionQueue& queue_;
    std::vector<Batch> batches_; // in the order queued
    std::unordered_map<Uuid, Position> positions_;
    Observation observation_;
};

} // namespace nivex::desktop
