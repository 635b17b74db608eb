#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

#include "frontend/command_line_target.h"

namespace importkcd::testing {

/// Keeps, in order, what the command line does to a window, as "VERB CONTROL[=TEXT]".
class RecordingTarget : public CommandLineTarget {
 public:
  void set_text(ControlName box, const std::string& text) override {
    texts[std::string(box)] = text;
    operations.push_back("set_text " + std::string(box) + "=" + text);
  }
  std::string text(ControlName box) const override {
    const auto found = texts.find(std::string(box));
    return found == texts.end() ? std::string() : found->second;
  }
  void repaint(ControlName control) override { record("repaint", control); }
  void check(ControlName check_box) override {
    checked.insert(std::string(check_box));
    record("check", check_box);
  }
  void uncheck(ControlName check_box) override {
    checked.erase(std::string(check_box));
    record("uncheck", check_box);
  }
  bool is_checked(ControlName check_box) const override {
    return checked.count(std::string(check_box)) > 0;
  }
  void select(ControlName option_button) override { record("select", option_button); }
  void clear_selection(ControlName option_button) override { record("clear", option_button); }
  void disable(ControlName control) override { record("disable", control); }
  void DeriveOutputFileName() override { operations.emplace_back("derive output file name"); }
  void set_kci_input(bool kci_input) override {
    operations.emplace_back(kci_input ? "KCI input" : "KCD input");
  }

  std::vector<std::string> operations;
  std::map<std::string, std::string> texts;
  std::set<std::string> checked;

 private:
  void record(const std::string& verb, ControlName control) {
    operations.push_back(verb + " " + std::string(control));
  }
};

}  // namespace importkcd::testing
