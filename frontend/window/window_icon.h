#pragma once

#include <QIcon>

class QIODevice;

namespace importkcd {

/// The program's icon, in the sizes that desktops ask for.
QIcon window_icon();

/// Paints a drawing that consists of filled polygons alone, 64 units wide and high, in that many
/// pixels; what else stands in the SVG document is left out.
QPixmap paint_polygons(QIODevice& svg, int pixels);

}  // namespace importkcd
