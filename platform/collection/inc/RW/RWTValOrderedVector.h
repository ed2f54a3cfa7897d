// RW/RWTValOrderedVector.h: an ordered vector of values (RWTValOrderedVector<T>).
//
//   RWTValOrderedVector<Dicom_Tag> tags;
//   tags.append(tag);
//   for (size_t i = 0; i < tags.entries(); ++i) use(tags[i]);
//   tags[tags.length()];               // throws RWBoundsErr
//
// operator[], at(), insertAt(), removeAt(), first() and last() are checked
// and throw RWBoundsErr (std::out_of_range) naming the index and the length.
// Lookups (contains, index, find, remove, removeAll, occurrencesOf) use
// operator== of T.
#pragma once

#include <RW/RWBoundsErr.h>
#include <RW/RWDefs.h>

#include <cstddef>
#include <initializer_list>
#include <utility>
#include <vector>

template <class T>
class RWTValOrderedVector {
public:
    using iterator = typename std::vector<T>::iterator;
    using const_iterator = typename std::vector<T>::const_iterator;

    RWTValOrderedVector() = default;
    explicit RWTValOrderedVector(size_t capacity) { items_.reserve(capacity); }
    RWTValOrderedVector(std::initializer_list<T> values) : items_(values) {}

    void append(const T& value) { items_.push_back(value); }
    void append(T&& value) { items_.push_back(std::move(value)); }
    // Same as append.
    void insert(const T& value) { items_.push_back(value); }
    void prepend(const T& value) { items_.insert(items_.begin(), value); }
    // Inserts before position `i` (i == entries() appends).
    void insertAt(size_t i, const T& value) {
        if (i > items_.size()) throw RWBoundsErr(i, items_.size());
        items_.insert(items_.begin() + static_cast<std::ptrdiff_t>(i), value);
    }

    size_t entries() const noexcept { return items_.size(); }
    size_t length() const noexcept { return items_.size(); }
    bool isEmpty() const noexcept { return items_.empty(); }

    T& at(size_t i) {
        RWCheckBounds(i, items_.size());
        return items_[i];
    }
    const T& at(size_t i) const {
        RWCheckBounds(i, items_.size());
        return items_[i];
    }
    T& operator[](size_t i) { return at(i); }
    const T& operator[](size_t i) const { return at(i); }
    const T& first() const { return at(0); }
    const T& last() const {
        if (items_.empty()) throw RWBoundsErr(0, 0);
        return items_.back();
    }

    bool contains(const T& value) const { return index(value) != RW_NPOS; }
    // Position of the first element equal to `value`; RW_NPOS if none.
    size_t index(const T& value) const {
        for (size_t i = 0; i < items_.size(); ++i) {
            if (items_[i] == value) return i;
        }
        return RW_NPOS;
    }
    // Copies the first element equal to `value` into `found`; false if none.
    bool find(const T& value, T& found) const {
        const size_t i = index(value);
        if (i == RW_NPOS) return false;
        found = items_[i];
        return true;
    }
    size_t occurrencesOf(const T& value) const {
        size_t n = 0;
        for (const T& item : items_) n += item == value ? 1 : 0;
        return n;
    }

    // Removes and returns the element at `i`.
    T removeAt(size_t i) {
        RWCheckBounds(i, items_.size());
        T value = std::move(items_[i]);
        items_.erase(items_.begin() + static_cast<std::ptrdiff_t>(i));
        return value;
    }
    T removeFirst() { return removeAt(0); }
    T removeLast() {
        if (items_.empty()) throw RWBoundsErr(0, 0);
        T value = std::move(items_.back());
        items_.pop_back();
        return value;
    }
    // Removes the first element equal to `value`; false if none.
    bool remove(const T& value) {
        const size_t i = index(value);
        if (i == RW_NPOS) return false;
        items_.erase(items_.begin() + static_cast<std::ptrdiff_t>(i));
        return true;
    }
    // Removes every element equal to `value`; returns how many.
    size_t removeAll(const T& value) {
        const size_t before = items_.size();
        std::erase(items_, value);
        return before - items_.size();
    }

    void clear() noexcept { items_.clear(); }
    void resize(size_t n) { items_.resize(n); }
    const T* data() const noexcept { return items_.data(); }
    const std::vector<T>& std() const noexcept { return items_; }

    iterator begin() noexcept { return items_.begin(); }
    iterator end() noexcept { return items_.end(); }
    const_iterator begin() const noexcept { return items_.begin(); }
    const_iterator end() const noexcept { return items_.end(); }

private:
    std::vector<T> items_;
};
