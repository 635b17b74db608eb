// The least that a program with a window can do: what the start of ImportKCD is measured against.

#include <QApplication>
#include <QWidget>

int main(int argc, char** argv) {
  const QApplication application(argc, argv);
  QWidget window;
  window.resize(640, 480);
  window.show();
  return QApplication::exec();
}
