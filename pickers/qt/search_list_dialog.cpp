#include "pickers/qt/search_list_dialog.h"

#include <QDialogButtonBox>
#include <QFontMetrics>
#include <QLabel>
#include <QListWidget>
#include <QVBoxLayout>
#include <utility>

#include "pickers/qt/dialog_parts.h"

namespace importkcd {
namespace {

/// How wide a name in a caption may become, in average letters.
constexpr int longest_caption_name = 40;

}  // namespace

SearchListDialog::SearchListDialog(const Controls& controls, OlapServerFactory factory,
                                   ErrorBox error_box)
    : factory_(std::move(factory)), error_box_(std::move(error_box)) {
  build(controls);
}

SearchListDialog::~SearchListDialog() = default;

void SearchListDialog::build(const Controls& controls) {
  setObjectName(QLatin1String(controls.dialog));
  setWindowTitle(QLatin1String(controls.title));

  label_ = new QLabel;
  label_->setObjectName(QLatin1String(controls.label));
  label_->setTextFormat(Qt::PlainText);

  list_ = new PickList;
  set_up_list(*list_, QLatin1String(controls.list), QLatin1String(controls.list_name),
              QLatin1String(controls.list_description));
  label_->setBuddy(list_);

  QDialogButtonBox* buttons = make_ok_and_cancel(tr("Takes the selected entry"));
  auto* layout = new QVBoxLayout(this);
  layout->addWidget(label_);
  layout->addWidget(list_);
  layout->addWidget(buttons);

  connect(list_, &QListWidget::itemDoubleClicked, this, &SearchListDialog::confirm);
  connect(buttons, &QDialogButtonBox::accepted, this, &SearchListDialog::confirm);
  connect(buttons, &QDialogButtonBox::rejected, this, &SearchListDialog::reject);
}

void SearchListDialog::reset(const std::string& server_name) {
  server_name_ = server_name;
  // The owner shows an hourglass while it waits for this dialog.
  setCursor(Qt::ArrowCursor);
  list_->clear();
  names_.clear();
  selected_.clear();
  confirmed_ = false;
  failed_ = false;
}

bool SearchListDialog::show_listing(OlapListing listing, const Texts& texts, QWidget* owner) {
  failed_ = listing.failed;
  if (failed_) {
    error_box_(owner, "OLAP Server error", texts.failure);
    return confirmed_;
  }
  names_ = std::move(listing.names);
  label_->setText(texts.caption);
  for (const auto& name : names_) {
    list_->addItem(QString::fromStdString(name));
  }
  setParent(owner, windowFlags());
  list_->setFocus();
  exec();
  // The caller owns the dialog; the owning window must not.
  setParent(nullptr, windowFlags());
  return confirmed_;
}

QString SearchListDialog::quoted_for_caption(const std::string& name) const {
  const QFontMetrics metrics(font());
  const QString shortened = metrics.elidedText(QString::fromStdString(name), Qt::ElideMiddle,
                                               longest_caption_name * metrics.averageCharWidth());
  return QLatin1Char('"') + QString(shortened).replace(QLatin1Char('&'), QLatin1String("&&")) +
         QLatin1Char('"');
}

void SearchListDialog::confirm() {
  // The list has a current entry as soon as it has the focus; a choice is a selected one.
  const auto chosen = list_->selectionModel()->selectedRows();
  selected_ =
      chosen.isEmpty() ? std::string() : names_.at(static_cast<std::size_t>(chosen.first().row()));
  confirmed_ = true;
  accept();
}

void SearchListDialog::reject() {
  confirmed_ = false;
  QDialog::reject();
}

}  // namespace importkcd
