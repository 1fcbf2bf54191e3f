// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <utility>
#include <vector>

namespace mirrane {

/// A sequence whose positions count from 1. A position outside throws std::out_of_range.
template <typename T>
class OneBased {
public:
    [[nodiscard]] std::int32_t Count() const { return static_cast<std::int32_t>(values_.size()); }
    [[nodiscard]] T& item(std::int32_t position) { return values_[Offset(position)]; }
    [[nodiscard]] const T& item(std::int32_t position) const { return values_[Offset(position)]; }

    void Append(T value) { values_.push_back(std::move(value)); }
    /// Puts a value ahead of the one that stands at a position.
    void Insert(T value, std::int32_t before) { values_.insert(Iterator(before), std::move(value)); }
    void Remove(std::int32_t position) { values_.erase(Iterator(position)); }
    void RemoveAll() { values_.clear(); }

    [[nodiscard]] auto begin() { return values_.begin(); }
    [[nodiscard]] auto end() { return values_.end(); }
    [[nodiscard]] auto begin() const { return values_.begin(); }
    [[nodiscard]] auto end() const { return values_.end(); }
    /// The values in order, for those who take a vector.
    [[nodiscard]] const std::vector<T>& values() const { return values_; }

private:
    [[nodiscard]] std::size_t Offset(std::int32_t position) const {
        if (position < 1 || position > Count()) throw std::out_of_range("Subscript out of range");
        return static_cast<std::size_t>(position) - 1;
    }
    [[nodiscard]] auto Iterator(std::int32_t position) {
        return values_.begin() + static_cast<std::ptrdiff_t>(Offset(position));
    }

    std::vector<T> values_;
};

}  // namespace mirrane
