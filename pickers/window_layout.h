#pragma once

#include <cstdint>
#include <optional>

namespace importkcd {

// The main window's layout rule. Sizes and places are in twips (1/1440 inch) unless they say
// pixels; twips are independent of the screen's scale.

/// Twips of one pixel at 96 dots per inch.
constexpr std::int32_t twips_per_pixel_at_96_dpi = 15;

/// How much narrower the status list is than its frame.
constexpr std::int32_t status_list_margin = 135;

/// How much higher the status frame is than its list.
constexpr std::int32_t status_frame_margin = 250;

/// The designed layout, recorded once when the window is loaded (see recorded_size).
struct RecordedLayout {
  /// The window's outer size.
  std::int16_t designed_height = 0;
  std::int16_t designed_width = 0;
  /// The width of txtKCDFilename.
  std::int16_t field_width = 0;
  /// The width of frmImportFile.
  std::int16_t frame_width = 0;
  /// The width and the height of frmStatus.
  std::int16_t status_frame_width = 0;
  std::int16_t status_height = 0;
  /// The left edges of fraLabelsDB, cmdBrowseKCD, cmdImport and cmdCancel.
  std::int16_t labels_frame_left = 0;
  std::int16_t browse_button_left = 0;
  std::int16_t import_button_left = 0;
  std::int16_t cancel_button_left = 0;
  /// The top edges of cmdImport and cmdCancel; recorded only.
  std::int16_t import_button_top = 0;
  std::int16_t cancel_button_top = 0;
};

/// A size of the designed layout as it is recorded: rounded to whole twips, halves to even, and
/// kept within 16 bits.
std::int16_t recorded_size(double twips);

/// A window's outer size.
struct WindowSize {
  std::int32_t width = 0;
  std::int32_t height = 0;
};

/// The left edges of controls that move with the window's width.
struct MovedLeftEdges {
  /// All five browse buttons of the left column.
  std::int32_t browse_buttons = 0;
  std::int32_t import_button = 0;
  std::int32_t cancel_button = 0;
  std::int32_t labels_frame = 0;
  bool operator==(const MovedLeftEdges&) const = default;
};

/// What a resize does, in this order. An absent value is left as it is.
struct LayoutResult {
  /// The window is to be given this width; the resize that follows lays out everything else.
  std::optional<std::int32_t> window_width;
  /// txtKCDFilename, txtOLAPServer, txtOLAPDatabase, txtDatawarehouseServer and txtOutputFile.
  std::int32_t field_width = 0;
  /// frmImportFile, frmDestination, frmModification, frmImportOptions and frmOutput.
  std::int32_t frame_width = 0;
  std::optional<MovedLeftEdges> left_edges;
  /// frmStatus and lstStatus.
  std::int32_t status_frame_width = 0;
  std::int32_t status_list_width = 0;

  /// The window is to be given this height.
  std::optional<std::int32_t> window_height;
  /// lstStatus; a list may take a height of its own instead.
  std::int32_t status_list_height = 0;
  /// frmStatus is then to be given status_frame_height of the height that the list took.
  bool status_frame_follows_list = false;
};

/// The layout for a window of that outer size; nothing while it is minimised. A window smaller than
/// designed is set back to its designed size.
std::optional<LayoutResult> Form_Resize(const RecordedLayout& recorded, WindowSize outer,
                                        bool minimised);

/// The status frame's height for the height that its list actually took.
constexpr std::int32_t status_frame_height(std::int32_t list_height_taken) {
  return list_height_taken + status_frame_margin;
}

/// A limit of the window's size in pixels: twips and twips per pixel are rounded to whole numbers,
/// halves to even, and divided with the remainder dropped. A factor that rounds to 0 counts as 1.
std::int32_t track_size_in_pixels(double twips, double twips_per_pixel);

}  // namespace importkcd
