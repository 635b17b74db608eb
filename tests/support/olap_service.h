#pragma once

#include <string>
#include <vector>

#include "tests/support/process.h"
#include "xmla/dataset.h"

namespace importkcd::testing {

/// `kcd serve` over a directory, on a free port of the loopback interface, from its constructor to
/// its destructor. It ends with this process, too. The test fails when it does not come up.
class OlapService {
 public:
  /// `kcd` is the program's path; the options are further ones of `kcd serve`. The engine's host
  /// takes Java's options (-Dimportkcd.NAME=N for its limits) from the last argument.
  OlapService(const std::string& kcd, const std::string& directory,
              const std::vector<std::string>& options = {}, const std::string& java_options = {});

  /// Its XMLA address.
  const std::string& address() const { return address_; }

  /// Where it tells its health and metrics, "http://127.0.0.1:N"; empty without --admin-port.
  std::string administration() const;

  /// The process of the engine.
  int process_id() const { return process_.process_id(); }
  /// What it has written on standard error.
  std::string errors() const { return process_.errors(); }

  /// The answer to an MDX question. Throws ImportError with the engine's words when it refuses.
  Dataset ask(const std::string& database, const std::string& mdx,
              const std::string& role = {}) const;

  /// What it says when it refuses to answer; empty when it answers.
  std::string refusal(const std::string& database, const std::string& mdx,
                      const std::string& role = {}) const;

 private:
  RunningProcess process_;
  std::string address_;
};

/// Lines of texts and figures.
using FigureTable = std::vector<std::vector<std::string>>;

/// An answer as lines: one a tuple of the rows axis, or a single one without that axis. Each has
/// the captions of its members with the properties asked for, then the values of the columns; an
/// empty cell is an empty text.
FigureTable figures(const Dataset& dataset);

/// What a client of a database printed: a line a row, tabulators between the columns. "NULL", as
/// one of them writes it, is an empty text.
FigureTable figures(const std::string& selected);

/// What differs between two tables in a sentence, empty when nothing does. Figures are equal when
/// they differ by less than a millionth: sums of decimals may come as binary ones.
std::string difference(const FigureTable& answer, const FigureTable& expected);

}  // namespace importkcd::testing
