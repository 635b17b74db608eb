#include "tests/pickers/qt/private_bus.h"

#include <gtest/gtest.h>

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

}  // namespace

PrivateBus::PrivateBus() {
  std::string text = configuration;
  const std::string mark = "SOCKET";
  text.replace(text.find(mark), mark.size(), folder_.file("socket"));
  const QString file = QString::fromStdString(folder_.write("bus.conf", text));
  daemon_.start(QStringLiteral("dbus-daemon"),
                {QStringLiteral("--config-file=") + file, QStringLiteral("--nofork"),
                 QStringLiteral("--nopidfile"), QStringLiteral("--nosyslog"),
                 QStringLiteral("--print-address")});
  // The address is printed when the bus listens.
  while (!daemon_.canReadLine() && daemon_.waitForReadyRead()) {
  }
  address_ = QString::fromUtf8(daemon_.readLine()).trimmed();
  EXPECT_FALSE(address_.isEmpty()) << daemon_.readAllStandardError().toStdString();
}

PrivateBus::~PrivateBus() {
  for (const auto& name : connections_) {
    QDBusConnection::disconnectFromBus(name);
  }
  daemon_.terminate();
  daemon_.waitForFinished();
}

QDBusConnection PrivateBus::connect() {
  static int count = 0;
  connections_ << QStringLiteral("private-bus-%1").arg(++count);
  QDBusConnection connection = QDBusConnection::connectToBus(address_, connections_.last());
  EXPECT_TRUE(connection.isConnected());
  return connection;
}

}  // namespace importkcd::testing
