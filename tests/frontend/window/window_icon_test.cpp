#include "frontend/window/window_icon.h"

#include <gtest/gtest.h>

#include <QBuffer>
#include <QImage>
#include <QPixmap>

namespace importkcd::testing {
namespace {

TEST(WindowIcon, IsThereInTheSizesOfDesktops) {
  const QIcon icon = window_icon();
  for (const int pixels : {16, 32, 48, 128}) {
    const QImage image = icon.pixmap(pixels).toImage();
    EXPECT_EQ(image.size(), QSize(pixels, pixels));
    EXPECT_EQ(image.pixelColor(0, 0).alpha(), 0) << "the corners are free";
    EXPECT_EQ(image.pixelColor(pixels / 2, pixels / 2).alpha(), 255);
  }
}

TEST(WindowIcon, PolygonsAreFilledInTheirOrder) {
  QByteArray drawing =
      R"(<svg><polygon fill="#ff0000" points="0,0 64,0 64,64 0,64"/>
         <polygon fill="#0000ff" points="32,0 64,0 64,64  32,64"/></svg>)";
  QBuffer buffer(&drawing);
  buffer.open(QIODevice::ReadOnly);
  const QImage image = paint_polygons(buffer, 16).toImage();
  EXPECT_EQ(image.pixelColor(4, 8), QColor(Qt::red));
  EXPECT_EQ(image.pixelColor(12, 8), QColor(Qt::blue));
}

}  // namespace
}  // namespace importkcd::testing
