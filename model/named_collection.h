#pragma once

#include <algorithm>
#include <cstddef>
#include <memory>
#include <memory_resource>
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
void check_new_name(std::string_view name, bool exists);

/// The objects of one kind inside an OLAP object, in the order in which they were added.
///
/// `T` has a member `std::string name`, which stays as it is once the object was added. Names are
/// compared without regard to letter case and found in constant time. References are valid until
/// the next addition to or removal from the same collection.
///
/// A copy costs next to nothing: it shares the objects with the original. Whichever of the two is
/// changed first gets objects of its own, unless the change is an addition at the end, of which the
/// other sees nothing. So, once a collection was copied, an object has to be asked for again (edit)
/// to be changed further. Copies that share objects belong to one thread.
template <class T>
class NamedCollection {
 public:
  NamedCollection() = default;
  NamedCollection(const NamedCollection& other) = default;
  NamedCollection(NamedCollection&& other) noexcept
      : items_(std::move(other.items_)),
        first_(std::exchange(other.first_, 0)),
        last_(std::exchange(other.last_, 0)) {}
  NamedCollection& operator=(const NamedCollection& other) = default;
  NamedCollection& operator=(NamedCollection&& other) noexcept {
    items_ = std::move(other.items_);
    first_ = std::exchange(other.first_, 0);
    last_ = std::exchange(other.last_, 0);
    return *this;
  }
  ~NamedCollection() = default;

  std::size_t size() const { return last_ - first_; }
  bool empty() const { return first_ == last_; }
  const T* begin() const { return empty() ? nullptr : items_->objects.data() + first_; }
  const T* end() const { return empty() ? nullptr : items_->objects.data() + last_; }
  const T& operator[](std::size_t position) const { return items_->objects[first_ + position]; }

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
  T& edit_at(std::size_t position) {
    make_own(0);
    return items_->objects[first_ + position];
  }

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

  /// Removes the first object; there must be one. Emptying a collection this way costs time in
  /// proportion to its size.
  void remove_first() {
    ++first_;
    if (empty()) {
      *this = NamedCollection();
    } else if (2 * first_ >= items_->objects.size() && is_own()) {
      drop_removed();
    }
  }

  /// Removes the object of that name; does nothing when there is none.
  void remove(std::string_view name) {
    const auto position = position_of(name);
    if (position != size()) {
      make_own(0);
      auto& objects = items_->objects;
      objects.erase(objects.begin() + static_cast<std::ptrdiff_t>(first_ + position));
      --last_;
      items_->index.reset();
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
    make_own(0);
    drop_removed();
    std::erase_if(items_->objects,
                  [&](const T& object) { return keys.count(lower_cased(object.name)) != 0; });
    last_ = items_->objects.size();
  }

  /// Puts all objects of another collection, in their order.
  void put_all(NamedCollection&& others) {
    if (empty()) {
      *this = std::move(others);
      return;
    }
    if (!others.empty()) {
      others.make_own(0);
      std::for_each(others.items_->objects.begin() + static_cast<std::ptrdiff_t>(others.first_),
                    others.items_->objects.end(), [this](T& object) { put(std::move(object)); });
      others = NamedCollection();
    }
  }

 private:
  /// Up to this size a search walks the objects; an index would cost more than it saves.
  static constexpr std::size_t walked_size = 12;

  /// Lower-cased name -> position in objects. Its nodes lie together: scattered among the objects,
  /// every search of a large collection would wait for memory several times.
  struct Index {
    std::pmr::monotonic_buffer_resource nodes;
    std::pmr::unordered_map<std::string, std::size_t> positions{&nodes};
  };

  /// What copies share. Objects outside of a collection's own range [first_, last_) are those that
  /// it removed from the front, and those that a copy of it has added.
  struct Items {
    std::vector<T> objects;
    /// Made at the first search of a larger collection.
    std::unique_ptr<Index> index;
  };

  bool is_own() const { return items_.use_count() == 1; }

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
    const auto& positions = items_->index->positions;
    const auto found = positions.find(lower_cased(name));
    const bool is_here =
        found != positions.end() && found->second >= first_ && found->second < last_;
    return is_here ? found->second - first_ : size();
  }

  void build_index() const {
    if (items_->index) {
      return;
    }
    auto& positions = (items_->index = std::make_unique<Index>())->positions;
    positions.reserve(items_->objects.size());
    for (std::size_t i = 0; i < items_->objects.size(); ++i) {
      positions.insert_or_assign(lower_cased(items_->objects[i].name), i);
    }
  }

  /// Sees to it that the objects are this collection's alone, none after its last one, so that they
  /// may be changed. Copies them if need be, with room for `additions` more.
  void make_own(std::size_t additions) {
    if (!items_ || !is_own()) {
      auto own = std::make_shared<Items>();
      own->objects.reserve(size() + additions);
      own->objects.assign(begin(), end());
      items_ = std::move(own);
      last_ = size();
      first_ = 0;
    } else if (last_ < items_->objects.size()) {
      items_->objects.erase(items_->objects.begin() + static_cast<std::ptrdiff_t>(last_),
                            items_->objects.end());
      items_->index.reset();
    }
  }

  /// Gives up the memory of what was removed from the front. The objects are this collection's own.
  void drop_removed() {
    auto& objects = items_->objects;
    objects.erase(objects.begin(), objects.begin() + static_cast<std::ptrdiff_t>(first_));
    last_ -= first_;
    first_ = 0;
    items_->index.reset();
  }

  /// Whether an object can be added behind shared ones: no copy has done so before, none is
  /// referred to by a name that this collection may use again, and all stay where they are.
  bool may_share_addition() const {
    return items_ && first_ == 0 && last_ == items_->objects.size() &&
           last_ < items_->objects.capacity();
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
    if (!may_share_addition()) {
      make_own(size() + 1);
    }
    auto& objects = items_->objects;
    objects.push_back(std::move(object));
    last_ = objects.size();
    if (items_->index) {
      items_->index->positions.insert_or_assign(lower_cased(objects.back().name), last_ - 1);
    }
    return objects.back();
  }

  std::shared_ptr<Items> items_;
  std::size_t first_ = 0;
  std::size_t last_ = 0;
};

}  // namespace importkcd
