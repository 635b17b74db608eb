// The program ImportKCD: the main window, filled and started from the command line.

#include <QApplication>
#include <exception>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "base/system.h"
#include "frontend/command_line.h"
#include "frontend/command_line_options.h"
#include "frontend/output_file_name.h"
#include "frontend/time_stamp.h"
#include "frontend/window/headless.h"
#include "frontend/window/main_window.h"
#include "frontend/window/qt_dialogs.h"
#include "servers/choice/server_choice.h"

namespace importkcd {
namespace {

OlapServerFactory servers(ServerAccess access) {
  return [access](std::string_view machine) { return make_olap_server(machine, access); };
}

std::unique_ptr<Dialogs> make_dialogs(bool headless) {
  if (headless) {
    return std::make_unique<HeadlessDialogs>(std::cerr);
  }
  return std::make_unique<QtDialogs>(servers(ServerAccess::read_only));
}

WindowServices make_services(bool headless) {
  WindowServices services;
  services.open_server = servers(ServerAccess::read_write);
  services.open_labels = open_labels_connection;
  services.computer_name = this_computer_name();
  services.time_stamp = current_time_stamp;
  services.today = local_date;
  services.headless = headless;
  if (headless) {
    services.copy_status_line = [](const std::string& line) {
      std::cout << line << '\n' << std::flush;
    };
  }
  return services;
}

constexpr std::string_view usage =
    "usage: ImportKCD [OPTION VALUE]...\n"
    "\n"
    "Opens the window that imports cube definition documents into an OLAP server, its fields "
    "filled\n"
    "from the options. Options start with / or -. The options marked with * start a run at once;\n"
    "the window then closes after it, and the exit status tells whether the run succeeded.\n"
    "\n"
    "  /file NAME *           the document\n"
    "  /machine SERVER *      the OLAP server\n"
    "  /databasename NAME *   import into this database instead of the document's\n"
    "  /datasource SERVER *   another data warehouse server\n"
    "  /dwdb NAME *  /dwnt yes|no *  /dwuser NAME *  /dwpwd [PASSWORD] *\n"
    "                         the data warehouse's connection string; the password stands between\n"
    "                         two characters that are taken off\n"
    "  /incremental  /replace  /update\n"
    "                         the import mode\n"
    "  /cubepartitions        import the cubes' partitions too\n"
    "  /novirtualcubes        no virtual cubes\n"
    "  /patternfrom TEXT  /patternto TEXT\n"
    "                         replace a text in the whole document first\n"
    "  /labelserver SERVER  /labeltrusted true|false  /labelusername NAME  /labelpassword "
    "PASSWORD\n"
    "  /labeldb NAME  /labellanguage NAME\n"
    "                         the labels database, for label-reference files\n"
    "  /statusfile NAME       gets the run's result, one line\n"
    "  /noclose               the window stays open after the run\n"
    "  --open FILE            with nothing beside it: the window opens with this document in its "
    "box\n"
    "  --help, --version      as the only argument: prints this text, or the version, and ends\n";

/// Answers a request for help or for the version; false when the arguments are no such request.
bool answered(const std::vector<std::string>& arguments) {
  if (arguments.size() == 1 && arguments.front() == "--help") {
    std::cout << usage;
    return true;
  }
  if (arguments.size() == 1 && arguments.front() == "--version") {
    std::cout << "ImportKCD " IMPORTKCD_VERSION "\n";
    return true;
  }
  return false;
}

/// Whether the desktop asks for a window with a document, as it does on a double click. That is
/// none of the options that fill the window: an argument of another form than theirs, which names a
/// file as it is, quotes and blanks included.
bool opens_document(const std::vector<std::string>& arguments) {
  return !arguments.empty() && arguments.size() <= 2 && arguments.front() == "--open";
}

/// Runs the program to the end of its window; gives the exit status.
int run(const std::vector<std::string>& arguments) {
  const bool opens = opens_document(arguments);
  const bool headless = is_headless();
  const auto dialogs = make_dialogs(headless);
  frmImportKCDMain window(*dialogs, make_services(headless));
  try {
    window.Form_Load(opens ? "" : join_command_line(arguments));
    if (opens && arguments.size() == 2) {
      window.open_document(arguments.back());
    }
  } catch (const StartUpError& error) {
    dialogs->show_message(nullptr,
                          {MessageIcon::critical, std::string(application_title), error.what()});
    return 1;
  }
  if (headless && !window.is_unattended()) {
    dialogs->show_message(
        nullptr,
        {MessageIcon::critical, std::string(application_title),
         "There is no display for the window. Without one, a run is started by the options 'file' "
         "and 'machine'."});
    return 1;
  }
  window.unloaded = [] { QCoreApplication::quit(); };
  QApplication::setWindowIcon(window.windowIcon());
  window.show();
  QCoreApplication::exec();
  return window.exit_status();
}

}  // namespace
}  // namespace importkcd

int main(int argument_count, char** arguments) {
  const std::vector<std::string> texts(arguments + (argument_count > 0 ? 1 : 0),
                                       arguments + argument_count);
  if (importkcd::answered(texts)) {
    return 0;
  }
  importkcd::choose_platform();
  try {
    // Qt would take options of its own out of the arguments, so it gets the program's name alone.
    int program_name_only = argument_count > 0 ? 1 : 0;
    const QApplication application(program_name_only, arguments);
    QApplication::setApplicationName(QStringLiteral("ImportKCD"));
    return importkcd::run(texts);
  } catch (const std::exception& error) {
    std::cerr << "ImportKCD: " << error.what() << '\n';
  }
  return 1;
}
