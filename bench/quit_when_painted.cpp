// A plugin that ends any Qt program as soon as its first window has been painted, so that the start
// of a program can be measured from outside without a change to it. Loaded by
// QT_QPA_GENERIC_PLUGINS=quit_when_painted, from the folder in QT_PLUGIN_PATH.

#include <QCoreApplication>
#include <QEvent>
#include <QGenericPlugin>
#include <QWidget>
#include <cstdlib>

namespace importkcd {
namespace {

class QuitWhenPainted : public QObject {
 public:
  explicit QuitWhenPainted(QObject* parent) : QObject(parent) {}

  bool eventFilter(QObject* watched, QEvent* event) override {
    const auto* const widget = qobject_cast<QWidget*>(watched);
    if (event->type() == QEvent::Paint && widget != nullptr && widget->isWindow()) {
      // The children are painted after this event: wait until control is back at the event loop.
      QMetaObject::invokeMethod(
          this, [] { std::_Exit(0); }, Qt::QueuedConnection);
    }
    return false;
  }
};

}  // namespace

class QuitWhenPaintedPlugin : public QGenericPlugin {
  Q_OBJECT
  Q_PLUGIN_METADATA(IID QGenericPluginFactoryInterface_iid FILE "quit_when_painted.json")

 public:
  QObject* create(const QString& /*name*/, const QString& /*settings*/) override {
    auto* const filter = new QuitWhenPainted(this);
    QCoreApplication::instance()->installEventFilter(filter);
    return filter;
  }
};

}  // namespace importkcd

#include "quit_when_painted.moc"
