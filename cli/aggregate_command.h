#pragma once

#include <string>
#include <vector>

#include "cli/command.h"
#include "mondrian/warehouse/aggregate_work.h"

namespace importkcd {

/// `kcd aggregate`: plans and makes tables in data warehouses that answer for the facts of cubes.
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

}  // namespace importkcd
