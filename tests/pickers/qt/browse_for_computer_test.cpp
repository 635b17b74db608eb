#include "pickers/qt/browse_for_computer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QTest>
#include <utility>

#include "base/system.h"
#include "servers/choice/server_choice.h"
#include "tests/pickers/qt/modal_driver.h"

namespace importkcd {
namespace {

using testing::control;
using ::testing::ElementsAre;
using testing::ModalDriver;

/// What a test's source found at once, and the ends by which the test goes on.
struct Search {
  std::vector<std::string> at_once;
  bool ends_at_once = true;
  ComputerSource::Found found{};
  ComputerSource::Finished finished{};
  bool alive = false;
};

class TestedSource : public ComputerSource {
 public:
  explicit TestedSource(Search& search) : search_(search) { search_.alive = true; }
  TestedSource(const TestedSource&) = delete;
  TestedSource& operator=(const TestedSource&) = delete;
  ~TestedSource() override { search_.alive = false; }

  void start(Found found, Finished finished) override {
    for (const auto& name : search_.at_once) {
      found(name);
    }
    search_.found = std::move(found);
    search_.finished = std::move(finished);
    if (search_.ends_at_once) {
      search_.finished();
    }
  }

 private:
  Search& search_;
};

class BrowseForComputerTest : public ::testing::Test {
 protected:
  std::string browse(const ModalDriver::Action& action) {
    ComputerSources sources;
    sources.push_back(std::make_unique<TestedSource>(network_));
    sources.push_back(std::make_unique<TestedSource>(hosts_));
    const ModalDriver driver(action);
    auto result = BrowseForComputer(&owner_, "Select your Server...", std::move(sources));
    EXPECT_TRUE(driver.acted());
    return result;
  }

  static QListWidget& list(QDialog& dialog) { return control<QListWidget>(dialog, "lstComputers"); }
  static QLineEdit& name_box(QDialog& dialog) { return control<QLineEdit>(dialog, "txtComputer"); }
  static QPushButton& ok(QDialog& dialog) { return control<QPushButton>(dialog, "cmdOk"); }
  static std::string state(QDialog& dialog) {
    return control<QLabel>(dialog, "lblSearchState").text().toStdString();
  }
  static void press(QPushButton& button) { QTest::mouseClick(&button, Qt::LeftButton); }
  static void cancel(QDialog& dialog) { press(control<QPushButton>(dialog, "cmdCancel")); }

