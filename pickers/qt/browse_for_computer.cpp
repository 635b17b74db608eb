#include "pickers/qt/browse_for_computer.h"

#include <QDBusConnection>
#include <QDialogButtonBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QVBoxLayout>
#include <memory>
#include <utility>

#include "pickers/computer_sources.h"
#include "pickers/qt/avahi_computer_source.h"
#include "pickers/qt/dialog_parts.h"

namespace importkcd {
namespace {

/// An entry of the list. Computer names are sorted without regard to letter case.
class ComputerItem : public QListWidgetItem {
 public:
  using QListWidgetItem::QListWidgetItem;

  bool operator<(const QListWidgetItem& other) const override {
    return text().compare(other.text(), Qt::CaseInsensitive) < 0;
  }
};

}  // namespace

ComputerDialog::ComputerDialog(const std::string& title, ComputerSources sources, QWidget* owner)
    : QDialog(owner), sources_(std::move(sources)) {
  setObjectName(QStringLiteral("frmBrowseForComputer"));
  setWindowTitle(QString::fromStdString(title));
  build();
  search();
}

ComputerDialog::~ComputerDialog() = default;

void ComputerDialog::build() {
  list_ = new PickList(this);
  name_ = new QLineEdit(this);
  state_ = new QLabel(this);
  state_->setObjectName(QStringLiteral("lblSearchState"));
  auto* list_label = new QLabel(tr("Computers on the &network:"), this);
  auto* name_label = new QLabel(tr("Computer n&ame:"), this);
  list_label->setObjectName(QStringLiteral("lblComputers"));
  name_label->setObjectName(QStringLiteral("lblComputer"));
  list_label->setBuddy(list_);
  name_label->setBuddy(name_);
  build_list();
  build_name_box();

  QDialogButtonBox* buttons = make_ok_and_cancel(tr("Takes the computer"));
  ok_ = buttons->button(QDialogButtonBox::Ok);
  ok_->setEnabled(false);
  connect(buttons, &QDialogButtonBox::accepted, this, &ComputerDialog::accept);
  connect(buttons, &QDialogButtonBox::rejected, this, &ComputerDialog::reject);

  auto* layout = new QVBoxLayout(this);
  layout->addWidget(list_label);
  layout->addWidget(list_);
  layout->addWidget(state_);
  layout->addSpacing(fontMetrics().lineSpacing() / 2);
  layout->addWidget(name_label);
  layout->addWidget(name_);
  layout->addWidget(buttons);
  list_->setFocus();
}

void ComputerDialog::build_list() {
  set_up_list(*list_, QStringLiteral("lstComputers"), tr("Computers on the network"),
              tr("The computers that were found; more may still appear"));
  list_->setSortingEnabled(true);
  connect(list_, &QListWidget::itemSelectionChanged, this, [this] {
    const auto selected = list_->selectedItems();
    if (!selected.isEmpty()) {
      name_->setText(selected.first()->text());
    }
  });
  connect(list_, &QListWidget::itemDoubleClicked, this, &ComputerDialog::accept);
}

void ComputerDialog::build_name_box() {
  name_->setObjectName(QStringLiteral("txtComputer"));
  name_->setAccessibleName(tr("Computer name"));
  name_->setAccessibleDescription(tr("The name of the computer; it may be typed"));
  // A name that was typed is no longer the selected entry's.
  connect(name_, &QLineEdit::textEdited, list_, &QListWidget::clearSelection);
  connect(name_, &QLineEdit::textChanged, this, [this] { ok_->setEnabled(!computer().empty()); });
}

void ComputerDialog::search() {
  state_->setText(tr("Searching…"));
  searching_ = sources_.size();
  for (const auto& source : sources_) {
    source->start([this](const std::string& name) { add(name); }, [this] { source_finished(); });
  }
  if (sources_.empty()) {
    state_->setText(tr("Search finished."));
  }
}

void ComputerDialog::add(const std::string& name) {
  const QString text = QString::fromStdString(name);
  if (!text.isEmpty() && list_->findItems(text, Qt::MatchFixedString).isEmpty()) {
    list_->addItem(new ComputerItem(text));
  }
}

void ComputerDialog::source_finished() {
  --searching_;
  if (searching_ == 0) {
    state_->setText(tr("Search finished."));
  }
}

std::string ComputerDialog::computer() const {
  QString name = name_->text().trimmed();
  while (name.startsWith(QLatin1Char('\\'))) {
    name.remove(0, 1);
  }
  return name.trimmed().toStdString();
}

std::string BrowseForComputer(QWidget* owner, const std::string& title) {
  return BrowseForComputer(owner, title, default_computer_sources());
}

std::string BrowseForComputer(QWidget* owner, const std::string& title, ComputerSources sources) {
  ComputerDialog dialog(title, std::move(sources), owner);
  return dialog.exec() == QDialog::Accepted ? dialog.computer() : std::string();
}

ComputerSources default_computer_sources() {
  ComputerSources sources;
  sources.push_back(make_this_computer_source());
  sources.push_back(make_hosts_file_source());
  sources.push_back(std::make_unique<AvahiComputerSource>(QDBusConnection::systemBus()));
  return sources;
}

}  // namespace importkcd
