#pragma once

#include <algorithm>
#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include "base/import_error.h"
#include "base/name_folding.h"

namespace importkcd {

/// Throws the ImportError for a name that may not be added: an empty one, or one already in use.
inline void check_new_name(std::string_view name, bool exists) {
  if (name.empty()) {
    throw ImportError("an object must have a name", error_source::olap_server);
  }
  if (exists) {
    throw ImportError("'" + std::string(name) + "' already exists", error_source::olap_server);
  }
}

/// The objects of one kind inside an OLAP object, in the order in which they were added.
///
/// `T` has a member `std::string name`, which stays as it is once the object was added. Names are
/// compared without regard to letter case and found in constant time. References are valid until
/// the next addition to or removal from the same collection.
///
/// A copy costs next to nothing: it shares the objects with the original, and whichever of the two
/// is changed first gets objects of its own. So, once a collection was copied, an object has to be
/// asked for again (edit) to be changed further. Copies that share objects belong to one thread.
template <class T>
class NamedCollection {
 public:
  std::size_t size() const { return items_ ? items_->objects.size() : 0; }
  bool empty() const { return size() == 0; }
  const T* begin() const { return items_ ? items_->objects.data() : nullptr; }
  const T* end() const { return begin() + size(); }
  const T& operator[](std::size_t position) const { return items_->objects[position]; }

  /// The object of that name; null when there is none. Owned by the collection.
  const T* find(std::string_view name) const {
    const auto position = position_of(name);
    return position == size() ? nullptr : &(*this)[position];
  }
  bool contains(std::string_view name) const { return position_of(name) != size(); }

  /// The object of that name, to be changed; null when there is none.
  T* edit(std::string_view name) {
    const auto position = position_of(name);
    return position == size() ? nullptr : &edit_at(position);
  }
  T& edit_at(std::size_t position) { return own_items().objects[position]; }

  /// Adds an object at the end. Throws ImportError when its name is empty or already in use.
  T& add(T object) {
    check_new_name(object.name, contains(object.name));
    return append(std::move(object));
  }

  /// Adds an object with its kind's defaults. Throws as add() does.
  T& add_new(const std::string& name) {
    T object;
    object.name = name;
    return add(std::move(object));
  }

  /// The object of that name, to be changed; added with its kind's defaults when there is none.
  T& edit_or_add(const std::string& name) {
    T* existing = edit(name);
    return existing != nullptr ? *existing : add_new(name);
  }

  /// Adds an object, or puts it in the place of the one that has its name.
  T& put(T&& object) { return put_as(std::move(object)); }
  T& put(const T& object) { return put_as(object); }

  /// Removes the first object; there must be one.
  void remove_first() { remove_at(0); }

  /// Removes the object of that name; does nothing when there is none.
  void remove(std::string_view name) {
    const auto position = position_of(name);
    if (position != size()) {
      remove_at(position);
    }
  }

  /// Removes the objects of these names, in time proportional to the collection and the names.
  void remove_all(const std::vector<std::string>& names) {
    std::unordered_set<std::string> keys;
    for (const auto& name : names) {
      keys.insert(lower_cased(name));
    }
    if (keys.empty() || empty()) {
      return;
    }
    auto& items = own_items();
    std::erase_if(items.objects,
                  [&](const T& object) { return keys.count(lower_cased(object.name)) != 0; });
    items.index.reset();
  }

  /// Puts all objects of another collection, in their order.
  void put_all(NamedCollection&& others) {
    if (empty()) {
      *this = std::move(others);
      return;
    }
    if (!others.empty()) {
      for (auto& object : others.own_items().objects) {
        put(std::move(object));
      }
      others = NamedCollection();
    }
  }

 private:
  /// Up to this size a search walks the objects; an index would cost more than it saves.
  static constexpr std::size_t walked_size = 12;

  /// Lower-cased name -> position in objects.
  using Index = std::unordered_map<std::string, std::size_t>;

  /// What copies share.
  struct Items {
    std::vector<T> objects;
    /// Made at the first search of a larger collection.
    std::unique_ptr<Index> index;
  };

  std::size_t position_of(std::string_view name) const {
    if (size() <= walked_size) {
      const auto* const found =
          std::find_if(begin(), end(), [&](const T& item) { return same_name(item.name, name); });
      return static_cast<std::size_t>(found - begin());
    }
    // Whoever adds an object goes on with it.
    if (same_name((end() - 1)->name, name)) {
      return size() - 1;
    }
    build_index();
    const auto found = items_->index->find(lower_cased(name));
    return found == items_->index->end() ? size() : found->second;
  }

  void build_index() const {
    if (items_->index) {
      return;
    }
    // Put into place when it is whole: one that ran out of memory would hide names.
    auto index = std::make_unique<Index>();
    index->reserve(items_->objects.size());
    for (std::size_t i = 0; i < items_->objects.size(); ++i) {
      index->emplace(lower_cased(items_->objects[i].name), i);
    }
    items_->index = std::move(index);
  }

  /// The objects, as this collection's alone, so that they may be changed. Copies them if need be,
  /// with room for `additions` more.
  Items& own_items(std::size_t additions = 0) {
    if (!items_) {
      items_ = std::make_shared<Items>();
    } else if (items_.use_count() > 1) {
      auto own = std::make_shared<Items>();
      own->objects.reserve(size() + additions);
      own->objects.assign(begin(), end());
      items_ = std::move(own);
    }
    return *items_;
  }

  void remove_at(std::size_t position) {
    auto& items = own_items();
    items.objects.erase(items.objects.begin() + static_cast<std::ptrdiff_t>(position));
    items.index.reset();
  }

  template <class Object>
  T& put_as(Object&& object) {
    const auto position = position_of(object.name);
    if (position != size()) {
      return edit_at(position) = std::forward<Object>(object);
    }
    check_new_name(object.name, false);
    return append(std::forward<Object>(object));
  }

  T& append(T object) {
    auto& items = own_items(1);
    // The object first takes its place, then the index, which is made anew if that fails.
    auto index = std::exchange(items.index, nullptr);
    items.objects.push_back(std::move(object));
    if (index) {
      index->emplace(lower_cased(items.objects.back().name), items.objects.size() - 1);
      items.index = std::move(index);
    }
    return items.objects.back();
  }

  /// Null when nothing was added yet.
  std::shared_ptr<Items> items_;
};

}  // namespace importkcd
