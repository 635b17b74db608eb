#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <map>
#include <string>
#include <vector>

namespace importkcd::testing {

/// Avahi's D-Bus service, as far as browsing services goes, over a network that the test makes up.
/// It answers from the event loop of the test's thread, so a caller that waits for it gets nothing.
class FakeAvahi : public QDBusVirtualObject {
 public:
  struct Service {
    std::string name;
    /// Where it runs; empty: it is announced but cannot be resolved.
    std::string host;
    unsigned flags = 0;
  };

  explicit FakeAvahi(QDBusConnection bus);
  ~FakeAvahi() override;

  /// Service type -> the services on the network.
  std::map<std::string, std::vector<Service>> network;

  /// Whether browsers are refused, and whether they end in a failure.
  bool refuses_browsers = false;
  bool browsers_fail = false;
  /// Whether browsers tell that they have told all for now.
  bool tells_the_end = true;

  /// What was asked, in order.
  std::vector<std::string> browsed_types;
  std::vector<std::string> freed_browsers;

  /// A service that appears while the browsers are there.
  void announce(const std::string& type, const Service& service);

  QString introspect(const QString& path) const override;
  bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override;

 private:
  struct Browser {
    QString path;
    QString client;
  };

  void make_browser(const QDBusMessage& message);
  void resolve(const QDBusMessage& message);
  void signal(const Browser& browser, const QString& name, const QVariantList& arguments);
  void signal_item(const Browser& browser, const std::string& type, const Service& service);

  QDBusConnection bus_;
  std::map<std::string, Browser> browsers_;
};

}  // namespace importkcd::testing
