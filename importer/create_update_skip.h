#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

#include "importer/import_run.h"
#include "model/database_objects.h"

namespace importkcd {

/// What becomes of an object that a document defines.
enum class Action {
  /// The server does not have it: add it.
  create,
  /// Leave the existing object alone and say so.
  skip,
  /// Rewrite the existing object.
  update,
  /// Leave the existing object alone and say nothing.
  none,
};

/// The rule that all sections share. `type` is ImportOptions::ImportType; only
/// import_type::incremental and import_type::update do something about an existing object.
Action action_for(bool exists, std::int32_t type);

/// The beginnings of the messages about one kind of object; the object's name and "'" follow.
struct ObjectMessages {
  std::string_view kind;
  std::string_view searching;
  std::string_view creating;
  std::string_view skipping;
  std::string_view updating;
};

/// Sends `text` + the event's name + `end`.
void report_object(const ImportRun& run, std::string_view text, const ObjectEvent& event,
                   std::string_view end = "'");

/// Prepares one object directly under the database (a data source, a dimension, a role) for being
/// set from its element, with the messages about it: by the rule above `fresh` is added, or the
/// existing object of its name is taken for editing. Returns that object, owned by `objects`; null
/// when there is nothing to set, which is also the case when `may_update`, asked about the existing
/// object after the updating message, says no. Throws ImportError when the object can be neither
/// added nor read.
template <class T, class MayUpdate>
T* prepare_database_object(const ImportRun& run, const ObjectMessages& messages,
                           DatabaseObjects<T>& objects, T fresh, MayUpdate may_update) {
  const std::string name = fresh.name;
  report_object(run, messages.searching, {ObjectAction::searching, messages.kind, name});
  switch (action_for(objects.contains(name), run.options().ImportType)) {
    case Action::create: {
      T& added = objects.add(std::move(fresh));
      report_object(run, messages.creating, {ObjectAction::creating, messages.kind, name});
      return &added;
    }
    case Action::skip:
      report_object(run, messages.skipping, {ObjectAction::skipping, messages.kind, name});
      return nullptr;
    case Action::update: {
      const T& existing = *objects.find(name);
      report_object(run, messages.updating, {ObjectAction::updating, messages.kind, name});
      // What is handed out for editing counts as changed, so ask for that only when it may be.
      return may_update(existing) ? objects.edit(name) : nullptr;
    }
    case Action::none:
      break;
  }
  return nullptr;
}

/// The same for a kind of object that may always be updated.
template <class T>
T* prepare_database_object(const ImportRun& run, const ObjectMessages& messages,
                           DatabaseObjects<T>& objects, T fresh) {
  return prepare_database_object(run, messages, objects, std::move(fresh),
                                 [](const T&) { return true; });
}

}  // namespace importkcd
