// The least that a program with a window can do: what the start of ImportKCD is measured against.
// An argument is shown as a text, for the least that one with a text can do: fonts have to be
// found.

#include <QApplication>
#include <QLabel>

int main(int argc, char** argv) {
  const QApplication application(argc, argv);
  QWidget window;
  window.resize(640, 480);
  if (argc > 1) {
    new QLabel(QString::fromUtf8(argv[1]), &window);
  }
  window.show();
  return QApplication::exec();
}
