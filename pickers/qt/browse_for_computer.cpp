#include "pickers/qt/browse_for_computer.h"

#include <QDBusConnection>
#include <memory>
#include <utility>

#include "pickers/local_computers.h"
#include "pickers/qt/avahi_computer_source.h"
#include "pickers/qt/computer_dialog.h"

namespace importkcd {

std::string BrowseForComputer(QWidget* owner, const std::string& title) {
  return BrowseForComputer(owner, title, default_computer_sources());
}

std::string BrowseForComputer(QWidget* owner, const std::string& title, ComputerSources sources) {
  ComputerDialog dialog(title, std::move(sources), owner);
  return dialog.exec() == QDialog::Accepted ? dialog.computer() : std::string();
}

ComputerSources default_computer_sources() {
  ComputerSources sources;
  sources.push_back(make_this_computer_source());
  sources.push_back(make_hosts_file_source());
  sources.push_back(std::make_unique<AvahiComputerSource>(QDBusConnection::systemBus()));
  return sources;
}

}  // namespace importkcd
