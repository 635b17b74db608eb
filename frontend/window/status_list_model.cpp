#include "frontend/window/status_list_model.h"

namespace importkcd {

void StatusListModel::append(const QString& line) {
  const auto row = static_cast<int>(lines_.size());
  beginInsertRows(QModelIndex(), row, row);
  lines_.push_back(line);
  endInsertRows();
}

int StatusListModel::rowCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : static_cast<int>(lines_.size());
}

QVariant StatusListModel::data(const QModelIndex& index, int role) const {
  if (!index.isValid() || role != Qt::DisplayRole) {
    return {};
  }
  return lines_.at(static_cast<std::size_t>(index.row()));
}

}  // namespace importkcd
