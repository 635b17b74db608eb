#include "pickers/qt/avahi_computer_source.h"

#include <QDBusPendingCall>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QPointer>
#include <array>
#include <utility>

namespace importkcd {
namespace {

const QString service_name = QStringLiteral("org.freedesktop.Avahi");
const QString server_interface = QStringLiteral("org.freedesktop.Avahi.Server");
const QString browser_interface = QStringLiteral("org.freedesktop.Avahi.ServiceBrowser");

/// Services by which computers, rather than other devices, announce themselves.
constexpr std::array<const char*, 5> service_types{"_workstation._tcp", "_smb._tcp", "_ssh._tcp",
                                                   "_sftp-ssh._tcp", "_rdp._tcp"};

/// Avahi's "any interface" and "any protocol".
constexpr int unspecified = -1;
/// Avahi's mark of an announcement that comes from this computer.
constexpr unsigned announced_here = 8;
constexpr unsigned no_flags = 0;

constexpr int answer_timeout_ms = 5000;

/// Where the parts of Avahi's messages stand: ItemNew(interface, protocol, name, type, domain,
/// flags), and ResolveService's answer (interface, protocol, name, type, domain, host, ...).
constexpr int flags_of_item = 5;
constexpr int parts_of_item = 6;
constexpr int host_of_answer = 5;

QDBusMessage call_to_avahi(const QString& path, const QString& interface, const QString& method) {
  QDBusMessage call = QDBusMessage::createMethodCall(service_name, path, interface, method);
  call.setAutoStartService(false);
  return call;
}

void free_browser(const QDBusConnection& bus, const QString& path) {
  if (!path.isEmpty()) {
    bus.send(call_to_avahi(path, browser_interface, QStringLiteral("Free")));
  }
}

}  // namespace

AvahiComputerSource::AvahiComputerSource(QDBusConnection bus) : bus_(std::move(bus)) {}

AvahiComputerSource::~AvahiComputerSource() {
  for (const auto& path : std::as_const(browsers_)) {
    free_browser(bus_, path);
  }
}

void AvahiComputerSource::start(Found found, Finished finished) {
  found_ = std::move(found);
  finished_ = std::move(finished);
  if (bus_.isConnected()) {
    // Avahi signals as soon as it has made a browser: the signals are connected first, for any
    // path.
    const auto listen = [this](const char* signal, const char* slot) {
      bus_.connect(service_name, QString(), browser_interface, QLatin1String(signal), this, slot);
    };
    listen("ItemNew", SLOT(service_appeared(QDBusMessage)));
    listen("AllForNow", SLOT(browser_settled(QDBusMessage)));
    listen("Failure", SLOT(browser_settled(QDBusMessage)));
    for (const char* type : service_types) {
      browse(QLatin1String(type));
    }
  }
  finish_when_settled();
}

void AvahiComputerSource::browse(const QString& service_type) {
  QDBusMessage call =
      call_to_avahi(QStringLiteral("/"), server_interface, QStringLiteral("ServiceBrowserNew"));
  call << unspecified << unspecified << service_type << QString() << no_flags;
  ++pending_calls_;
  // The answer is awaited even when this object is gone: Avahi would keep the browser otherwise.
  auto* watcher = new QDBusPendingCallWatcher(bus_.asyncCall(call, answer_timeout_ms));
  connect(watcher, &QDBusPendingCallWatcher::finished, watcher,
          [self = QPointer<AvahiComputerSource>(this), bus = bus_](auto* answered) {
            answered->deleteLater();
            const QDBusPendingReply<QDBusObjectPath> made = *answered;
            const QString path = made.isError() ? QString() : made.value().path();
            if (self) {
              self->browser_made(path);
            } else {
              free_browser(bus, path);
            }
          });
}

void AvahiComputerSource::browser_made(const QString& path) {
  --pending_calls_;
  if (!path.isEmpty()) {
    browsers_.insert(path);
  }
  finish_when_settled();
}

void AvahiComputerSource::service_appeared(const QDBusMessage& message) {
  const QVariantList parts = message.arguments();
  if (parts.size() != parts_of_item || (parts[flags_of_item].toUInt() & announced_here) != 0) {
    return;
  }
  QDBusMessage call =
      call_to_avahi(QStringLiteral("/"), server_interface, QStringLiteral("ResolveService"));
  // Interface, protocol, name, type and domain as announced; an address of any protocol.
  call.setArguments(parts.mid(0, flags_of_item) << unspecified << no_flags);
  ++pending_calls_;
  auto* watcher = new QDBusPendingCallWatcher(bus_.asyncCall(call, answer_timeout_ms), this);
  connect(watcher, &QDBusPendingCallWatcher::finished, this,
          [this](QDBusPendingCallWatcher* answered) {
            answered->deleteLater();
            service_resolved(*answered);
          });
}

void AvahiComputerSource::service_resolved(const QDBusPendingCallWatcher& call) {
  const QDBusMessage answer = call.reply();
  --pending_calls_;
  const QString host = answer.arguments().value(host_of_answer).toString();
  if (answer.type() == QDBusMessage::ReplyMessage && !host.isEmpty()) {
    found_(host.toStdString());
  }
  finish_when_settled();
}

void AvahiComputerSource::browser_settled(const QDBusMessage& message) {
  settled_.insert(message.path());
  finish_when_settled();
}

void AvahiComputerSource::finish_when_settled() {
  if (pending_calls_ == 0 && settled_.contains(browsers_) && finished_) {
    std::exchange(finished_, nullptr)();
  }
}

}  // namespace importkcd
