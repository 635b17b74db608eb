#pragma once

#include <SQLiteCpp/SQLiteCpp.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace importkcd {

/// The primary key of a part's row: the object's id, then a position for every step down to it.
class RowKey {
 public:
  explicit RowKey(std::int64_t object_id) : values_{object_id} {}

  /// The key in the first `size` columns of a statement's current row.
  RowKey(const SQLite::Statement& statement, int size) : size_(static_cast<std::size_t>(size)) {
    for (int i = 0; i < size; ++i) {
      values_.at(static_cast<std::size_t>(i)) = statement.getColumn(i).getInt64();
    }
  }

  /// The key of the part at a position in a collection of this one.
  RowKey at(std::size_t position) const {
    RowKey result = *this;
    result.values_.at(size_) = static_cast<std::int64_t>(position);
    ++result.size_;
    return result;
  }

  std::span<const std::int64_t> values() const { return {values_.data(), size_}; }

  /// From the outermost collection inwards.
  std::span<const std::int64_t> positions() const { return values().subspan(1); }

  /// Keys of one table come in the order of their values.
  friend bool operator<(const RowKey& left, const RowKey& right) {
    return left.values_ < right.values_;
  }
  friend bool operator==(const RowKey&, const RowKey&) = default;

 private:
  std::array<std::int64_t, 4> values_{};
  std::size_t size_ = 1;
};

}  // namespace importkcd
