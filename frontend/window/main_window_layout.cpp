#include "frontend/window/main_window_layout.h"

#include <QAbstractButton>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QStyle>
#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

#include "frontend/window/status_list.h"

namespace importkcd {
namespace {

using namespace control;

/// Characters of average width that a field shows.
constexpr int field_characters = 34;
constexpr int labels_field_characters = 20;
constexpr int pattern_characters = 10;
/// Pixels beyond which the window's width cannot be recorded.
constexpr int widest_window = std::numeric_limits<decltype(RecordedLayout::designed_width)>::max() /
                              twips_per_pixel_at_96_dpi;
/// Lines that the status frame is designed for.
constexpr int status_lines = 5;
/// Pixels that keep the controls of a frame, and the rows of frames, apart: few, because the window
/// has to fit on small screens.
constexpr int side_margin = 9;
constexpr int row_margin = 3;

/// Frames in an order in which what holds another comes first.
constexpr std::array frames{
    frmImportFile,           frmDestination, frmModification, frmImportOptions,
    frmDatabaseImportOption, frmOutput,      fraLabelsDB,     fraAuth};

constexpr std::array browse_buttons{cmdBrowseKCD,      cmdBrowseOLAPServer, cmdBrowseOLAPDatabase,
                                    cmdBrowseDWServer, cmdBrowseOutputFile, cmdServer};

/// What stands left of the fields in the left column.
constexpr std::array heads{lblKCDFilename, lblOLAPServer, cbAltOLAPDatabase,
                           cbAltDWServer,  cbOutputFile,  cbReplacePattern};

/// Places controls with Qt's layouts.
class Designer {
 public:
  Designer(QWidget& window, const WindowControls& controls)
      : window_(window), controls_(controls), character_(window.fontMetrics().averageCharWidth()) {}

  void lay_out();

 private:
  QGridLayout* grid(ControlName frame);
  void place(QGridLayout* layout, int row, int column, ControlName name, int span = 1) {
    layout->addWidget(&controls_.widget(name), row, column, 1, span);
  }
  void row_with_browse(QGridLayout* layout, int row, ControlName head, ControlName field,
                       ControlName button);
  void left_column();
  void import_options();
  void labels_frames();
  QGridLayout* whole_window();
  void narrow_fields(int pixels);
  int head_width() const;

