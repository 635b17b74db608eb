#include "frontend/window/window_run_view.h"

#include <QApplication>
#include <QPushButton>
#include <algorithm>
#include <limits>

#include "frontend/window/main_window_layout.h"
#include "frontend/window/status_list.h"
#include "labels/labels_connection.h"

namespace importkcd {

using namespace control;

namespace {

/// Milliseconds between two paintings: more often no display shows anything new.
constexpr int painting_interval = 16;

}  // namespace

WindowRunView::WindowRunView(Surroundings surroundings) : surroundings_(std::move(surroundings)) {
  waiting_repaint_.setSingleShot(true);
  QObject::connect(&waiting_repaint_, &QTimer::timeout, &waiting_repaint_,
                   [this] { repaint_now(); });
}

WindowRunView::~WindowRunView() { WindowRunView::set_hourglass(false); }

RunFields WindowRunView::fields() const {
  const WindowControls& controls = surroundings_.controls;
  RunFields fields;
  fields.kcd_filename = controls.text(txtKCDFilename);
  fields.olap_server = controls.text(txtOLAPServer);
  fields.olap_database = controls.text(txtOLAPDatabase);
  fields.datawarehouse_server = controls.text(txtDatawarehouseServer);
  fields.replace_pattern_from = controls.text(txtReplacePatternFrom);
  fields.replace_pattern_to = controls.text(txtReplacePatternTo);
  fields.output_file_name = controls.text(txtOutputFile);
  fields.labels_server = controls.text(txtServer);
  fields.sql_username = controls.text(txtSQLUsername);
  fields.labels_database = controls.text(cmbDB);
  fields.language = controls.text(cmbLanguage);

  fields.alt_olap_database = controls.is_on(cbAltOLAPDatabase);
  fields.alt_dw_server = controls.is_on(cbAltDWServer);
  fields.replace_pattern = controls.is_on(cbReplacePattern);
  fields.import_cube_partition_defs = controls.is_on(cbImportCubePartitionDefs);
  fields.dont_update_levels = controls.is_on(cbDontUpdateLevels);
  fields.output_file = controls.is_on(cbOutputFile);
  fields.output_file_open_on_error = controls.is_on(cbOutputFileOpenOnError);

  fields.incremental = controls.is_on(obIncremental);
  fields.replace = controls.is_on(obReplace);
  fields.update = controls.is_on(obUpdate);
  fields.sql_login = controls.is_on(optSQLLogin) && labels_server_has_logins(fields.labels_server);
  fields.kci_input = surroundings_.document_box.KciInput;
  return fields;
}

bool WindowRunView::output_file_checked() const {
  return surroundings_.controls.is_on(cbOutputFile);
}

void WindowRunView::add_status_line(const std::string& line, LineKind kind) {
  surroundings_.controls.as<StatusList>(lstStatus).add_line(QString::fromStdString(line), kind);
  if (surroundings_.copy_status_line) {
    surroundings_.copy_status_line(line);
  }
}

void WindowRunView::show_summary(const std::string& text) {
  surroundings_.controls.as<StatusList>(lstStatus).show_summary(QString::fromStdString(text));
}

std::int32_t WindowRunView::text_width(const std::string& text) const {
  const int pixels =
      surroundings_.window.fontMetrics().horizontalAdvance(QString::fromStdString(text));
  constexpr double widest = std::numeric_limits<std::int32_t>::max();
  return static_cast<std::int32_t>(std::min(twips_of_pixels(pixels), widest));
}

double WindowRunView::twips_per_pixel() const { return twips_per_pixel_at_96_dpi; }

void WindowRunView::set_status_extent(std::int32_t pixels) {
  surroundings_.controls.as<StatusList>(lstStatus).set_horizontal_extent(pixels);
}

void WindowRunView::repaint() {
  if (!since_painting_.isValid() || since_painting_.hasExpired(painting_interval)) {
    repaint_now();
  } else if (!waiting_repaint_.isActive()) {
    waiting_repaint_.start(painting_interval);
  }
}

void WindowRunView::repaint_now() {
  waiting_repaint_.stop();
  surroundings_.controls.as<StatusList>(lstStatus).show_added_lines();
  // Paints what has changed. Painting everything would cost more than the import.
  QCoreApplication::sendPostedEvents(&surroundings_.window, QEvent::UpdateRequest);
  since_painting_.start();
}

void WindowRunView::process_pending_events() { QCoreApplication::processEvents(); }

void WindowRunView::show_message(const MessageBox& box) {
  surroundings_.dialogs.show_message(&surroundings_.window, box);
}

void WindowRunView::move_focus(ControlName control) {
  surroundings_.controls.widget(control).setFocus(Qt::OtherFocusReason);
}

void WindowRunView::set_hourglass(bool hourglass) {
  if (hourglass_ == hourglass) {
    return;
  }
  hourglass_ = hourglass;
  if (hourglass) {
    QApplication::setOverrideCursor(Qt::WaitCursor);
  } else {
    QApplication::restoreOverrideCursor();
  }
}

void WindowRunView::set_cancel_caption(const std::string& caption) {
  auto& button = surroundings_.controls.as<QPushButton>(cmdCancel);
  button.setText(QString::fromStdString(caption));
  button.setAccessibleName(button.text().remove(QLatin1Char('&')));
}

void WindowRunView::announce_close() {
  surroundings_.dialogs.show_notice(&surroundings_.window,
                                    {MessageIcon::none, std::string(application_title),
                                     "The window closes when the run has ended."});
}

void WindowRunView::close_window() { surroundings_.window.close(); }

void WindowRunView::start_viewer(const std::string& file_name) {
  surroundings_.dialogs.start_viewer(file_name);
}

}  // namespace importkcd
