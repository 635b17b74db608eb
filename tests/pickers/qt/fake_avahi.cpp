#include "tests/pickers/qt/fake_avahi.h"

#include <gtest/gtest.h>

#include <QByteArrayList>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <utility>

namespace importkcd::testing {
namespace {

constexpr int wired_interface = 2;
constexpr int first_protocol = 0;

/// Arguments of ResolveService and ServiceBrowserNew.
constexpr int type_of_browser = 2;
constexpr int name_of_service = 2;
constexpr int type_of_service = 3;

QString text(const std::string& utf8) { return QString::fromStdString(utf8); }

}  // namespace

FakeAvahi::FakeAvahi(QDBusConnection bus) : bus_(std::move(bus)) {
  qDBusRegisterMetaType<QByteArrayList>();
  EXPECT_TRUE(bus_.registerVirtualObject(QStringLiteral("/"), this, QDBusConnection::SubPath));
  EXPECT_TRUE(bus_.registerService(QStringLiteral("org.freedesktop.Avahi")));
}

FakeAvahi::~FakeAvahi() { bus_.unregisterObject(QStringLiteral("/")); }

QString FakeAvahi::introspect(const QString& /*path*/) const { return {}; }

bool FakeAvahi::handleMessage(const QDBusMessage& message, const QDBusConnection& /*connection*/) {
  if (message.member() == QLatin1String("ServiceBrowserNew")) {
    EXPECT_EQ(message.signature(), "iissu");
    make_browser(message);
    return true;
  }
  if (message.member() == QLatin1String("ResolveService")) {
    EXPECT_EQ(message.signature(), "iisssiu");
    resolve(message);
    return true;
  }
  if (message.member() == QLatin1String("Free")) {
    freed_browsers.push_back(message.path().toStdString());
    bus_.send(message.createReply());
    return true;
  }
  return false;
}

void FakeAvahi::make_browser(const QDBusMessage& message) {
  const std::string type = message.arguments().at(type_of_browser).toString().toStdString();
  browsed_types.push_back(type);
  if (refuses_browsers) {
    bus_.send(message.createErrorReply(QStringLiteral("org.freedesktop.Avahi.NotSupportedError"),
                                       QStringLiteral("Not supported")));
    return;
  }
  const Browser browser{QStringLiteral("/Client0/ServiceBrowser%1").arg(browsed_types.size()),
                        message.service()};
  browsers_[type] = browser;
  // The real one may signal before its answer is read.
  for (const auto& service : network[type]) {
    signal_item(browser, type, service);
  }
  bus_.send(message.createReply(QVariant::fromValue(QDBusObjectPath(browser.path))));
  if (browsers_fail) {
    signal(browser, QStringLiteral("Failure"), {QStringLiteral("Timeout reached")});
  } else if (tells_the_end) {
    signal(browser, QStringLiteral("AllForNow"), {});
  }
}

void FakeAvahi::resolve(const QDBusMessage& message) {
  const QVariantList asked = message.arguments();
  for (const auto& service : network[asked.at(type_of_service).toString().toStdString()]) {
    if (text(service.name) == asked.at(name_of_service).toString() && !service.host.empty()) {
      const unsigned flags = 0;
      bus_.send(message.createReply(asked.mid(0, type_of_service + 2)
                                    << text(service.host) << first_protocol
                                    << QStringLiteral("192.0.2.7")
                                    << QVariant::fromValue(static_cast<unsigned short>(9))
                                    << QVariant::fromValue(QByteArrayList{}) << flags));
      return;
    }
  }
  bus_.send(message.createErrorReply(QStringLiteral("org.freedesktop.Avahi.TimeoutError"),
                                     QStringLiteral("Timeout reached")));
}

void FakeAvahi::announce(const std::string& type, const Service& service) {
  network[type].push_back(service);
  signal_item(browsers_.at(type), type, service);
}

void FakeAvahi::signal(const Browser& browser, const QString& name, const QVariantList& arguments) {
  QDBusMessage message = QDBusMessage::createTargetedSignal(
      browser.client, browser.path, QStringLiteral("org.freedesktop.Avahi.ServiceBrowser"), name);
  message.setArguments(arguments);
  bus_.send(message);
}

void FakeAvahi::signal_item(const Browser& browser, const std::string& type,
                            const Service& service) {
  signal(browser, QStringLiteral("ItemNew"),
         {wired_interface, first_protocol, text(service.name), text(type), QStringLiteral("local"),
          service.flags});
}

}  // namespace importkcd::testing
