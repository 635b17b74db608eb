#include <utility>

#include "base/import_error.h"
#include "base/odbc_connection.h"
#include "labels/labels_servers.h"

namespace importkcd {
namespace {

class OdbcLabelRows : public LabelRows {
 public:
  explicit OdbcLabelRows(std::unique_ptr<OdbcRows> rows) : rows_(std::move(rows)) {}

  bool next() override { return rows_->next(); }
  std::size_t column(std::string_view name) const override { return rows_->column(name); }
  std::optional<std::string> text(std::size_t column) override { return rows_->text(column); }

 private:
  std::unique_ptr<OdbcRows> rows_;
};

class OdbcLabels : public LabelsConnection {
 public:
  explicit OdbcLabels(std::unique_ptr<OdbcConnection> connection)
      : connection_(std::move(connection)) {}

  std::vector<std::string> catalogs() override { return connection_->catalogs(); }

  void use_database(const std::string& name) override {
    if (name.empty()) {
      throw ImportError("No database is chosen", error_source::labels_database);
    }
    connection_->use_database(name);
  }

  std::unique_ptr<LabelRows> execute(const std::string& statement) override {
    return std::make_unique<OdbcLabelRows>(connection_->execute(statement));
  }

 private:
  std::unique_ptr<OdbcConnection> connection_;
};

}  // namespace

std::unique_ptr<LabelsConnection> open_odbc_labels(const std::string& connection_string,
                                                   const LabelsTimeouts& timeouts) {
  return std::make_unique<OdbcLabels>(open_odbc(
      connection_string, {timeouts.connecting, timeouts.answering}, error_source::labels_database));
}

}  // namespace importkcd
