#include "frontend/window/window_icon.h"

#include <QFile>
#include <QPainter>
#include <QPixmap>
#include <QPolygonF>
#include <QXmlStreamReader>

namespace importkcd {
namespace {

constexpr double drawing_size = 64.0;

/// Points as SVG writes them: "x,y x,y".
QPolygonF polygon_of(QStringView points) {
  QPolygonF polygon;
  for (const QStringView point : points.split(QLatin1Char(' '), Qt::SkipEmptyParts)) {
    const qsizetype comma = point.indexOf(QLatin1Char(','));
    polygon << QPointF(point.left(comma).toDouble(), point.mid(comma + 1).toDouble());
  }
  return polygon;
}

}  // namespace

QIcon window_icon() {
  QIcon icon;
  for (const int pixels : {16, 32, 48, 128}) {
    QFile drawing(QStringLiteral(":/importkcd.svg"));
    if (drawing.open(QIODevice::ReadOnly)) {
      icon.addPixmap(paint_polygons(drawing, pixels));
    }
  }
  return icon;
}

QPixmap paint_polygons(QIODevice& svg, int pixels) {
  QPixmap pixmap(pixels, pixels);
  pixmap.fill(Qt::transparent);
  QPainter painter(&pixmap);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.scale(pixels / drawing_size, pixels / drawing_size);
  painter.setPen(Qt::NoPen);
  QXmlStreamReader reader(&svg);
  while (!reader.atEnd()) {
    if (reader.readNext() == QXmlStreamReader::StartElement &&
        reader.name() == QLatin1String("polygon")) {
      painter.setBrush(QColor(reader.attributes().value(QLatin1String("fill"))));
      painter.drawPolygon(polygon_of(reader.attributes().value(QLatin1String("points"))));
    }
  }
  return pixmap;
}

}  // namespace importkcd
