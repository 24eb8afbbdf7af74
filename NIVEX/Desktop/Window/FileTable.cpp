#include "NIVEX/Desktop/Window/FileTable.hpp"

#include "NIVEX/Desktop/Look/Icons.hpp"
#include "NIVEX/Desktop/Look/Look.hpp"
#include "NIVEX/Desktop/Look/Shown.hpp"
#include "NIVEX/Model/Wording.hpp"

#include "NivexKit/Foundation/Text/ByteCount.hpp"

#include <algorithm>

namespace nivex::desktop {
namespace {

constexpr Text headings[] = {"Nom"_fr, "Format réel"_fr, "Taille"_fr, "Mesures"_fr, "Remarque"_fr};

QString remarkOf(const DetectionResult& file)
{
    std::vector<std::string> messages;
    for (const DetectionIssue& issue : file.issues)
        messages.push_back(issue.message());
    return shown(joined(messages, " "));
}

QString textOf(const DetectionResult& file, int column)
{
    switch (column) {
    case FileTableModel::name:
        return shown(file.fileName());
    case FileTableModel::format:
        return file.format ? shown(file.format->name) : shown("Inconnu"_fr);
    case FileTableModel::size:
        return shown(shownByteCount(file.fileSize));
    case FileTableModel::details:
        return shown(joined(measurements(file.properties), " · "));
    default:
        return remarkOf(file);
    }
}

/// The whole of what is known, for who stops at a row.
QString toolTipOf(const DetectionResult& file)
{
    std::vector<std::string> lines{shownPath(file.url)};
    if (file.format)
        lines.push_back(file.format->longName + " · " + label(file.confidence));
    for (const DetectionIssue& issue : file.issues)
        lines.push_back(issue.message() + (issue.cause().empty() ? "" : " [" + issue.cause() + "]"));
    return shown(joined(lines, "\n"));
}

} // namespace

void FileTableModel::show(const std::vector<SharedDetection>& files)
{
    const bool isLonger = files.size() >= files_.size() && std::equal(files_.begin(), files_.end(), files.begin());
    if (isLonger && files.size() > files_.size()) {
        beginInsertRows({}, static_cast<int>(files_.size()), static_cast<int>(files.size()) - 1);
        files_ = files;
        endInsertRows();
    } else if (!isLonger) {
        beginResetModel();
        files_ = files;
        endResetModel();
    }
}

int FileTableModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(files_.size());
}

int FileTableModel::columnCount(const QModelIndex&) const { return columnCount_; }

QVariant FileTableModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid() || index.row() >= rowCount())
        return {};
    const DetectionResult& file = *files_[static_cast<std::size_t>(index.row())];
    switch (role) {
    case Qt::DisplayRole:
    case Qt::AccessibleTextRole:
        return textOf(file, index.column());
    case Qt::ToolTipRole:
        return toolTipOf(file);
    case Qt::DecorationRole:
        return index.column() == format && file.format ? QVariant{dotIcon(familyColor(file.format->family))}
                                                       : QVariant{};
    case Qt::ForegroundRole:
        if (index.column() == remark)
            return file.isUsable() ? Look::current().warning : Look::current().failure;
        return index.column() > format ? QVariant{Look::current().quiet} : QVariant{};
    case Qt::TextAlignmentRole:
        return index.column() == size ? QVariant{Qt::AlignRight | Qt::AlignVCenter} : QVariant{};
    default:
        return {};
    }
}

QVariant FileTableModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal)
        return {};
    if (role == Qt::TextAlignmentRole)
        return section == size ? QVariant{Qt::AlignRight | Qt::AlignVCenter}
                               : QVariant{Qt::AlignLeft | Qt::AlignVCenter};
    return role == Qt::DisplayRole ? QVariant{shown(headings[section])} : QVariant{};
}

} // namespace nivex::desktop
