#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "model/named_collection.h"

namespace importkcd {

/// Where the objects of one kind of a stored database are read from, one at a time.
/// All operations throw ImportError when reading fails.
template <class T>
class ObjectSource {
 public:
  virtual ~ObjectSource() = default;

  /// Whether a stored object has that name, whatever its letter case.
  virtual bool contains(std::string_view name) = 0;
  /// The stored object of that name; nothing when there is none.
  virtual std::optional<T> load(std::string_view name) = 0;
  /// The names of all stored objects, in collection order.
  virtual std::vector<std::string> names() = 0;
};

/// The objects of one kind directly under a database: the working copy of a run.
///
/// An object is read from the source when it is first asked for, so that the cost of a run does not
/// grow with what it leaves alone. Names are compared without regard to letter case. Objects keep
/// their address until they are removed or the database is closed.
template <class T>
class DatabaseObjects {
 public:
  /// `source` may be null: a database that is not stored yet.
  explicit DatabaseObjects(std::unique_ptr<ObjectSource<T>> source) : source_(std::move(source)) {}

  bool contains(std::string_view name) const {
    const Entry* entry = entry_of(name);
    return entry != nullptr ? entry->object != nullptr : source_ && source_->contains(name);
  }

  /// The object of that name; null when there is none. Owned by the collection.
  const T* find(std::string_view name) {
    Entry* entry = loaded_entry_of(name);
    return entry == nullptr ? nullptr : entry->object.get();
  }

  /// The object of that name, to be changed; null when there is none. It counts as changed from
  /// then on.
  T* edit(std::string_view name) {
    Entry* entry = loaded_entry_of(name);
    if (entry == nullptr || !entry->object) {
      return nullptr;
    }
    note_changed(*entry);
    return entry->object.get();
  }

  /// Adds an object at the end. Throws ImportError when its name is empty or already in use.
  T& add(T object) {
    check_new_name(object.name, contains(object.name));
    return put(std::move(object));
  }

  /// Adds an object with its kind's defaults. Throws as add() does.
  T& add_new(const std::string& name) {
    T object;
    object.name = name;
    return add(std::move(object));
  }

  /// Adds an object, or puts it in the place of the one that has its name.
  T& put(T object) {
    Entry& entry = entries_[lower_cased(object.name)];
    if (entry.object) {
      *entry.object = std::move(object);
    } else {
      entry.object = std::make_unique<T>(std::move(object));
      added_.push_back(entry.object->name);
    }
    note_changed(entry);
    return *entry.object;
  }

  /// Removes the object of that name; does nothing when there is none.
  void remove(std::string_view name) {
    Entry& entry = entries_[lower_cased(name)];
    entry.object.reset();
    entry.changed = false;
  }

  /// The names of all objects, the stored ones first, in collection order.
  std::vector<std::string> names() const {
    std::vector<std::string> result;
    NamedCollection<Name> seen;
    const auto list = [&](const std::string& name) {
      if (!seen.contains(name) && contains(name)) {
        seen.add(Name{name});
        result.push_back(name);
      }
    };
    if (source_) {
      for (const auto& name : source_->names()) {
        list(name);
      }
    }
    for (const auto& name : added_) {
      list(name);
    }
    return result;
  }

  /// Calls `visit` with every object that was added or asked for to be changed, in the order in
  /// which that happened first.
  void for_each_changed(const std::function<void(T&)>& visit) {
    for (const Entry* entry : changed_) {
      if (entry->changed) {
        visit(*entry->object);
      }
    }
  }

 private:
  struct Name {
    std::string name;
  };
  /// An entry without an object stands for an object that was removed.
  struct Entry {
    std::unique_ptr<T> object;
    bool changed = false;
    bool listed_as_changed = false;
  };

  const Entry* entry_of(std::string_view name) const {
    const auto found = entries_.find(lower_cased(name));
    return found == entries_.end() ? nullptr : &found->second;
  }

  Entry* loaded_entry_of(std::string_view name) {
    auto key = lower_cased(name);
    const auto found = entries_.find(key);
    if (found != entries_.end()) {
      return &found->second;
    }
    auto loaded = source_ ? source_->load(name) : std::nullopt;
    if (!loaded) {
      return nullptr;
    }
    // First the object: an entry without one would stand for an object that was removed.
    auto object = std::make_unique<T>(std::move(*loaded));
    Entry& entry = entries_[std::move(key)];
    entry.object = std::move(object);
    return &entry;
  }

  void note_changed(Entry& entry) {
    entry.changed = true;
    if (!std::exchange(entry.listed_as_changed, true)) {
      changed_.push_back(&entry);
    }
  }

  std::unique_ptr<ObjectSource<T>> source_;
  /// Lower-cased name -> working copy. Entries are never removed and stay where they are.
  std::unordered_map<std::string, Entry> entries_;
  std::vector<std::string> added_;
  std::vector<const Entry*> changed_;
};

}  // namespace importkcd
