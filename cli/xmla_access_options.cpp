#include "cli/xmla_access_options.h"

#include <CLI/CLI.hpp>

#include "base/import_error.h"
#include "cli/arguments.h"

namespace importkcd {

void XmlaAccessOptions::add_to(CLI::App& command) {
  auto* user = command.add_option("--user", user_, "Who logs in to the XMLA server");
  user->type_name("NAME");
  auto* file = command.add_option(
      "--password-file", password_file_,
      "The user's password, read from the one line of a file, or from standard input (-)");
  file->type_name("FILE|-")->needs(user);
  user->needs(file);
  command
      .add_option("--ca-file", authorities_file_,
                  "The authorities whose certificates count for https, in PEM; else the system's")
      ->type_name("FILE");
}

void XmlaAccessOptions::leave_standard_input() const {
  if (password_file_ == "-") {
    throw ImportError("kcd: question and password cannot both be read from standard input", "kcd",
                      FailureCause::command_line);
  }
}

HttpAccess XmlaAccessOptions::read(const CommandEnvironment& environment) const {
  HttpAccess access{.user = user_, .authorities_file = authorities_file_};
  if (!user_.empty()) {
    access.password = read_password(password_file_, environment.in);
  }
  return access;
}

}  // namespace importkcd
