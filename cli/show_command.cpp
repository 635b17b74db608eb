#include <CLI/CLI.hpp>
#include <memory>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "base/connection_text.h"
#include "base/text.h"
#include "cli/commands.h"
#include "cli/database_json.h"
#include "cli/database_tree.h"
#include "cli/stored_databases.h"
#include "cli/xmla_access_options.h"
#include "xmla/xmla_address.h"
#include "xmla/xmla_client.h"

namespace importkcd {
namespace {

class ShowCommand : public Command {
 public:
  explicit ShowCommand(CLI::App& program);
  int run(const CommandEnvironment& environment) const override;

 private:
  /// The one of a server's databases that was asked for, or all. Throws ImportError when it is not
  /// among them.
  std::vector<std::string> chosen_of(std::vector<std::string> names) const;
  void show_tree(OlapServer& server, std::ostream& out) const;
  void show_json(OlapServer& server, std::ostream& out) const;
  /// What a running XMLA server offers; it tells less than a server of this system does.
  void show_xmla_tree(const XmlaClient& client, std::ostream& out) const;
  void show_xmla_json(const XmlaClient& client, std::ostream& out) const;

  std::string server_;
  std::string database_;
  XmlaAccessOptions access_;
  bool as_json_ = false;
};

ShowCommand::ShowCommand(CLI::App& program)
    : Command(program, "show", "Show what an OLAP server holds"), server_("localhost") {
  command_
      ->add_option(
          "SERVER", server_,
          "The OLAP server: localhost (this computer), catalogue:PATH, mondrian:DIRECTORY, "
          "or the address of an XMLA server (http://...), which tells its databases and cubes")
      ->type_name("")
      ->capture_default_str();
  command_->add_option("DATABASE", database_, "Only this database")->type_name("");
  access_.add_to(*command_);
  command_
      ->add_flag("--json", as_json_,
                 "JSON for programs; unlike the tree it holds passwords as they are")
      ->disable_flag_override();
}

std::vector<std::string> ShowCommand::chosen_of(std::vector<std::string> names) const {
  if (command_->count("DATABASE") == 0) {
    return names;
  }
  return {database_named(names, database_)};
}

void ShowCommand::show_tree(OlapServer& server, std::ostream& out) const {
  const auto names = chosen_of(databases_of(server));
  if (names.empty()) {
    out << "No databases on " << printable(mask_passwords(server_)) << ".\n";
  }
  const auto style = style_of_locale();
  for (const auto& name : names) {
    out << (&name == &names.front() ? "" : "\n");
    draw_tree(database_tree(server.open_database(name)), style, out);
  }
}

void ShowCommand::show_json(OlapServer& server, std::ostream& out) const {
  const auto names = chosen_of(databases_of(server));
  DatabaseJson json(out);
  for (const auto& name : names) {
    json.add(server.open_database(name));
  }
  json.end();
}

void ShowCommand::show_xmla_tree(const XmlaClient& client, std::ostream& out) const {
  const auto names = chosen_of(client.databases());
  if (names.empty()) {
    out << "No databases on " << printable(shown_address(server_)) << ".\n";
  }
  const auto style = style_of_locale();
  for (const auto& name : names) {
    const auto tree = xmla_database_tree(name, client.cubes(name), client.unserved_cubes(name));
    out << (&name == &names.front() ? "" : "\n");
    draw_tree(tree, style, out);
  }
}

void ShowCommand::show_xmla_json(const XmlaClient& client, std::ostream& out) const {
  auto databases = nlohmann::ordered_json::array();
  for (const auto& name : chosen_of(client.databases())) {
    databases.push_back(xmla_database_json(name, client.cubes(name), client.unserved_cubes(name)));
  }
  out << nlohmann::ordered_json({{"databases", std::move(databases)}})
             .dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace)
      << '\n';
}

int ShowCommand::run(const CommandEnvironment& environment) const {
  if (is_xmla_address(server_)) {
    const XmlaClient client(server_, {}, access_.read(environment));
    if (as_json_) {
      show_xmla_json(client, environment.out);
    } else {
      show_xmla_tree(client, environment.out);
    }
    return exit_status::success;
  }
  const auto server = environment.open_for_looking(server_);
  server->connect(server_);
  if (as_json_) {
    show_json(*server, environment.out);
  } else {
    show_tree(*server, environment.out);
  }
  return exit_status::success;
}

}  // namespace

std::unique_ptr<const Command> make_show_command(CLI::App& program) {
  return std::make_unique<const ShowCommand>(program);
}

}  // namespace importkcd
