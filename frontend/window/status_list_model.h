#pragma once

#include <QAbstractListModel>
#include <QString>
#include <vector>

namespace importkcd {

/// The lines of the status list. Lines are only ever added, at a cost that does not depend on how
/// many there are.
class StatusListModel : public QAbstractListModel {
 public:
  using QAbstractListModel::QAbstractListModel;

  void append(const QString& line);

  int rowCount(const QModelIndex& parent = QModelIndex()) const override;
  QVariant data(const QModelIndex& index, int role) const override;

 private:
  std::vector<QString> lines_;
};

}  // namespace importkcd
