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

#include "engine/olap_model/import_error.h"
#include "engine/olap_model/name_folding.h"

namespace importkcd {

/// Throws the ImportError for a name that may not be added: an empty one, or one already in use.
void check_new_name(std::string_view name, bool exists);

/// The objects of one kind inside an OLAP object, in the order in which they were added.
///
/// `T` has a member `std::string name`, which stays as it is once the object was added. Names are
/// compared without regard to letter case and found in constant time. References are valid until
/// the next addition to or removal from the same collection.
///
/// A collection also knows from which position on it was changed, so that writing an object back
/// copies what was changed since the last time and nothing else (copy_changes_to).
template <class T>
class NamedCollection {
 public:
  NamedCollection() = default;
  NamedCollection(const NamedCollection& other)
      : items_(other.begin(), other.end()), unchanged_(other.unchanged_) {}
  NamedCollection(NamedCollection&& other) noexcept
      : items_(std::exchange(other.items_, {})),
        first_(std::exchange(other.first_, 0)),
        unchanged_(std::exchange(other.unchanged_, 0)),
        index_(std::move(other.index_)) {}
  NamedCollection& operator=(const NamedCollection& other) {
    if (this != &other) {
      *this = NamedCollection(other);
    }
    return *this;
  }
  NamedCollection& operator=(NamedCollection&& other) noexcept {
    items_ = std::exchange(other.items_, {});
    first_ = std::exchange(other.first_, 0);
    unchanged_ = std::exchange(other.unchanged_, 0);
    index_ = std::move(other.index_);
    return *this;
  }
  ~NamedCollection() = default;

  std::size_t size() const { return items_.size() - first_; }
  bool empty() const { return size() == 0; }
  auto begin() const { return items_.begin() + static_cast<std::ptrdiff_t>(first_); }
  auto end() const { return items_.end(); }
  const T& operator[](std::size_t position) const { return items_[first_ + position]; }

  /// The object of that name; null when there is none. Owned by the collection.
  const T* find(std::string_view name) const {
    const auto position = position_of(name);
    return position == size() ? nullptr : &(*this)[position];
  }
  bool contains(std::string_view name) const { return position_of(name) != size(); }

  /// The object of that name, to be changed; null when there is none. It counts as changed until
  /// the next copy_changes_to; ask again to change it after that.
  T* edit(std::string_view name) {
    const auto position = position_of(name);
    return position == size() ? nullptr : &edit_at(position);
  }
  T& edit_at(std::size_t position) {
    unchanged_ = std::min(unchanged_, position);
    return items_[first_ + position];
  }

  /// Adds an object at the end. Throws ImportError when its name is empty or already in use.
  T& add(T object) {
    check_new_name(object.name, contains(object.name));
    unchanged_ = std::min(unchanged_, size());
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
  T& put(T object) {
    const auto position = position_of(object.name);
    if (position == size()) {
      return add(std::move(object));
    }
    return edit_at(position) = std::move(object);
  }

  /// Removes the first object; there must be one. Emptying a collection this way costs time in
  /// proportion to its size.
  void remove_first() {
    unchanged_ = 0;
    if (index_) {
      index_->erase(lower_cased(items_[first_].name));
    }
    items_[first_] = T{};
    ++first_;
    if (2 * first_ >= items_.size()) {
      items_.erase(items_.begin(), begin());
      first_ = 0;
      index_.reset();
    }
  }

  /// Removes the object of that name; does nothing when there is none.
  void remove(std::string_view name) {
    const auto position = position_of(name);
    if (position != size()) {
      unchanged_ = std::min(unchanged_, position);
      items_.erase(begin() + static_cast<std::ptrdiff_t>(position));
      index_.reset();
    }
  }

  /// Removes the objects of these names, in time proportional to the collection and the names.
  void remove_all(const std::vector<std::string>& names) {
    std::unordered_set<std::string> keys;
    for (const auto& name : names) {
      keys.insert(lower_cased(name));
    }
    if (!keys.empty()) {
      std::vector<T> kept;
      for (auto item = items_.begin() + static_cast<std::ptrdiff_t>(first_); item != items_.end();
           ++item) {
        if (keys.count(lower_cased(item->name)) == 0) {
          kept.push_back(std::move(*item));
        }
      }
      *this = NamedCollection();
      items_ = std::move(kept);
    }
  }

  /// Puts all objects of another collection, in their order.
  void put_all(NamedCollection&& others) {
    if (empty()) {
      *this = std::move(others);
      unchanged_ = 0;
      return;
    }
    for (auto item = others.items_.begin() + static_cast<std::ptrdiff_t>(others.first_);
         item != others.items_.end(); ++item) {
      put(std::move(*item));
    }
    others = NamedCollection();
  }

  /// Makes `written`, which holds what this collection held at the previous call, equal to this
  /// collection by copying the changed end of it.
  void copy_changes_to(NamedCollection& written) {
    unchanged_ = std::min({unchanged_, size(), written.size()});
    written.drop_from(unchanged_);
    for (std::size_t i = unchanged_; i < size(); ++i) {
      written.append((*this)[i]);
    }
    unchanged_ = size();
  }

 private:
  /// Up to this size a search walks the objects; an index would cost more than it saves.
  static constexpr std::size_t walked_size = 12;

  using Index = std::unordered_map<std::string, std::size_t>;

  std::size_t position_of(std::string_view name) const {
    if (size() <= walked_size) {
      const auto found =
          std::find_if(begin(), end(), [&](const T& item) { return same_name(item.name, name); });
      return static_cast<std::size_t>(found - begin());
    }
    build_index();
    const auto found = index_->find(lower_cased(name));
    return found == index_->end() ? size() : found->second - first_;
  }

  void build_index() const {
    if (index_) {
      return;
    }
    index_ = std::make_unique<Index>();
    index_->reserve(size());
    for (std::size_t i = first_; i < items_.size(); ++i) {
      index_->emplace(lower_cased(items_[i].name), i);
    }
  }

  T& append(T object) {
    items_.push_back(std::move(object));
    if (index_) {
      index_->emplace(lower_cased(items_.back().name), items_.size() - 1);
    }
    return items_.back();
  }

  void drop_from(std::size_t position) {
    if (position < size()) {
      items_.erase(begin() + static_cast<std::ptrdiff_t>(position), items_.end());
      index_.reset();
    }
    unchanged_ = std::min(unchanged_, position);
  }

  std::vector<T> items_;
  /// Position in items_ of the first object; what stands before it was removed.
  std::size_t first_ = 0;
  /// So many objects at the front are as they were at the last copy_changes_to.
  std::size_t unchanged_ = 0;
  /// Lower-cased name -> position in items_; made at the first search of a larger collection.
  mutable std::unique_ptr<Index> index_;
};

}  // namespace importkcd
