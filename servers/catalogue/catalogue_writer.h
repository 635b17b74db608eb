#pragma once

#include <SQLiteCpp/SQLiteCpp.h>

#include <memory>
#include <vector>

#include "servers/olap_store.h"

namespace importkcd {

/// Writes the changes of a run into the tables of a catalogue.
class CatalogueWriter {
 public:
  /// `database` must outlive the writer.
  explicit CatalogueWriter(SQLite::Database& database);
  CatalogueWriter(const CatalogueWriter&) = delete;
  CatalogueWriter& operator=(const CatalogueWriter&) = delete;
  ~CatalogueWriter();

  /// To be called inside a transaction, which is to be rolled back after an exception
  /// (SQLite::Exception or ImportError).
  void apply(const DatabaseChanges& changes);

 private:
  class Statements;
  std::unique_ptr<Statements> statements_;
};

}  // namespace importkcd
