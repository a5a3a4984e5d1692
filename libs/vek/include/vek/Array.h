#pragma once

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "vek/Exception.h"

namespace vek {

// The indexed container in which the sensor libraries hand out their records. Indexing checks
// its bound; an index that is not below size() is reported through
// AssertionFailure::logAssert, which logs it and throws.
template <typename T>
class Array {
public:
    static constexpr std::size_t kMaxSize = std::size_t{1} << 24;

    Array() = default;
    explicit Array(std::size_t size) {
        if (size > kMaxSize) {
            throw Exception(String("Asked for array of size: ") + String(std::to_string(size)));
        }
        items_.resize(size);
    }

    std::size_t size() const { return items_.size(); }
    bool isEmpty() const { return items_.empty(); }

    T& operator[](std::size_t index) {
        checkIndex(index);
        return items_[index];
    }
    const T& operator[](std::size_t index) const {
        checkIndex(index);
        return items_[index];
    }

    void add(T item) { items_.push_back(std::move(item)); }
    void clear() { items_.clear(); }

    auto begin() { return items_.begin(); }
    auto end() { return items_.end(); }
    auto begin() const { return items_.begin(); }
    auto end() const { return items_.end(); }

private:
    void checkIndex(std::size_t index) const {
        if (!(index < size()))
            AssertionFailure::logAssert(__FILE__, __LINE__, "index < size()");
    }

    std::vector<T> items_;
};

}  // namespace vek
