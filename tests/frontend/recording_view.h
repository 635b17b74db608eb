#pragma once

#include <algorithm>
#include <functional>
#include <string>
#include <vector>

#include "frontend/run_view.h"

namespace importkcd::testing {

/// A window made of nothing: it has fields, keeps in order what a run does to it, and can play the
/// events that run while a status line is shown.
class RecordingView : public RunView {
 public:
  RunFields fields() const override { return typed; }
  bool output_file_checked() const override { return typed.output_file; }

  void add_status_line(const std::string& line, LineKind kind) override {
    lines.push_back(line);
    if (kind == LineKind::error) {
      error_lines.push_back(line);
    }
    operations.push_back("line " + line);
  }
  void show_summary(const std::string& text) override { summaries.push_back(text); }
  std::int32_t text_width(const std::string& text) const override {
    return width_of ? width_of(text) : 0;
  }
  double twips_per_pixel() const override { return 15; }
  void set_status_extent(std::int32_t pixels) override { extents.push_back(pixels); }
  void repaint() override { ++repaints; }
  void repaint_now() override {
    ++repaints_at_once;
    seen_lines = lines.size();
    if (on_repaint) {
      on_repaint();
    }
  }
  void process_pending_events() override {
    ++event_rounds;
    if (events) {
      events(lines.empty() ? std::string() : lines.back());
    }
  }

  void show_message(const MessageBox& box) override {
    boxes.push_back(box);
    operations.push_back("box " + box.title + "|" + box.text);
  }
  void move_focus(ControlName control) override {
    operations.push_back("focus " + std::string(control));
  }
  void set_hourglass(bool hourglass) override {
    operations.emplace_back(hourglass ? "hourglass" : "default pointer");
  }
  void hook_minimum_size() override { operations.emplace_back("hook"); }
  void unhook_minimum_size() override { operations.emplace_back("unhook"); }
  void set_cancel_caption(const std::string& caption) override {
    operations.push_back("cancel button " + caption);
  }
  void announce_close() override { operations.emplace_back("announce close"); }
  void close_window() override { operations.emplace_back("close window"); }
  void start_viewer(const std::string& file_name) override {
    operations.push_back("viewer " + file_name);
  }

  /// The operations other than status lines.
  std::vector<std::string> operations_but_lines() const {
    auto kept = operations;
    std::erase_if(kept, [](const std::string& text) { return text.starts_with("line "); });
    return kept;
  }

  RunFields typed;
  std::function<std::int32_t(const std::string&)> width_of;
  /// Called while pending events are processed, with the last status line.
  std::function<void(const std::string&)> events;

  /// Called by each repaint at once.
  std::function<void()> on_repaint;

  std::vector<std::string> operations;
  std::vector<std::string> lines;
  std::vector<std::string> error_lines;
  std::vector<std::string> summaries;
  std::vector<MessageBox> boxes;
  std::vector<std::int32_t> extents;
  int repaints = 0;
  int repaints_at_once = 0;
  /// How many lines there were at the last repaint at once.
  std::size_t seen_lines = 0;
  int event_rounds = 0;
};

/// A conversion whose outcome the test decides.
class StubConverter : public KciConverter {
 public:
  std::string ConvertKciToKcd() override {
    ++calls;
    return convert ? convert() : std::string();
  }

  std::function<std::string()> convert;
  int calls = 0;
};

}  // namespace importkcd::testing
