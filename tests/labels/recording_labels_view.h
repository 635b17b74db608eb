#pragma once

#include <map>
#include <string>
#include <vector>

#include "labels/labels_view.h"

namespace importkcd::testing {

/// A labels group without a window: behaves like one and keeps what it is told.
class RecordingLabelsView : public LabelsView {
 public:
  LabelsFields labels_fields() const override { return fields; }
  void clear_list(LabelsList list) override {
    entries[list].clear();
    text_of(list).clear();
  }
  void add_entry(LabelsList list, const std::string& text) override {
    entries[list].push_back(text);
  }
  void select_first(LabelsList list) override { text_of(list) = entries.at(list).at(0); }
  void set_list_text(LabelsList list, const std::string& text) override { text_of(list) = text; }
  void show_labels_message(const LabelsMessage& message) override { boxes.push_back(message); }
  bool ask_yes_no(const std::string& title, const std::string& question) override {
    questions.push_back(title + ": " + question);
    return answer;
  }
  void PutProgressMsg(const std::string& strMessage) override { messages.push_back(strMessage); }
  void set_default_pointer() override { ++pointer_resets; }

  LabelsFields fields;
  std::map<LabelsList, std::vector<std::string>> entries;
  std::vector<LabelsMessage> boxes;
  std::vector<std::string> questions;
  std::vector<std::string> messages;
  bool answer = true;
  int pointer_resets = 0;

 private:
  std::string& text_of(LabelsList list) {
    return list == LabelsList::databases ? fields.database : fields.language;
  }
};

}  // namespace importkcd::testing
