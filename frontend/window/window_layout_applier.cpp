#include "frontend/window/window_layout_applier.h"

#include "frontend/window/designed_layout.h"

namespace importkcd {
namespace {

using namespace control;

void set_width(QWidget& widget, std::int32_t twips) {
  widget.resize(pixels_of_twips(twips), widget.height());
}

void set_left(QWidget& widget, std::int32_t twips) {
  widget.move(pixels_of_twips(twips), widget.y());
}

void set_widths(const WindowControls& controls, const LayoutResult& layout) {
  for (const ControlName field :
       {txtKCDFilename, txtOLAPServer, txtOLAPDatabase, txtDatawarehouseServer, txtOutputFile}) {
    set_width(controls.widget(field), layout.field_width);
  }
  for (const ControlName frame :
       {frmImportFile, frmDestination, frmModification, frmImportOptions, frmOutput}) {
    set_width(controls.widget(frame), layout.frame_width);
  }
  set_width(controls.widget(frmStatus), layout.status_frame_width);
  set_width(controls.widget(lstStatus), layout.status_list_width);
}

void set_left_edges(const WindowControls& controls, const MovedLeftEdges& edges) {
  for (const ControlName button : {cmdBrowseKCD, cmdBrowseOLAPServer, cmdBrowseOLAPDatabase,
                                   cmdBrowseDWServer, cmdBrowseOutputFile}) {
    set_left(controls.widget(button), edges.browse_buttons);
  }
  set_left(controls.widget(cmdImport), edges.import_button);
  set_left(controls.widget(cmdCancel), edges.cancel_button);
  set_left(controls.widget(fraLabelsDB), edges.labels_frame);
}

void set_heights(const WindowControls& controls, const LayoutResult& layout) {
  QWidget& list = controls.widget(lstStatus);
  QWidget& frame = controls.widget(frmStatus);
  list.resize(list.width(), pixels_of_twips(layout.status_list_height));
  if (layout.status_frame_follows_list) {
    const auto taken = static_cast<std::int32_t>(twips_of_pixels(list.height()));
    frame.resize(frame.width(), pixels_of_twips(status_frame_height(taken)));
  }
}

}  // namespace

void apply_layout_rule(QWidget& window, const WindowControls& controls,
                       const RecordedLayout& recorded) {
  const WindowSize outer{static_cast<std::int32_t>(twips_of_pixels(window.width())),
                         static_cast<std::int32_t>(twips_of_pixels(window.height()))};
  const auto layout = Form_Resize(recorded, outer, window.isMinimized());
  if (!layout) {
    return;
  }
  set_widths(controls, *layout);
  if (layout->left_edges) {
    set_left_edges(controls, *layout->left_edges);
  }
  set_heights(controls, *layout);
  if (layout->window_width || layout->window_height) {
    // The resize that follows comes back here and lays out everything at the designed size.
    window.resize(
        layout->window_width ? pixels_of_twips(*layout->window_width) : window.width(),
        layout->window_height ? pixels_of_twips(*layout->window_height) : window.height());
  }
}

}  // namespace importkcd