  QWidget& window_;
  const WindowControls& controls_;
  int character_;
};

void Designer::lay_out() {
  const int dots = window_.fontMetrics().horizontalAdvance(QStringLiteral("..."));
  for (const ControlName button : browse_buttons) {
    controls_.widget(button).setFixedWidth(dots + 4 * character_);
  }
  left_column();
  import_options();
  labels_frames();
  QGridLayout* layout = whole_window();
  narrow_fields(layout->sizeHint().width() - widest_window);
  window_.resize(layout->sizeHint());
  layout->setGeometry(window_.rect());
  for (const ControlName name : frames) {
    QWidget& frame = controls_.widget(name);
    frame.layout()->setGeometry(frame.contentsRect());
    delete frame.layout();
  }
  delete layout;
}

QGridLayout* Designer::grid(ControlName frame) {
  auto* layout = new QGridLayout(&controls_.widget(frame));
  layout->setContentsMargins(side_margin, row_margin, side_margin, row_margin);
  layout->setVerticalSpacing(row_margin);
  return layout;
}

void Designer::narrow_fields(int pixels) {
  for (const ControlName name : {frmImportFile, frmDestination, frmModification, frmOutput}) {
    QWidget& frame = controls_.widget(name);
    auto& layout = dynamic_cast<QGridLayout&>(*frame.layout());
    layout.setColumnMinimumWidth(1, field_characters * character_ - std::max(pixels, 0));
    frame.updateGeometry();
  }
}

int Designer::head_width() const {
  int width = 0;
  for (const ControlName head : heads) {
    width = std::max(width, controls_.widget(head).sizeHint().width());
  }
  return width;
}

void Designer::row_with_browse(QGridLayout* layout, int row, ControlName head, ControlName field,
                               ControlName button) {
  place(layout, row, 0, head);
  place(layout, row, 1, field);
  place(layout, row, 2, button);
  layout->setColumnMinimumWidth(0, head_width());
  layout->setColumnMinimumWidth(1, field_characters * character_);
  layout->setColumnStretch(1, 1);
}

void Designer::left_column() {
  row_with_browse(grid(frmImportFile), 0, lblKCDFilename, txtKCDFilename, cmdBrowseKCD);
  row_with_browse(grid(frmDestination), 0, lblOLAPServer, txtOLAPServer, cmdBrowseOLAPServer);
  QGridLayout* changes = grid(frmModification);
  row_with_browse(changes, 0, cbAltOLAPDatabase, txtOLAPDatabase, cmdBrowseOLAPDatabase);
  row_with_browse(changes, 1, cbAltDWServer, txtDatawarehouseServer, cmdBrowseDWServer);
  QGridLayout* output = grid(frmOutput);
  row_with_browse(output, 0, cbOutputFile, txtOutputFile, cmdBrowseOutputFile);
  place(output, 1, 0, cbOutputFileOpenOnError, 3);
}

void Designer::import_options() {
  auto* modes = new QHBoxLayout(&controls_.widget(frmDatabaseImportOption));
  modes->setContentsMargins(side_margin, row_margin, side_margin, row_margin);
  for (const ControlName mode : {obReplace, obIncremental, obUpdate}) {
    modes->addWidget(&controls_.widget(mode));
    modes->addSpacing(character_);
  }
  auto* first_row = new QHBoxLayout;
  first_row->addWidget(&controls_.widget(frmDatabaseImportOption));
  first_row->addSpacing(2 * character_);
  // In line with the modes beside it, which stand above the frame's margin.
  auto* beside_modes = new QVBoxLayout;
  beside_modes->addStretch(1);
  beside_modes->addWidget(&controls_.widget(cbDontUpdateLevels));
  beside_modes->setContentsMargins(
      0, 0, 0,
      modes->contentsMargins().bottom() +
          controls_.widget(frmDatabaseImportOption).contentsMargins().bottom());
  first_row->addLayout(beside_modes);
  first_row->addStretch(1);

  auto* patterns = new QHBoxLayout;
  patterns->setSpacing(side_margin);
  for (const ControlName box : {txtReplacePatternFrom, txtReplacePatternTo}) {
    QWidget& widget = controls_.widget(box);
    widget.setMinimumWidth(pattern_characters * character_);
    widget.setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
  }
  patterns->addWidget(&controls_.widget(txtReplacePatternFrom), 1);
  patterns->addWidget(&controls_.widget(lblReplacePatternBy));
  patterns->addWidget(&controls_.widget(txtReplacePatternTo), 1);

  QGridLayout* layout = grid(frmImportOptions);
  layout->addLayout(first_row, 0, 0, 1, 2);
  place(layout, 1, 0, cbReplacePattern);
  layout->addLayout(patterns, 1, 1);
  place(layout, 2, 0, cbImportCubePartitionDefs, 2);
  layout->setColumnMinimumWidth(0, head_width());
  layout->setColumnStretch(1, 1);
}

void Designer::labels_frames() {
  QGridLayout* login = grid(fraAuth);
  place(login, 0, 0, optSecureLogin, 2);
  place(login, 1, 0, optSQLLogin, 2);
  place(login, 2, 0, lblSQLUsername);
  place(login, 2, 1, txtSQLUsername);
  place(login, 3, 0, lblSQLPassword);
  place(login, 3, 1, txtSQLPassword);
  login->setColumnMinimumWidth(1, labels_field_characters * character_);
  login->setColumnStretch(1, 1);

  QGridLayout* layout = grid(fraLabelsDB);
  place(layout, 0, 0, lblServer);
  place(layout, 0, 1, txtServer);
  place(layout, 0, 2, cmdServer);
  place(layout, 1, 0, fraAuth, 3);
  place(layout, 2, 0, lblDB);
  place(layout, 2, 1, cmbDB, 2);
  place(layout, 3, 0, lblLanguage);
  place(layout, 3, 1, cmbLanguage, 2);
  layout->setRowStretch(4, 1);
  layout->setColumnStretch(1, 1);
}

QGridLayout* Designer::whole_window() {
  auto* buttons = new QHBoxLayout;
  buttons->setSpacing(side_margin);
  buttons->addStretch(1);
  for (const ControlName name : {cmdImport, cmdCancel}) {
    auto& button = controls_.widget(name);
    button.setMinimumWidth(std::max(button.sizeHint().width(), 12 * character_));
    buttons->addWidget(&button, 0, Qt::AlignBottom);
  }

  QWidget& status = controls_.widget(frmStatus);
  const auto& list = controls_.as<StatusList>(lstStatus);
  status.setMinimumHeight(
      std::max(status_lines * list.line_height(),
               list.minimumSizeHint().height() + pixels_of_twips(status_frame_margin)));

  auto* layout = new QGridLayout(&window_);
  layout->setSizeConstraint(QLayout::SetNoConstraint);
  layout->setVerticalSpacing(row_margin);
  int row = 0;
  for (const ControlName frame :
       {frmImportFile, frmDestination, frmModification, frmImportOptions, frmOutput}) {
    place(layout, row++, 0, frame);
  }
  layout->addWidget(&controls_.widget(fraLabelsDB), 0, 1, 4, 1);
  layout->addLayout(buttons, 4, 1);
  layout->addWidget(&status, row, 0, 1, 2);
  layout->setColumnStretch(0, 1);
  // The layout rule makes the status frame higher than designed; the margin leaves room for it.
  layout->setContentsMargins(side_margin, row_margin, side_margin,
                             row_margin + pixels_of_twips(status_frame_margin));
  return layout;
}

/// Where the list stands in its frame. The rule leaves little height for the frame's caption, so
/// the list reaches behind it and keeps a band free there.
void place_status_list(const WindowControls& controls) {
  const auto& frame = controls.as<QGroupBox>(frmStatus);
  auto& list = controls.as<StatusList>(lstStatus);
  const int left = pixels_of_twips(status_list_margin) / 2;
  const int caption = frame.contentsRect().top() + 1;
  const int top = std::min(caption, pixels_of_twips(status_frame_margin) - left);
  list.set_top_band(caption - top);
  list.move(left, top);
}

std::int16_t recorded(int pixels) { return recorded_size(twips_of_pixels(pixels)); }

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

int pixels_of_twips(std::int32_t twips) {
  return static_cast<int>(std::lround(static_cast<double>(twips) / twips_per_pixel_at_96_dpi));
}

RecordedLayout lay_out_as_designed(QWidget& window, const WindowControls& controls) {
  window.ensurePolished();
  Designer(window, controls).lay_out();
  place_status_list(controls);
  RecordedLayout layout;
  layout.designed_height = recorded(window.height());
  layout.designed_width = recorded(window.width());
  layout.field_width = recorded(controls.widget(txtKCDFilename).width());
  layout.frame_width = recorded(controls.widget(frmImportFile).width());
  layout.status_frame_width = recorded(controls.widget(frmStatus).width());
  layout.status_height = recorded(controls.widget(frmStatus).height());
  layout.labels_frame_left = recorded(controls.widget(fraLabelsDB).x());
  layout.browse_button_left = recorded(controls.widget(cmdBrowseKCD).x());
  layout.import_button_left = recorded(controls.widget(cmdImport).x());
  layout.cancel_button_left = recorded(controls.widget(cmdCancel).x());
  layout.import_button_top = recorded(controls.widget(cmdImport).y());
  layout.cancel_button_top = recorded(controls.widget(cmdCancel).y());
  return layout;
}

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
