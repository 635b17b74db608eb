#include "tests/pickers/qt/private_bus.h"

#include <gtest/gtest.h>

#include <csignal>

namespace importkcd::testing {
namespace {

constexpr const char* configuration = R"(<busconfig>
  <type>session</type>
  <listen>unix:path=SOCKET</listen>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
</busconfig>
)";

ProcessStart bus_of(const TemporaryFolder& folder) {
  std::string text = configuration;
  const std::string mark = "SOCKET";
  text.replace(text.find(mark), mark.size(), folder.file("socket"));
  return {.program = "/usr/bin/dbus-daemon",
          .arguments = {"--config-file=" + folder.write("bus.conf", text), "--nofork",
                        "--nopidfile", "--nosyslog", "--print-address"}};
}

}  // namespace

PrivateBus::PrivateBus() : daemon_(bus_of(folder_)) {
  // The address is printed when the bus listens.
  daemon_.read_until("\n");
  address_ = QString::fromStdString(daemon_.output()).trimmed();
  EXPECT_FALSE(address_.isEmpty()) << daemon_.errors();
}

PrivateBus::~PrivateBus() {
  for (const auto& name : connections_) {
    QDBusConnection::disconnectFromBus(name);
  }
  daemon_.send(SIGTERM);
  daemon_.finish();
}

QDBusConnection PrivateBus::connect() {
  static int count = 0;
  connections_ << QStringLiteral("private-bus-%1").arg(++count);
  QDBusConnection connection = QDBusConnection::connectToBus(address_, connections_.last());
  EXPECT_TRUE(connection.isConnected());
  return connection;
}

}  // namespace importkcd::testing
