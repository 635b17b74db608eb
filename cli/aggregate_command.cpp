#include <CLI/CLI.hpp>
#include <cmath>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "base/import_error.h"
#include "base/text.h"
#include "cli/arguments.h"
#include "cli/commands.h"
#include "cli/olap_engine.h"
#include "mondrian/warehouse/aggregate_work.h"

namespace importkcd {
namespace {

constexpr std::string_view mondrian_server = "mondrian:";

std::string whole(double number) { return std::to_string(std::llround(number)); }

/// "Calendar: Month, Product: Group"; a table may tell nothing apart.
std::string level_list(const std::vector<std::pair<std::string, std::string>>& levels) {
  std::string result;
  for (const auto& [dimension, level] : levels) {
    result.append(result.empty() ? "" : ", ").append(dimension).append(": ").append(level);
  }
  return printable(result.empty() ? "all together" : result);
}

void print_plan(const std::vector<PlannedCube>& plans, std::ostream& out) {
  constexpr double percent = 100;
  for (const auto& plan : plans) {
    out << "Cube '" << printable(plan.cube.cube) << "'";
    if (!plan.reason.empty()) {
      out << ": no tables, " << printable(plan.reason) << '\n';
      continue;
    }
    double rows = 0;
    for (const auto& table : plan.tables) {
      rows += table.rows;
    }
    out << ", " << whole(plan.rows) << " facts: " << counted(plan.tables.size(), "table") << ", "
        << whole(rows) << " rows (" << whole(percent * rows / plan.rows) << " %)\n";
    for (const auto& table : plan.tables) {
      out << "  " << level_list(table.names) << ": " << whole(table.rows) << " rows, saves "
          << whole(percent * table.saved_share) << " % of the average question\n";
    }
  }
}

std::string_view words_for(AggregateStatus::State state) {
  using State = AggregateStatus::State;
  switch (state) {
    case State::fresh:
      return "fresh";
    case State::stale:
      return "stale: the data warehouse has changed since it was built";
    case State::missing:
      return "missing: it is not in the data warehouse any more";
    case State::changed:
      return "not used: the cube has changed since it was built";
    case State::not_finished:
      return "not used: it was not finished";
    case State::not_ours:
      break;
  }
  return "not built by kcd aggregate";
}

int print_status(const std::vector<AggregateStatus>& tables, std::ostream& out) {
  bool all_fresh = true;
  for (const auto& table : tables) {
    out << printable(table.table) << " (cube '" << printable(table.cube) << "'";
    if (!table.levels.empty()) {
      out << "; " << level_list(table.levels);
    }
    out << (table.built.empty() ? "" : "; built " + table.built) << "): " << words_for(table.state)
        << '\n';
    all_fresh = all_fresh && (table.state == AggregateStatus::State::fresh ||
                              table.state == AggregateStatus::State::not_ours);
  }
  if (tables.empty()) {
    out << "There are no aggregate tables\n";
  }
  return all_fresh ? exit_status::success : exit_status::changes_planned;
}

int print_report(const AggregateReport& report, const CommandEnvironment& environment) {
  bool all_built = true;
  for (const auto& table : report.built) {
    if (table.failure.empty() && table.partitions_read > 0) {
      environment.out << "Refreshed '" << printable(table.table) << "' for cube '"
                      << printable(table.cube) << "': " << table.partitions_read << " of "
                      << counted(table.partitions, "partition") << " read anew, "
                      << whole(table.rows) << " rows\n";
    } else if (table.failure.empty()) {
      environment.out << "Built '" << printable(table.table) << "' for cube '"
                      << printable(table.cube) << "': " << whole(table.rows) << " rows\n";
    } else {
      all_built = false;
      environment.err << "Table '" << printable(table.table) << "' of cube '"
                      << printable(table.cube) << "' is not used: " << printable(table.failure)
                      << '\n';
    }
  }
  for (const auto& table : report.dropped) {
    environment.out << "Dropped '" << printable(table) << "'\n";
  }
  if (report.built.empty() && report.dropped.empty()) {
    environment.out << "Nothing is to be done\n";
  }
  for (const auto& remark : report.remarks) {
    environment.err << printable(remark) << '\n';
  }
  return all_built ? exit_status::success : exit_status::failure;
}

class AggregateCommand : public Command {
 public:
  explicit AggregateCommand(CLI::App& program);
  int run(const CommandEnvironment& environment) const override;

