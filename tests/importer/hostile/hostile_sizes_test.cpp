// Documents of great size: what a run makes of them, and how much processor time and memory it
// takes. Each is read by a process of its own, as it is being made, through a pipe.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <malloc.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstddef>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/import_error.h"
#include "document/kcd_document.h"
#include "tests/importer/hostile/hostile_documents.h"
#include "tests/support/sanitizer.h"

namespace importkcd::testing {
namespace {

constexpr std::size_t megabyte = 1'000'000;

/// A document that is made while it is read: its beginning, a text as often as it takes to reach a
/// size, and its end.
struct BigDocument {
  std::string name;
  std::string beginning;
  std::string repeated;
  std::size_t size = 0;
  std::string end;
  /// The whole error text of the reader; empty: it is read.
  std::string error;
  /// What the process may need at most, in millions of bytes, beyond what it begins with.
  long most_memory = 0;
};

/// What became of a process that worked on such a document.
struct Outcome {
  int status = -1;
  std::string error;
  long peak_memory = 0;
};

std::pair<int, int> make_pipe() {
  std::array<int, 2> ends{};
  EXPECT_EQ(pipe2(ends.data(), O_CLOEXEC), 0);
  // Where the system grants it, both sides wait for each other less often.
  fcntl(ends[1], F_SETPIPE_SZ, 1 << 20);
  return {ends[0], ends[1]};
}

/// Writes until all is written or nobody reads any more.
bool write_all(int number, std::string_view bytes) {
  while (!bytes.empty()) {
    const auto count = write(number, bytes.data(), bytes.size());
    if (count < 0) {
      return false;
    }
    bytes.remove_prefix(static_cast<std::size_t>(count));
  }
  return true;
}

void write_document(int number, const BigDocument& document) {
  constexpr std::size_t block_size = 65'536;
  std::string block = document.repeated;
  while (block.size() < block_size) {
    block += document.repeated;
  }
  bool is_read = write_all(number, document.beginning);
  for (std::size_t done = 0; is_read && done < document.size; done += block.size()) {
    is_read = write_all(number, block);
  }
  if (is_read) {
    write_all(number, document.end);
  }
}

std::string read_all(int number) {
  std::string all;
  std::array<char, 4096> buffer{};
  for (auto count = read(number, buffer.data(), buffer.size()); count > 0;
       count = read(number, buffer.data(), buffer.size())) {
    all.append(buffer.data(), static_cast<std::size_t>(count));
  }
  return all;
}

/// Works on a path and gives the error, or an empty text.
using Work = std::function<std::string(const std::string&)>;

[[noreturn]] void work_in_child(const Work& work, int document, int result) {
  constexpr rlim_t most_seconds = 100;
  const rlimit limit{most_seconds, most_seconds};
  setrlimit(RLIMIT_CPU, &limit);
  // As in a fresh process: what the tests before freed would have large blocks copied while they
  // grow, instead of moved.
  constexpr int first_threshold = 128 * 1024;
  mallopt(M_MMAP_THRESHOLD, first_threshold);
  try {
    write_all(result, work("/proc/self/fd/" + std::to_string(document)));
  } catch (const std::exception& error) {
    write_all(result, std::string("unforeseen: ") + error.what());
  }
  _exit(EXIT_SUCCESS);
}

/// What this process holds in memory of its own, in bytes; its programs and libraries, which it
/// shares with others, are not counted.
long own_memory() {
  std::ifstream file("/proc/self/statm");
  long size = 0;
  long resident = 0;
  long shared = 0;
  file >> size >> resident >> shared;
  EXPECT_TRUE(file);
  return (resident - shared) * sysconf(_SC_PAGESIZE);
}

/// Has a child do the work, which ends after some processor time if need be.
Outcome outcome_of(const BigDocument& document, const Work& work) {
  static_cast<void>(std::signal(SIGPIPE, SIG_IGN));
  const auto [document_out, document_in] = make_pipe();
  const auto [result_out, result_in] = make_pipe();
  // A child begins with all that earlier tests left behind, and that counts to its peak. What they
  // gave back goes to the system, or else the child would use it as if it cost nothing.
  malloc_trim(0);
  const auto memory_at_start = own_memory();
  const auto child = fork();
  if (child == 0) {
    close(document_in);
    close(result_out);
    work_in_child(work, document_out, result_in);
  }
  close(document_out);
  close(result_in);
  write_document(document_in, document);
  close(document_in);
  Outcome outcome;
  outcome.error = read_all(result_out);
  close(result_out);
  rusage used{};
  EXPECT_EQ(wait4(child, &outcome.status, 0, &used), child);
  outcome.peak_memory = (used.ru_maxrss * 1024L - memory_at_start) / static_cast<long>(megabyte);
  return outcome;
}

std::string load(const std::string& path) {
  try {
    KcdDocument::load(path);
    return "";
  } catch (const ImportError& error) {
    return error.description();
  }
}

/// The sanitizer puts guards around every block, and keeps freed ones for a while.
long allowed_memory(const BigDocument& document) {
  return is_sanitized ? 3 * document.most_memory + 400 : document.most_memory;
}

void expect_outcome(const BigDocument& document, const Outcome& outcome) {
  EXPECT_EQ(outcome.status, 0) << "killed, or out of processor time";
  EXPECT_EQ(outcome.error, document.error);
  EXPECT_LE(outcome.peak_memory, allowed_memory(document));
  ::testing::Test::RecordProperty(document.name, std::to_string(outcome.peak_memory));
}

void expect_loads(const std::vector<BigDocument>& documents) {
  for (const auto& document : documents) {
    SCOPED_TRACE(document.name);
    expect_outcome(document, outcome_of(document, load));
  }
}

std::string too_long(int line, int column) {
  return "line " + std::to_string(line) + ", column " + std::to_string(column) +
         ": a tag, a text or a comment is longer than 100000000 bytes";
}

using HostileSizes = HostileDocuments;

TEST_F(HostileSizes, AValueOfAGigabyteEndsTheRun) {
  const BigDocument document{"value", open_root + " x=\"", "x", 1'000 * megabyte, "\"/>", "", 500};
  auto outcome = outcome_of(document, [this](const std::string& path) {
    options.kcd_document_file_name = path;
    import_file();
    auto error = importer->last_error;
    if (const auto at = error.find(copy_path()); at != std::string::npos) {
      error.replace(at, copy_path().size(), "COPY");
    }
    return error;
  });
  EXPECT_EQ(outcome.error, unreadable(too_long(1, 100'003'752)));
  outcome.error.clear();
  expect_outcome(document, outcome);
}

TEST_F(HostileSizes, WhatTheReaderWouldHoldInMemoryMayNotBeTooLong) {
  const auto size = 101 * megabyte;
  expect_loads({
      {"value", open_root + " x=\"", "x", size, "\"/>", too_long(1, 100'003'752), 350},
      {"value of references", open_root + " x=\"", "&amp;", size, "\"/>", too_long(1, 100'003'753),
       350},
      {"blanks in a tag", open_root, " ", size, "/>", too_long(1, 100'004'001), 200},
      {"name of a tag", open_root + "><", "x", size, "/></database>", too_long(1, 100'007'791),
       200},
      {"name of an attribute", open_root + " ", "x", size, "=\"\"/>", too_long(1, 100'003'812),
       200},
      {"end tag", open_root + "></", "x", size, ">", too_long(1, 100'007'793), 200},
      {"comment", open_root + "><!--", "x", size, "--></database>", too_long(1, 100'008'001), 200},
      {"comment in front", "<!--", "x", size, "-->" + open_root + "/>", too_long(1, 100'004'001),
       200},
      {"processing instruction", open_root + "><?x ", "x", size, "?></database>",
       too_long(1, 100'007'794), 200},
      {"CDATA section", open_root + "><![CDATA[", "x", size, "]]></database>",
       too_long(1, 100'007'801), 500},
      {"text", open_root + ">", "x", size, "</database>", too_long(1, 100'008'001), 50},
      {"references in text", open_root + ">", "&#65;", size, "</database>",
       too_long(1, 100'007'752), 50},
      {"line ends in front", "", "\n", size, open_root + "/>", too_long(100'004'001, 1), 200},
      {"blanks behind", open_root + "/>", " ", size, "", too_long(1, 100'008'001), 200},
      {"document type", "\n<!DOCTYPE x [", "<!ELEMENT x ANY>", size, "]>" + open_root + "/>",
       "line 2, column 71752: the document type is longer than 65536 bytes", 50},
      {"external document type", "\n<!DOCTYPE x SYSTEM '", "x", size, "'>" + open_root + "/>",
       "line 2, column 71777: the document type is longer than 65536 bytes", 50},
      {"XML declaration", "<?xml version='1.0' encoding='", "x", size, "'?>" + open_root + "/>",
       too_long(1, 100'004'001), 350},
      {"number of attributes", open_root, " a='' b='' c=''", size, "/>",
       "line 1, column 79752: an element has more than 10000 attributes", 50},
      {"name space", open_root + " xmlns='", "u", size, "'/>", too_long(1, 100'003'752), 950},
  });
}

TEST_F(HostileSizes, WhatIsReadTakesMemoryInProportion) {
  const auto size = 20 * megabyte;
  expect_loads({
      {"value", open_root + " x=\"", "x", 99 * megabyte, "\"/>", "", 500},
      {"small elements", open_root + ">", "<a/>", size, "</database>", "", 350},
      {"small attributes", open_root + ">", "<a b='' c='' d='' e='' f='' g='' h='' i=''/>", size,
       "</database>", "", 200},
      {"comments", open_root + ">", "<!---->", size, "</database>", "", 50},
      {"references", open_root + ">", "<a b='&#38;&#38;&#38;&#38;'/>", size, "</database>", "",
       100},
      {"open elements", open_root + ">", "<a>", size, "",
       "line 1, column 3000057: elements are nested more than 1000000 deep", 150},
  });
}

}  // namespace
}  // namespace importkcd::testing
