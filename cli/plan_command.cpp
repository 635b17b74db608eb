#include <CLI/CLI.hpp>
#include <memory>
#include <ostream>
#include <string>

#include "base/text.h"
#include "cli/commands.h"
#include "cli/import_arguments.h"
#include "cli/plan_output.h"
#include "comparison/import_plan.h"

namespace importkcd {
namespace {

class PlanCommand : public Command {
 public:
  explicit PlanCommand(CLI::App& program);
  int run(const CommandEnvironment& environment) const override;

 private:
  ImportArguments arguments_;
  bool json_ = false;
};

PlanCommand::PlanCommand(CLI::App& program)
    : Command(program, "plan",
              "Tell what an import would change on an OLAP server, without doing it"),
      arguments_(*command_) {
  command_->add_flag("--json", json_, "Print JSON")->disable_flag_override();
}

int PlanCommand::run(const CommandEnvironment& environment) const {
  const auto planned = plan_import(arguments_.request(environment), environment.open_for_rehearsal);
  for (const auto& remark : planned.remarks) {
    environment.err << "The import would say: " << printable(remark) << '\n';
  }
  if (!planned.result.error.empty()) {
    environment.err << printable(planned.result.error) << '\n';
  }
  if (!planned.database.empty()) {
    const PlanHeading heading{arguments_.server(), arguments_.mode()};
    json_ ? print_plan_json(planned, heading, environment.out)
          : print_plan(planned, heading, environment.out);
  }
  if (!planned.result.succeeded) {
    return exit_status::of(planned.result.cause);
  }
  return planned.plan.changes_anything() ? exit_status::changes_planned : exit_status::success;
}

}  // namespace

std::unique_ptr<const Command> make_plan_command(CLI::App& program) {
  return std::make_unique<const PlanCommand>(program);
}

}  // namespace importkcd
