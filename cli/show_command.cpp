#include "cli/show_command.h"

#include <CLI/CLI.hpp>
#include <ostream>

#include "cli/catalogue_json.h"
#include "cli/catalogue_tree.h"
#include "cli/xmla_tree.h"
#include "engine/olap_model/import_error.h"
#include "engine/olap_model/name_folding.h"
#include "engine/printable_text.h"
#include "engine/xmla/xmla_address.h"
#include "engine/xmla/xmla_client.h"

namespace importkcd {

ShowCommand::ShowCommand(CLI::App& program)
    : command_(program.add_subcommand("show", "Show what an OLAP server holds")),
      server_("localhost") {
  command_
      ->add_option(
          "SERVER", server_,
          "The OLAP server: localhost (this computer), catalogue:PATH, mondrian:DIRECTORY, "
          "or the address of an XMLA server (http://...), which tells its databases and cubes")
      ->type_name("")
      ->capture_default_str();
  command_->add_option("DATABASE", database_, "Only this database")->type_name("");
  command_
      ->add_flag("--json", as_json_,
                 "JSON for programs; unlike the tree it holds passwords as they are")
      ->disable_flag_override();
}

bool ShowCommand::chosen() const { return command_->parsed(); }

std::vector<std::string> ShowCommand::databases_to_show(OlapServer& server) const {
  const bool all = command_->count("DATABASE") == 0;
  std::vector<std::string> names;
  for (const auto& object : server.stored_objects()) {
    if (object.class_type == OlapClassType::database &&
        (all || same_name(object.name, database_))) {
      names.push_back(object.name);
    }
  }
  if (names.empty() && !all) {
    throw ImportError("database '" + database_ + "' not found", "kcd");
  }
  return names;
}

void ShowCommand::show_tree(OlapServer& server, std::ostream& out) const {
  const auto names = databases_to_show(server);
  if (names.empty()) {
    out << "No databases on " << printable(server_) << ".\n";
  }
  const auto style = style_of_locale();
  for (const auto& name : names) {
    out << (&name == &names.front() ? "" : "\n");
    draw_tree(database_tree(server.open_database(name)), style, out);
  }
}

void ShowCommand::show_json(OlapServer& server, std::ostream& out) const {
  const auto names = databases_to_show(server);
  CatalogueJson json(out);
  for (const auto& name : names) {
    json.add(server.open_database(name));
  }
  json.end();
}

void ShowCommand::show_xmla(std::ostream& out) const {
  const XmlaClient client(server_);
  const bool all = command_->count("DATABASE") == 0;
  auto json = nlohmann::ordered_json::array();
  bool found = false;
  for (const auto& name : client.databases()) {
    if (!all && !same_name(name, database_)) {
      continue;
    }
    const auto cubes = client.cubes(name);
    if (as_json_) {
      json.push_back(xmla_database_json(name, cubes));
    } else {
      out << (found ? "\n" : "");
      draw_tree(xmla_database_tree(name, cubes), style_of_locale(), out);
    }
    found = true;
  }
  if (!found && !all) {
    throw ImportError("database '" + database_ + "' not found", "kcd");
  }
  if (as_json_) {
    out << nlohmann::ordered_json({{"databases", std::move(json)}})
               .dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace)
        << '\n';
  } else if (!found) {
    out << "No databases on " << printable(shown_address(server_)) << ".\n";
  }
}

int ShowCommand::run(const CommandEnvironment& environment) const {
  if (is_xmla_address(server_)) {
    show_xmla(environment.out);
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

}  // namespace importkcd