  QWidget owner_;
  Search network_{{"olap2", "Dw1"}};
  Search hosts_{{"alpha"}};
};

TEST_F(BrowseForComputerTest, TheFirstArrowKeySelectsAndFillsTheName) {
  EXPECT_EQ(browse([](QDialog& dialog) {
              EXPECT_TRUE(QTest::qWaitFor([&] { return list(dialog).hasFocus(); }));
              EXPECT_FALSE(list(dialog).currentIndex().isValid()) << "no row looks chosen";
              QTest::keyClick(&list(dialog), Qt::Key_Down);
              QTest::keyClick(&list(dialog), Qt::Key_Return);
            }),
            "alpha");
}

TEST_F(BrowseForComputerTest, TheDialogHasTheTitleAndListsWhatTheSourcesFind) {
  browse([&](QDialog& dialog) {
    EXPECT_EQ(dialog.windowTitle(), "Select your Server...");
    EXPECT_EQ(dialog.parentWidget(), &owner_);
    EXPECT_TRUE(dialog.isModal());
    EXPECT_THAT(testing::entries(list(dialog)), ElementsAre("alpha", "Dw1", "olap2"));
    cancel(dialog);
  });
}

TEST_F(BrowseForComputerTest, TheSelectedComputerIsTheAnswer) {
  EXPECT_EQ(browse([](QDialog& dialog) {
              testing::click_entry(list(dialog), 1);
              EXPECT_EQ(name_box(dialog).text(), "Dw1");
              press(ok(dialog));
            }),
            "Dw1");
}

TEST_F(BrowseForComputerTest, ADoubleClickConfirms) {
  EXPECT_EQ(browse([](QDialog& dialog) { testing::double_click_entry(list(dialog), 2); }), "olap2");
}

TEST_F(BrowseForComputerTest, KeysChooseAndReturnConfirms) {
  EXPECT_EQ(browse([](QDialog& dialog) {
              QTest::keyClick(&list(dialog), Qt::Key_End);
              QTest::keyClick(&list(dialog), Qt::Key_Return);
            }),
            "olap2");
}

TEST_F(BrowseForComputerTest, ANameMayBeTyped) {
  EXPECT_EQ(browse([](QDialog& dialog) {
              testing::click_entry(list(dialog), 0);
              name_box(dialog).selectAll();
              QTest::keyClicks(&name_box(dialog), "olap9");
              EXPECT_TRUE(list(dialog).selectedItems().isEmpty());
              QTest::keyClick(&name_box(dialog), Qt::Key_Return);
            }),
            "olap9");
}

TEST_F(BrowseForComputerTest, LeadingBackslashesAndBlanksAreNoPartOfTheName) {
  EXPECT_EQ(browse([](QDialog& dialog) {
              QTest::keyClicks(&name_box(dialog), "  \\\\olap9 ");
              press(ok(dialog));
            }),
            "olap9");
}

TEST_F(BrowseForComputerTest, WithoutANameThereIsNoOk) {
  browse([](QDialog& dialog) {
    EXPECT_FALSE(ok(dialog).isEnabled());
    QTest::keyClicks(&name_box(dialog), " \\\\");
    EXPECT_FALSE(ok(dialog).isEnabled());
    QTest::keyClick(&name_box(dialog), Qt::Key_Return);
    EXPECT_TRUE(dialog.isVisible());
    QTest::keyClicks(&name_box(dialog), "x");
    EXPECT_TRUE(ok(dialog).isEnabled());
    cancel(dialog);
  });
}

TEST_F(BrowseForComputerTest, CancelEscapeAndClosingAnswerTheEmptyText) {
  const auto choose = [](QDialog& dialog) { testing::click_entry(list(dialog), 0); };
  EXPECT_EQ(browse([&](QDialog& dialog) {
              choose(dialog);
              cancel(dialog);
            }),
            "");
  EXPECT_EQ(browse([&](QDialog& dialog) {
              choose(dialog);
              QTest::keyClick(&list(dialog), Qt::Key_Escape);
            }),
            "");
  EXPECT_EQ(browse([&](QDialog& dialog) {
              choose(dialog);
              dialog.close();
            }),
            "");
}

TEST_F(BrowseForComputerTest, ComputersAppearWhileItSearchesAndTheChoiceStays) {
  network_.ends_at_once = false;
  EXPECT_EQ(browse([&](QDialog& dialog) {
              EXPECT_EQ(state(dialog), "Searching…");
              testing::click_entry(list(dialog), 1);
              network_.found("beta");
              EXPECT_THAT(testing::entries(list(dialog)),
                          ElementsAre("alpha", "beta", "Dw1", "olap2"));
              network_.finished();
              EXPECT_EQ(state(dialog), "Search finished.");
              network_.found("zeta");
              EXPECT_EQ(list(dialog).count(), 5);
              press(ok(dialog));
            }),
            "Dw1");
}

TEST_F(BrowseForComputerTest, AComputerIsListedOnceWhateverItsLetterCase) {
  hosts_.at_once = {"OLAP2", "olap2", "", "alpha"};
  browse([](QDialog& dialog) {
    EXPECT_THAT(testing::entries(list(dialog)), ElementsAre("alpha", "Dw1", "olap2"));
    cancel(dialog);
  });
}

TEST_F(BrowseForComputerTest, TheSearchEndsWithTheDialog) {
  browse([this](QDialog& dialog) {
    EXPECT_TRUE(network_.alive);
    cancel(dialog);
  });
  EXPECT_FALSE(network_.alive);
  EXPECT_FALSE(hosts_.alive);
}

TEST(ComputerDialogTest, ControlsAreKnownToAssistiveTechnology) {
  ComputerDialog dialog("Title", {}, nullptr);
  EXPECT_EQ(dialog.objectName(), "frmBrowseForComputer");
  auto& list = control<QListWidget>(dialog, "lstComputers");
  auto& name = control<QLineEdit>(dialog, "txtComputer");
  EXPECT_EQ(list.accessibleName(), "Computers on the network");
  EXPECT_EQ(name.accessibleName(), "Computer name");
  EXPECT_NE(list.accessibleDescription(), "");
  EXPECT_NE(name.accessibleDescription(), "");
  EXPECT_EQ(control<QLabel>(dialog, "lblComputers").buddy(), &list);
  EXPECT_EQ(control<QLabel>(dialog, "lblComputer").buddy(), &name);
}

TEST(ComputerDialogTest, WithoutSourcesTheSearchIsFinished) {
  ComputerDialog dialog("Title", {}, nullptr);
  EXPECT_EQ(control<QLabel>(dialog, "lblSearchState").text(), "Search finished.");
}

TEST(DefaultComputerSources, FindAtLeastThisComputer) {
  const ModalDriver driver([](QDialog& dialog) {
    EXPECT_EQ(dialog.windowTitle(), "Search your OLAP Server...");
    auto& list = control<QListWidget>(dialog, "lstComputers");
    EXPECT_THAT(testing::entries(list), ::testing::Contains(this_computer_name()));
    dialog.reject();
  });
  EXPECT_EQ(BrowseForComputer(nullptr, "Search your OLAP Server..."), "");
  EXPECT_TRUE(driver.acted());
}

TEST(DefaultComputerSources, AreThisComputerTheHostsFileAndTheNetwork) {
  EXPECT_EQ(default_computer_sources().size(), 3U);
}

}  // namespace
}  // namespace importkcd
