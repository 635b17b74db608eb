#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>
#include <QSet>
#include <QString>

#include "pickers/computer_sources.h"

class QDBusPendingCallWatcher;

namespace importkcd {

/// Finds the computers that announce themselves by multicast DNS, through Avahi's D-Bus service. It
/// waits for no answer; a bus or an Avahi that is not there finds nothing, and Avahi is not
/// started. Names are host names as they resolve ("alpha.local"). What this computer announces is
/// left out.
class AvahiComputerSource : public QObject, public ComputerSource {
  Q_OBJECT

 public:
  /// Searches through the Avahi on that bus; it is normally the system's.
  explicit AvahiComputerSource(QDBusConnection bus);
  ~AvahiComputerSource() override;

  void start(Found found, Finished finished) override;

 private Q_SLOTS:
  /// Signals of Avahi's service browsers.
  void service_appeared(const QDBusMessage& message);
  void browser_settled(const QDBusMessage& message);

 private:  // NOLINT(readability-redundant-access-specifiers): these are no slots
  void browse(const QString& service_type);
  /// An empty path: Avahi made none.
  void browser_made(const QString& path);
  void service_resolved(const QDBusPendingCallWatcher& call);
  void finish_when_settled();

  QDBusConnection bus_;
  Found found_;
  Finished finished_;
  /// Object paths of the browsers that Avahi keeps for us, and of those that have told all for now.
  QSet<QString> browsers_;
  QSet<QString> settled_;
  int pending_calls_ = 0;
};

}  // namespace importkcd