 private:
  AggregateScope scope() const;
  PlanWishes wishes() const;
  std::string login(const CommandEnvironment& environment) const;
  int build(const CommandEnvironment& environment) const;

  std::string action_;
  std::string server_;
  std::string database_;
  std::string cube_;
  std::string budget_ = "20%";
  std::string log_file_;
  std::string connect_string_file_;
  bool counts_ = false;
  bool as_script_ = false;
};

AggregateCommand::AggregateCommand(CLI::App& program)
    : Command(program, "aggregate",
              "Make tables in the data warehouse that answer for a cube's facts") {
  command_
      ->add_option("ACTION", action_,
                   "plan shows which tables are worth their place; build makes them and has the "
                   "engine read them; refresh builds those anew whose data has changed; drop "
                   "removes them; status tells how they are")
      ->required()
      ->type_name("")
      ->check(
          CLI::IsMember(std::vector<std::string>{"plan", "build", "refresh", "drop", "status"}));
  command_->add_option("SERVER", server_, "The server that the engine serves: mondrian:DIRECTORY")
      ->required()
      ->type_name("");
  command_->add_option("DATABASE", database_, "Only the cubes of this database")->type_name("");
  command_
      ->add_option("CUBE", cube_,
                   "Only this cube, even when its storage mode asks for no aggregations")
      ->type_name("");
  command_
      ->add_option("--budget", budget_,
                   "How many rows the tables of a cube may have together: a share of its facts, "
                   "such as 20%, or a number")
      ->type_name("PERCENT|ROWS")
      ->capture_default_str();
  command_
      ->add_flag("--count", counts_,
                 "Plan with sizes counted in the data warehouse, not with those of the document")
      ->disable_flag_override();
  command_
      ->add_option("--from-log", log_file_,
                   "Plan for the questions in an access log of kcd serve, each as often as it was "
                   "asked")
      ->type_name("FILE");
  command_
      ->add_option("--connect-string-file", connect_string_file_,
                   "A file with the connection of a login that may create tables; - is standard "
                   "input. Otherwise that of the data source is used")
      ->type_name("FILE");
  command_->add_flag("--sql", as_script_, "Print the statements that build would run")
      ->disable_flag_override();
}

AggregateScope AggregateCommand::scope() const {
  if (!server_.starts_with(mondrian_server)) {
    throw ImportError("aggregate tables belong to a server of the form mondrian:DIRECTORY", "kcd",
                      FailureCause::command_line);
  }
  return {engine_directory(server_), database_, cube_};
}

PlanWishes AggregateCommand::wishes() const {
  const auto budget = parse_budget(budget_);
  if (!budget) {
    throw ImportError("--budget: '" + budget_ + "' is neither a share such as 20% nor a number",
                      "kcd", FailureCause::command_line);
  }
  return {*budget, counts_,
          log_file_.empty() ? std::vector<AskedQuestion>() : read_access_log(log_file_)};
}

std::string AggregateCommand::login(const CommandEnvironment& environment) const {
  return command_->count("--connect-string-file") == 0
             ? std::string()
             : read_connection_text(connect_string_file_, environment.in);
}

int AggregateCommand::build(const CommandEnvironment& environment) const {
  const auto login_text = login(environment);
  const auto plans = plan_aggregates(scope(), wishes(), login_text);
  if (as_script_) {
    environment.out << aggregates_script(plans);
    return exit_status::success;
  }
  for (const auto& plan : plans) {
    if (!plan.reason.empty()) {
      environment.err << "Cube '" << printable(plan.cube.cube)
                      << "' gets no tables: " << printable(plan.reason) << '\n';
    }
  }
  return print_report(build_aggregates(scope(), plans, login_text), environment);
}

int AggregateCommand::run(const CommandEnvironment& environment) const {
  if (action_ == "build") {
    return build(environment);
  }
  if (action_ == "plan") {
    print_plan(plan_aggregates(scope(), wishes(), login(environment)), environment.out);
    return exit_status::success;
  }
  if (action_ == "refresh") {
    return print_report(refresh_aggregates(scope(), login(environment)), environment);
  }
  if (action_ == "drop") {
    return print_report(drop_aggregates(scope(), login(environment)), environment);
  }
  return print_status(aggregates_status(scope(), login(environment)), environment.out);
}

}  // namespace

std::unique_ptr<const Command> make_aggregate_command(CLI::App& program) {
  return std::make_unique<const AggregateCommand>(program);
}

}  // namespace importkcd
