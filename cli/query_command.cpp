#include <CLI/CLI.hpp>
#include <chrono>
#include <cstdint>
#include <istream>
#include <iterator>
#include <memory>
#include <ostream>
#include <string>
#include <utility>

#include "base/import_error.h"
#include "base/text.h"
#include "cli/arguments.h"
#include "cli/commands.h"
#include "cli/dataset_output.h"
#include "cli/olap_engine.h"
#include "cli/xmla_access_options.h"
#include "xmla/dataset.h"
#include "xmla/xmla_address.h"
#include "xmla/xmla_client.h"

namespace importkcd {
namespace {

constexpr std::uint32_t longest_timeout_seconds = 7 * 24 * 3600;

class QueryCommand : public Command {
 public:
  explicit QueryCommand(CLI::App& program);
  int run(const CommandEnvironment& environment) const override;

 private:
  Dataset ask(const std::string& address, HttpAccess access,
              const CommandEnvironment& environment) const;
  std::string database_to_ask(const XmlaClient& client) const;
  std::string question(const CommandEnvironment& environment) const;

  std::string source_;
  std::string mdx_;
  std::string database_;
  std::string role_;
  XmlaAccessOptions access_;
  std::uint32_t timeout_seconds_ = 300;
  bool as_json_ = false;
};

QueryCommand::QueryCommand(CLI::App& program) : Command(program, "query", "Ask an MDX question") {
  command_
      ->add_option("SERVER", source_,
                   "The address of an XMLA server (http://...), or the directory that documents "
                   "were imported into: an engine is started for the question")
      ->required()
      ->type_name("URL|DIRECTORY");
  command_->add_option("MDX", mdx_, "The question; - reads it from standard input")
      ->required()
      ->type_name("");
  command_
      ->add_option("--database", database_,
                   "The database to ask; needed when the server offers several")
      ->type_name("NAME");
  command_->add_option("--role", role_, "Ask as this role sees the cubes (kcd serve only)")
      ->type_name("NAME");
  command_->add_option("--timeout", timeout_seconds_, "The longest wait for the answer")
      ->type_name("SECONDS")
      ->check(CLI::Range(std::uint32_t{1}, longest_timeout_seconds))
      ->capture_default_str();
  access_.add_to(*command_);
  command_->add_flag("--json", as_json_, "JSON for programs")->disable_flag_override();
}

std::string QueryCommand::question(const CommandEnvironment& environment) const {
  if (mdx_ != "-") {
    return mdx_;
  }
  return {std::istreambuf_iterator<char>(environment.in), {}};
}

std::string QueryCommand::database_to_ask(const XmlaClient& client) const {
  if (command_->count("--database") > 0) {
    return database_;
  }
  const auto names = client.databases();
  if (names.empty()) {
    throw ImportError("the server offers no database", "kcd");
  }
  if (names.size() > 1) {
    throw ImportError(
        "the server offers several databases; --database names one of " + listed(names), "kcd");
  }
  return names.front();
}

Dataset QueryCommand::ask(const std::string& address, HttpAccess access,
                          const CommandEnvironment& environment) const {
  HttpLimits limits;
  limits.time = std::chrono::seconds(timeout_seconds_);
  const XmlaClient client(address, limits, std::move(access));
  return client.execute(question(environment), database_to_ask(client), role_);
}

int QueryCommand::run(const CommandEnvironment& environment) const {
  Dataset dataset;
  if (is_xmla_address(source_)) {
    if (mdx_ == "-") {
      access_.leave_standard_input();
    }
    dataset = ask(source_, access_.read(environment), environment);
  } else {
    const OlapEngine engine(engine_directory(source_));
    dataset = ask(engine.address(), {}, environment);
  }
  if (as_json_) {
    environment.out << dataset_json(dataset).dump(2, ' ', false,
                                                  nlohmann::ordered_json::error_handler_t::replace)
                    << '\n';
  } else {
    print_table(dataset, environment.out);
  }
  const auto errors = cell_errors(dataset);
  for (const auto& [reason, count] : errors) {
    environment.err << count << (count == 1 ? " cell" : " cells")
                    << " could not be computed: " << printable(reason) << '\n';
  }
  return errors.empty() ? exit_status::success : exit_status::cell_errors;
}

}  // namespace

std::unique_ptr<const Command> make_query_command(CLI::App& program) {
  return std::make_unique<const QueryCommand>(program);
}

}  // namespace importkcd
