// RW/RWSortedVector.h: RWCollectable pointers kept sorted by compareTo().
//
//   RWSortedVector v;
//   v.insert(b); v.insert(a);          // v[0] is the smaller by compareTo
//   size_t i = v.index(&key);          // binary search; RW_NPOS if absent
//
// The vector does not own its items (clearAndDestroy() deletes them, each
// distinct pointer once). An item is inserted after the items that compare
// equal to it. Lookups (index, find, contains, remove) use compareTo() == 0
// of the stored items against the target; they find the first such item.
// Null items are not accepted (insert returns null). Element access is
// read-only (changing an item in place could break the order) and checked:
// it throws RWBoundsErr.
#pragma once

#include <RW/RWBoundsErr.h>
#include <RW/RWCollectable.h>
#include <RW/RWDefs.h>

#include <cstddef>
#include <vector>

class RWSortedVector {
public:
    using const_iterator = std::vector<RWCollectable*>::const_iterator;

    explicit RWSortedVector(size_t capacity = 0) { items_.reserve(capacity); }

    // Inserts `item` in order; returns it (null for a null item).
    RWCollectable* insert(RWCollectable* item);

    size_t entries() const noexcept { return items_.size(); }
    bool isEmpty() const noexcept { return items_.empty(); }
    RWCollectable* at(size_t i) const {
        RWCheckBounds(i, items_.size());
        return items_[i];
    }
    RWCollectable* operator[](size_t i) const { return at(i); }
    RWCollectable* first() const noexcept { return items_.empty() ? nullptr : items_.front(); }
    RWCollectable* last() const noexcept { return items_.empty() ? nullptr : items_.back(); }

    // Position of the first item that compares equal to `target`; RW_NPOS if none.
    size_t index(const RWCollectable* target) const;
    RWCollectable* find(const RWCollectable* target) const;
    bool contains(const RWCollectable* target) const { return index(target) != RW_NPOS; }
    size_t occurrencesOf(const RWCollectable* target) const;

    // Removes and returns the first item equal to `target`; null if none.
    RWCollectable* remove(const RWCollectable* target);
    RWCollectable* removeAt(size_t i);

    void clear() noexcept { items_.clear(); }
    void clearAndDestroy();

    const_iterator begin() const noexcept { return items_.begin(); }
    const_iterator end() const noexcept { return items_.end(); }

private:
    std::vector<RWCollectable*> items_;
};
