#include "frontend/window/window_help.h"

#include <QDialog>
#include <QDialogButtonBox>
#include <QFile>
#include <QLabel>
#include <QPushButton>
#include <QTextBrowser>
#include <QVBoxLayout>

#include "frontend/window/window_icon.h"

namespace importkcd {
namespace {

QString text_of(const QString& resource) {
  QFile file(resource);
  return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

/// Brings up the owner's dialog of that name; null when there is none.
QDialog* dialog_that_is_there(const QWidget& owner, const QString& name) {
  auto* dialog = owner.findChild<QDialog*>(name, Qt::FindDirectChildrenOnly);
  if (dialog != nullptr) {
    dialog->raise();
    dialog->activateWindow();
  }
  return dialog;
}

/// A dialog that stands beside its owner, with a button that closes it.
struct SideDialog {
  SideDialog(QWidget& owner, const QString& name, const QString& title)
      : dialog(new QDialog(&owner)),
        layout(new QVBoxLayout(dialog)),
        buttons(new QDialogButtonBox(QDialogButtonBox::Close, dialog)) {
    dialog->setObjectName(name);
    dialog->setWindowTitle(title);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    QObject::connect(buttons, &QDialogButtonBox::rejected, dialog, &QDialog::reject);
  }

  void show(QWidget& content, const QSize& size) const {
    layout->addWidget(&content, 1);
    layout->addWidget(buttons);
    dialog->resize(size);
    dialog->show();
  }

  QDialog* dialog;
  QVBoxLayout* layout;
  QDialogButtonBox* buttons;
};

QTextBrowser* page_of(QDialog* dialog, const QString& name) {
  auto* page = new QTextBrowser(dialog);
  page->setAccessibleName(name);
  page->setOpenExternalLinks(true);
  return page;
}

}  // namespace

void show_help(QWidget& owner) {
  const auto name = QStringLiteral("dlgHelp");
  if (dialog_that_is_there(owner, name) != nullptr) {
    return;
  }
  const SideDialog help(owner, name, QStringLiteral("Help of ImportKCD"));
  auto* page = page_of(help.dialog, QStringLiteral("Help"));
  page->setMarkdown(text_of(QStringLiteral(":/window-help.md")));
  auto* about = help.buttons->addButton(QStringLiteral("&About"), QDialogButtonBox::HelpRole);
  QObject::connect(about, &QPushButton::clicked, &owner, [&owner] { show_about(owner); });
  constexpr QSize size(560, 520);
  help.show(*page, size);
}

void show_about(QWidget& owner) {
  const auto name = QStringLiteral("dlgAbout");
  if (dialog_that_is_there(owner, name) != nullptr) {
    return;
  }
  const SideDialog about(owner, name, QStringLiteral("About ImportKCD"));
  auto* head = new QLabel(about.dialog);
  head->setTextFormat(Qt::PlainText);
  head->setText(QStringLiteral("ImportKCD " IMPORTKCD_VERSION
                               "\nImports cube definition documents into an OLAP server."));
  auto* icon = new QLabel(about.dialog);
  constexpr int icon_size = 48;
  icon->setPixmap(window_icon().pixmap(icon_size));
  auto* top = new QHBoxLayout;
  top->addWidget(icon);
  top->addWidget(head, 1);
  about.layout->addLayout(top);
  auto* licence = page_of(about.dialog, QStringLiteral("Licence"));
  licence->setPlainText(text_of(QStringLiteral(":/LICENSE")));
  constexpr QSize size(660, 420);
  about.show(*licence, size);
}

}  // namespace importkcd
