#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "tests/support/faulty_vfs.h"
#include "tests/support/importer_fixture.h"

namespace importkcd::testing {

/// What an import finds.
enum class Start {
  /// No catalogue.
  missing,
  /// A catalogue that every program closed properly.
  stored,
  /// One whose last state is in the write-ahead log only, because a program was killed.
  pending_log,
  /// The same with a log so long that the import's own commit brings it into the catalogue.
  long_log,
};

struct CatalogueCase {
  std::int32_t mode;
  Start start;
};

std::string name_of(const CatalogueCase& tested);

/// Imports whole_document() into a catalogue over a file system that fails, and compares what is
/// left with the states before and after an undisturbed import. Unless it is missing at the start,
/// the catalogue holds an older state of the document's database, and another database.
class CatalogueFaultsTest : public ImporterTest {
 protected:
  CatalogueFaultsTest();

  /// Makes the catalogue that every import starts from, and finds the states and the operations.
  void prepare(const CatalogueCase& tested);
  /// How far apart the faults of a sweep are. Catalogues with a long log take their time, so that
  /// `make faults` alone tries all of them.
  static int stride(Start start, int usual = 1);
  /// Puts the catalogue of the start in place again.
  void restore() const;

  /// Imports and closes the catalogue; sets the members about the outcome.
  void import_and_close();
  /// The same in a process of its own; gives 0, or the signal that ended it.
  int import_in_child();

  /// What the catalogue holds. On the way: it opens for looking and for writing, SQLite's own
  /// checks pass, nobody holds the database, and the same import comes through and gives what an
  /// undisturbed one gives. Leaves the catalogue changed.
  std::string checked_content();

  FaultyVfs vfs;
  std::string path = folder.file("catalogue/server.olap");
  std::string before;
  std::string after;
  /// What a second import makes of `after`.
  std::string after_twice;

  /// How the last import ended.
  bool succeeded = false;
  std::string last_error;

  /// The file operations of an undisturbed import, the closing included.
  std::vector<FileOperation> operations;
  /// How many of them open the catalogue.
  int opening = 0;
  /// The number of the one that completes the import's commit in the log, and of the one that
  /// synchronises the log afterwards.
  int commit_written = 0;
  int commit_synchronised = 0;

 private:
  void make_start(Start start);
  void find_commit();
  std::string content() const;
  std::string fingerprint() const;
  void expect_sound_file() const;

  /// How many file operations there were when the catalogue was open, and at the import's end.
  int opened_at_ = 0;
  int ended_at_ = 0;
  /// The contents that were checked, by a hash of the files.
  std::unordered_map<std::string, std::string> checked_;
};

}  // namespace importkcd::testing
