#pragma once

#include <QDBusConnection>
#include <QString>

#include "tests/support/process.h"
#include "tests/support/temporary_folder.h"

namespace importkcd::testing {

/// A message bus of the test's own; it ends with this object.
class PrivateBus {
 public:
  PrivateBus();
  PrivateBus(const PrivateBus&) = delete;
  PrivateBus& operator=(const PrivateBus&) = delete;
  ~PrivateBus();

  /// A new connection to the bus. Those that were given out end with the bus.
  QDBusConnection connect();

 private:
  TemporaryFolder folder_;
  RunningProcess daemon_;
  QString address_;
  QStringList connections_;
};

}  // namespace importkcd::testing
