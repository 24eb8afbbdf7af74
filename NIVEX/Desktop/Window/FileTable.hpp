#pragma once

#include "NIVEX/Model/TargetOffer.hpp"

#include <QAbstractTableModel>
#include <vector>

namespace nivex::desktop {

/// The files that were put in, as rows: name, real format, size, measurements, and what is to be said of each.
class FileTableModel : public QAbstractTableModel {
public:
    enum Column { name, format, size, details, remark, columnCount_ };

    /// Shows these files; those that were shown before stay as they are where they stand in front.
    void show(const std::vector<SharedDetection>& files);

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

private:
    std::vector<SharedDetection> files_;
};

} // namespace nivex::desktop
