#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "base/import_error.h"
#include "base/name_folding.h"
#include "labels/labels_connection.h"

namespace importkcd::testing {

/// What a scripted labels server answers, and what it was asked.
struct LabelsScript {
  using Row = std::vector<std::optional<std::string>>;

  std::vector<std::string> catalogs{"Sales", "Stock"};
  std::vector<std::string> columns{"LabelID", "Label"};
  std::vector<Row> rows;
  /// The step that fails: "connect", "catalogs", "use", "execute", or "row" and a number.
  std::string failing;
  /// All requests, in order.
  std::vector<std::string> requests;

  void step(const std::string& request, const std::string& name) {
    requests.push_back(request);
    fail_at(name);
  }
  void fail_at(const std::string& name) const {
    if (failing == name) {
      throw ImportError("the server failed: " + name, error_source::labels_database);
    }
  }
};

class ScriptedRows : public LabelRows {
 public:
  explicit ScriptedRows(const LabelsScript& script) : script_(script) {}
  bool next() override {
    script_.fail_at("row " + std::to_string(next_));
    return next_++ < script_.rows.size();
  }
  std::size_t column(std::string_view name) const override {
    for (std::size_t i = 0; i < script_.columns.size(); ++i) {
      if (same_name(script_.columns[i], name)) {
        return i;
      }
    }
    throw ImportError("no such column: " + std::string(name), error_source::labels_database);
  }
  std::optional<std::string> text(std::size_t column) override {
    return script_.rows.at(next_ - 1).at(column);
  }

 private:
  const LabelsScript& script_;
  std::size_t next_ = 0;
};

class ScriptedConnection : public LabelsConnection {
 public:
  explicit ScriptedConnection(LabelsScript& script) : script_(script) {}
  ~ScriptedConnection() override { script_.requests.emplace_back("close"); }
  ScriptedConnection(const ScriptedConnection&) = delete;
  ScriptedConnection& operator=(const ScriptedConnection&) = delete;

  std::vector<std::string> catalogs() override {
    script_.step("catalogs", "catalogs");
    return script_.catalogs;
  }
  void use_database(const std::string& name) override { script_.step("use " + name, "use"); }
  std::unique_ptr<LabelRows> execute(const std::string& statement) override {
    script_.step(statement, "execute");
    return std::make_unique<ScriptedRows>(script_);
  }

 private:
  LabelsScript& script_;
};

/// Connects to a scripted server, which has to outlive everything.
inline LabelsConnector scripted_connector(LabelsScript& script) {
  return [&script](const LabelsLogin& login) {
    script.step("connect " + login.server + "|" + login.user + "|" + login.password + "|" +
                    (login.secure_login ? "SSPI" : ""),
                "connect");
    return std::make_unique<ScriptedConnection>(script);
  };
}

}  // namespace importkcd::testing
