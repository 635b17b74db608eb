#include "pickers/qt/dialog_parts.h"

#include <gtest/gtest.h>

#include <QMessageBox>
#include <QTest>

#include "tests/pickers/qt/modal_driver.h"

namespace importkcd {
namespace {

TEST(ErrorBox, ShowsTheTextAsItIsWithTheCriticalStopIcon) {
  const testing::ModalDriver driver([](QDialog& dialog) {
    auto& box = dynamic_cast<QMessageBox&>(dialog);
    EXPECT_EQ(box.icon(), QMessageBox::Critical);
    EXPECT_EQ(box.text(), "One <b>&\r\nTwo");
    EXPECT_EQ(box.textFormat(), Qt::PlainText);
    EXPECT_EQ(box.standardButtons(), QMessageBox::Ok);
    QTest::keyClick(&box, Qt::Key_Return);
  });
  show_error_box(nullptr, "OLAP Server error", "One <b>&\r\nTwo");
  EXPECT_TRUE(driver.acted());
}

}  // namespace
}  // namespace importkcd
