// RW/RWTPtrSlist.h: a list of T* (RWTPtrSlist<T>) and its iterator.
//
//   RWTPtrSlist<Dicom_Tag> tags;
//   tags.append(&a);
//   if (tags.contains(&key)) ...;      // compares *item == *key
//   for (Dicom_Tag* t : tags) use(*t);
//   RWTPtrSlistIterator<Dicom_Tag> next(tags);
//   while (Dicom_Tag* t = next()) use(*t);
//
// The list does not own the objects (clearAndDestroy() deletes them, each
// distinct pointer once). Lookups (contains, find, index, remove, removeAll,
// occurrencesOf) use value equality, *item == *target (T needs operator==);
// a null pointer matches only a null pointer. at(), insertAt(), removeAt(),
// first() and last() are checked and throw RWBoundsErr.
#pragma once

#include <RW/RWBoundsErr.h>
#include <RW/RWDefs.h>

#include <cstddef>
#include <unordered_set>
#include <vector>

template <class T>
class RWTPtrSlist {
public:
    using iterator = typename std::vector<T*>::iterator;
    using const_iterator = typename std::vector<T*>::const_iterator;

    RWTPtrSlist() = default;

    void append(T* item) { items_.push_back(item); }
    void prepend(T* item) { items_.insert(items_.begin(), item); }
    // Same as append.
    void insert(T* item) { items_.push_back(item); }
    // Inserts before position `i` (i == entries() appends).
    void insertAt(size_t i, T* item) {
        if (i > items_.size()) throw RWBoundsErr(i, items_.size());
        items_.insert(items_.begin() + static_cast<std::ptrdiff_t>(i), item);
    }

    size_t entries() const noexcept { return items_.size(); }
    bool isEmpty() const noexcept { return items_.empty(); }

    T*& at(size_t i) {
        RWCheckBounds(i, items_.size());
        return items_[i];
    }
    T* at(size_t i) const {
        RWCheckBounds(i, items_.size());
        return items_[i];
    }
    T*& operator[](size_t i) { return at(i); }
    T* operator[](size_t i) const { return at(i); }
    T* first() const { return at(0); }
    T* last() const {
        if (items_.empty()) throw RWBoundsErr(0, 0);
        return items_.back();
    }

    bool contains(const T* target) const { return index(target) != RW_NPOS; }
    // The first item equal to *target; null if none.
    T* find(const T* target) const {
        const size_t i = index(target);
        return i == RW_NPOS ? nullptr : items_[i];
    }
    // Position of the first item equal to *target; RW_NPOS if none.
    size_t index(const T* target) const {
        for (size_t i = 0; i < items_.size(); ++i) {
            if (matches(items_[i], target)) return i;
        }
        return RW_NPOS;
    }
    size_t occurrencesOf(const T* target) const {
        size_t n = 0;
        for (const T* item : items_) n += matches(item, target) ? 1 : 0;
        return n;
    }

    // Removes and returns the first item; null when empty.
    T* get() {
        if (items_.empty()) return nullptr;
        T* item = items_.front();
        items_.erase(items_.begin());
        return item;
    }
    T* removeFirst() { return get(); }
    T* removeLast() {
        if (items_.empty()) return nullptr;
        T* item = items_.back();
        items_.pop_back();
        return item;
    }
    T* removeAt(size_t i) {
        RWCheckBounds(i, items_.size());
        T* item = items_[i];
        items_.erase(items_.begin() + static_cast<std::ptrdiff_t>(i));
        return item;
    }
    // Removes and returns the first item equal to *target; null if none.
    T* remove(const T* target) {
        const size_t i = index(target);
        return i == RW_NPOS ? nullptr : removeAt(i);
    }
    // Removes every item equal to *target; returns how many.
    size_t removeAll(const T* target) {
        size_t removed = 0;
        for (size_t i = items_.size(); i-- > 0;) {
            if (matches(items_[i], target)) {
                items_.erase(items_.begin() + static_cast<std::ptrdiff_t>(i));
                ++removed;
            }
        }
        return removed;
    }

    void clear() noexcept { items_.clear(); }
    void clearAndDestroy() {
        std::unordered_set<T*> deleted;
        std::vector<T*> items;
        items.swap(items_);
        for (T* item : items) {
            if (item != nullptr && deleted.insert(item).second) delete item;
        }
    }

    iterator begin() noexcept { return items_.begin(); }
    iterator end() noexcept { return items_.end(); }
    const_iterator begin() const noexcept { return items_.begin(); }
    const_iterator end() const noexcept { return items_.end(); }

private:
    static bool matches(const T* item, const T* target) {
        if (item == target) return true;
        if (item == nullptr || target == nullptr) return false;
        return *item == *target;
    }

    std::vector<T*> items_;
};

// Iterates over an RWTPtrSlist in order; the list must not change meanwhile.
template <class T>
class RWTPtrSlistIterator {
public:
    explicit RWTPtrSlistIterator(const RWTPtrSlist<T>& list) noexcept : list_(&list) {}

    // Advances and returns the next item; null at the end.
    T* operator()() {
        if (next_ >= list_->entries()) {
            next_ = list_->entries() + 1;
            return nullptr;
        }
        return (*list_)[next_++];
    }
    // The current item; null before the first call and after the end.
    T* key() const {
        if (next_ == 0 || next_ > list_->entries()) return nullptr;
        return (*list_)[next_ - 1];
    }
    void reset() noexcept { next_ = 0; }

private:
    const RWTPtrSlist<T>* list_;
    size_t next_ = 0;
};
