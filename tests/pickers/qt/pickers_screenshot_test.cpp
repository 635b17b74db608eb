#include <gtest/gtest.h>

#include <QMessageBox>
#include <QPixmap>
#include <QVBoxLayout>
#include <memory>
#include <utility>

#include "pickers/qt/browse_for_computer.h"
#include "pickers/qt/search_olap.h"
#include "pickers/qt/shangle.h"
#include "tests/pickers/picker_server.h"
#include "tests/pickers/qt/modal_driver.h"
#include "tests/support/temporary_folder.h"

namespace importkcd {
namespace {

using testing::control;
using testing::ModalDriver;

/// Pictures of the dialogs, at the scale at which this program was started. They are kept in the
/// folder that the variable IMPORTKCD_SCREENSHOTS names.
class PickersScreenshot : public ::testing::Test {
 protected:
  /// Takes the picture and looks whether every visible control fits.
  void take(QWidget& window, const std::string& name) {
    for (const auto* child : window.findChildren<QWidget*>(Qt::FindDirectChildrenOnly)) {
      EXPECT_TRUE(!child->isVisible() || window.rect().contains(child->geometry()))
          << child->objectName().toStdString();
      EXPECT_TRUE(!child->isVisible() || child->width() >= child->minimumSizeHint().width())
          << child->objectName().toStdString();
    }
    const QPixmap picture = window.grab();
    const int percent = qRound(picture.devicePixelRatio() * 100);
    const QString file = QString::fromStdString(folder()) + QLatin1Char('/') +
                         QString::fromStdString(name) + QStringLiteral("-%1.png").arg(percent);
    EXPECT_TRUE(picture.save(file)) << file.toStdString();
  }

  std::string folder() const {
    const QByteArray kept = qgetenv("IMPORTKCD_SCREENSHOTS");
    return kept.isEmpty() ? temporary_.path().string() : kept.toStdString();
  }

  testing::PickerServerState server() const {
    testing::PickerServerState state;
    for (const char* name : {"Foodmart", "Sales", "Sales archive", "Stock"}) {
      state.objects.push_back({OlapClassType::database, name});
    }
    for (const char* name : {"Budget", "Orders", "Returns"}) {
      state.cubes["Sales"].emplace_back(name, OlapCubeKind::regular);
    }
    return state;
  }

  testing::TemporaryFolder temporary_;
};

TEST_F(PickersScreenshot, Databases) {
  testing::PickerServerState state = server();
  const ModalDriver driver([&](QDialog& dialog) {
    testing::click_entry(control<QListWidget>(dialog, "lstOLAPDB"), 1);
    take(dialog, "search-olap-db");
    dialog.close();
  });
  frmSearchOLAPDB(testing::picker_servers(state)).ShowDBs("olap1", nullptr);
  EXPECT_TRUE(driver.acted());
}

TEST_F(PickersScreenshot, CubesOfALongServerName) {
  testing::PickerServerState state = server();
  const ModalDriver driver([&](QDialog& dialog) {
    testing::click_entry(control<QListWidget>(dialog, "lstOLAPCube"), 0);
    take(dialog, "search-olap-cube");
    dialog.close();
  });
  frmSearchOLAPCube(testing::picker_servers(state))
      .ShowCubes("catalogue:/home/somebody/Documents/cubes/of/the/whole/company/server.olap",
                 "Sales", nullptr);
  EXPECT_TRUE(driver.acted());
}

TEST_F(PickersScreenshot, FailureOfTheCubePicker) {
  testing::PickerServerState state = server();
  state.failing = "connect";
  const ModalDriver driver([&](QDialog& dialog) {
    take(dialog, "search-olap-cube-failure");
    dialog.close();
  });
  frmSearchOLAPCube(testing::picker_servers(state)).ShowCubes("olap1", "Sales", nullptr);
  EXPECT_TRUE(driver.acted());
}

/// Finds some computers and goes on searching.
class LongSearch : public ComputerSource {
 public:
  void start(Found found, Finished /*finished*/) override {
    for (const char* name : {"alpha.local", "olap1", "olap2", "datawarehouse.example.org"}) {
      found(name);
    }
  }
};

TEST_F(PickersScreenshot, Computers) {
  const ModalDriver driver([&](QDialog& dialog) {
    testing::click_entry(control<QListWidget>(dialog, "lstComputers"), 2);
    take(dialog, "browse-for-computer");
    dialog.close();
  });
  ComputerSources sources;
  sources.push_back(std::make_unique<LongSearch>());
  BrowseForComputer(nullptr, "Search your OLAP Server...", std::move(sources));
  EXPECT_TRUE(driver.acted());
}

TEST_F(PickersScreenshot, Grip) {
  QWidget window;
  auto* layout = new QVBoxLayout(&window);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->addWidget(new Shangle, 0, Qt::AlignRight | Qt::AlignBottom);
  window.resize(120, 60);
  window.show();
  take(window, "size-grip");
}

}  // namespace
}  // namespace importkcd
