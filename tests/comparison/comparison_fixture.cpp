#include "tests/comparison/comparison_fixture.h"

#include <array>
#include <random>
#include <sstream>

#include "comparison/import_execution.h"

namespace importkcd::testing {
namespace {

/// The fields of a line "  dimension | name | ...".
std::vector<std::string> fields_of(const std::string& line) {
  std::vector<std::string> fields;
  constexpr std::string_view separator = " | ";
  std::size_t from = line.find_first_not_of(' ');
  for (auto at = line.find(separator, from); at != std::string::npos;
       at = line.find(separator, from)) {
    fields.push_back(line.substr(from, at - from));
    from = at + separator.size();
  }
  fields.push_back(line.substr(from));
  return fields;
}

bool has_depth(const std::string& line, std::size_t depth) {
  return line.find_first_not_of(' ') == 2 * depth;
}

}  // namespace

StoredObjects objects_in(const std::string& text) {
  StoredObjects result;
  std::istringstream lines(text);
  std::string key;
  for (std::string line; std::getline(lines, line);) {
    if (has_depth(line, 0) || has_depth(line, 1)) {
      const auto fields = fields_of(line);
      const bool is_private = fields[0] == "dimension" && fields.at(2) == "1";
      key = is_private ? "cube | " + fields.at(3) : fields[0] + " | " + fields.at(1);
    }
    result[key] += line + "\n";
  }
  return result;
}

std::unique_ptr<WorkingCopyServer> ComparisonTest::server(ServerAccess access) const {
  return in_catalogue_ ? std::make_unique<WorkingCopyServer>(
                             make_catalogue_store(folder.file("server.olap"), access))
                       : make_memory_server(storage_);
}

std::string ComparisonTest::stored_text() const {
  const auto look = server();
  look->connect("");
  return server_text(*look);
}

ImportServers ComparisonTest::servers() {
  return {[this](std::string_view) { return std::make_unique<ForwardingServer>(server(), hook); },
          [this](std::string_view, RehearsalBase base) {
            auto rehearsing = server(ServerAccess::read_only_or_empty);
            auto store = rehearsing->rehearse(base);
            return Rehearsal{std::move(rehearsing), std::move(store)};
          }};
}

RequestOutcome ComparisonTest::import(const std::string& document) {
  auto asked = request;
  asked.options.kcd_document_file_name = folder.write("document.kcd", document);
  asked.options.progres_window = &sink;
  asked.options.notifications = &sink;
  return carry_out(asked, servers());
}

ImportPlan ComparisonTest::plan(const std::string& document) {
  auto asked = request;
  asked.options.kcd_document_file_name = folder.write("document.kcd", document);
  return plan_import(asked, servers().rehearse);
}

std::string ComparisonTest::text_of_document(const std::string& document,
                                             const ImportOptions& options) {
  const auto storage = make_memory_store();
  auto alone = options;
  alone.ImportType = import_type::incremental;
  import_text(document, alone, storage);
  return server_text(*connected_server(storage));
}

std::vector<std::string> lines_of(const Plan& plan) {
  constexpr std::array<const char*, 4> words{"create ", "change ", "keep ", "remove "};
  std::vector<std::string> lines;
  for (const auto& object : plan.objects) {
    lines.push_back(words.at(static_cast<std::size_t>(object.action)) + std::string(object.kind) +
                    " " + object.name);
  }
  return lines;
}

std::string varied(std::string document, unsigned seed) {
  std::mt19937 random(seed);
  constexpr std::string_view description = " description=\"";
  for (auto at = document.find(description); at != std::string::npos;
       at = document.find(description, at + description.size())) {
    if (random() % 12 == 0) {
      document.insert(at + description.size(), "New ");
    }
  }
  const auto role = document.find("<role ");
  if (role != std::string::npos && random() % 2 == 0) {
    document.erase(role, document.find("/>", role) + 2 - role);
  }
  return document;
}

}  // namespace importkcd::testing
