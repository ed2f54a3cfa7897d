// RW/RWOrdered.h: an ordered collection of RWCollectable pointers, and its
// iterator RWOrderedIterator.
//
//   RWOrdered list;
//   list.insert(a);                    // appends
//   for (size_t i = 0; i < list.entries(); ++i) use(list[i]);
//   RWOrderedIterator next(list);
//   while (RWCollectable* item = next()) use(item);
//
// The collection does not own its items: clear() forgets them,
// clearAndDestroy() deletes them (each distinct pointer once). Lookups
// (find, index, contains, remove, occurrencesOf) compare with isEqual() of
// the stored item. at(), operator[], insertAt() and removeAt() are checked
// and throw RWBoundsErr. Null items may be stored, but the iterator stops
// at the first one.
#pragma once

#include <RW/RWBoundsErr.h>
#include <RW/RWCollectable.h>
#include <RW/RWDefs.h>

#include <cstddef>
#include <vector>

class RWOrdered {
public:
    using iterator = std::vector<RWCollectable*>::iterator;
    using const_iterator = std::vector<RWCollectable*>::const_iterator;

    explicit RWOrdered(size_t capacity = 0) { items_.reserve(capacity); }

    // Appends `item`; returns it.
    RWCollectable* insert(RWCollectable* item) { return append(item); }
    RWCollectable* append(RWCollectable* item);
    RWCollectable* prepend(RWCollectable* item);
    // Inserts before position `i` (i == entries() appends).
    RWCollectable* insertAt(size_t i, RWCollectable* item);

    size_t entries() const noexcept { return items_.size(); }
    bool isEmpty() const noexcept { return items_.empty(); }

    RWCollectable*& at(size_t i) {
        RWCheckBounds(i, items_.size());
        return items_[i];
    }
    RWCollectable* at(size_t i) const {
        RWCheckBounds(i, items_.size());
        return items_[i];
    }
    RWCollectable*& operator[](size_t i) { return at(i); }
    RWCollectable* operator[](size_t i) const { return at(i); }
    // First / last item; null when empty.
    RWCollectable* first() const noexcept { return items_.empty() ? nullptr : items_.front(); }
    RWCollectable* last() const noexcept { return items_.empty() ? nullptr : items_.back(); }

    // Removes and returns the item at `i`.
    RWCollectable* removeAt(size_t i);
    // Removes and returns the first item equal to `target`; null if none.
    RWCollectable* remove(const RWCollectable* target);
    // The first item equal to `target`; null if none.
    RWCollectable* find(const RWCollectable* target) const;
    // Position of the first item equal to `target`; RW_NPOS if none.
    size_t index(const RWCollectable* target) const;
    bool contains(const RWCollectable* target) const { return index(target) != RW_NPOS; }
    size_t occurrencesOf(const RWCollectable* target) const;

    void clear() noexcept { items_.clear(); }
    void clearAndDestroy();

    iterator begin() noexcept { return items_.begin(); }
    iterator end() noexcept { return items_.end(); }
    const_iterator begin() const noexcept { return items_.begin(); }
    const_iterator end() const noexcept { return items_.end(); }

private:
    std::vector<RWCollectable*> items_;
};

// Iterates over an RWOrdered in order. The collection must not change while
// it is iterated (except through reset()).
class RWOrderedIterator {
public:
    explicit RWOrderedIterator(const RWOrdered& collection) noexcept : collection_(&collection) {}

    // Advances and returns the next item; null at the end.
    RWCollectable* operator()();
    // The current item; null before the first call and after the end.
    RWCollectable* key() const;
    // Back to before the first item.
    void reset() noexcept { next_ = 0; }

private:
    const RWOrdered* collection_;
    size_t next_ = 0;  // position of the item the next call returns
};
