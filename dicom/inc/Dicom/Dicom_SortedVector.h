// Dicom_SortedVector: the element store of a message, sorted by (group, element).
//
// It holds pointers: elements are unlinked (Remove, RemoveAt) and put back (Insert) without
// being copied or destroyed; the message that owns the vector destroys what is left in it.
// Keys are kept in a separate array so that a lookup is a binary search over 32-bit numbers.
// Every change of the set of pointers (insertion, removal, clearing) advances Version(), so that
// a view built from the vector can tell that it is out of date.
#pragma once

#include <Dicom/Dicom_Tag.h>

#include <cstdint>
#include <vector>

class Dicom_ME;

class Dicom_SortedVector {
public:
    explicit Dicom_SortedVector(size_t capacity = 0);

    size_t entries() const { return m_elems.size(); }
    bool isEmpty() const { return m_elems.empty(); }
    Dicom_ME* at(size_t i) const { return i < m_elems.size() ? m_elems[i] : nullptr; }
    Dicom_ME* operator[](size_t i) const { return at(i); }

    // Inserts in tag order; returns the element, or null when an element with the same
    // (group, element) is already there (the vector is then unchanged).
    Dicom_ME* Insert(Dicom_ME* element);
    // Appends when the caller knows the element sorts last (the parser's fast path); falls back
    // to Insert otherwise.
    Dicom_ME* Append(Dicom_ME* element);
    // Unlinks and returns the element with this (group, element), or null.
    Dicom_ME* Remove(const Dicom_Tag& tag);
    // Unlinks and returns the element at index i, or null.
    Dicom_ME* RemoveAt(size_t i);
    // Index of the element with this (group, element), or -1.
    long Index(const Dicom_Tag& tag) const { return Index(tag.GetTag()); }
    long Index(uint32_t key) const;
    Dicom_ME* Find(uint32_t key) const {
        long i = Index(key);
        return i < 0 ? nullptr : m_elems[static_cast<size_t>(i)];
    }
    // First index whose key is >= key.
    size_t LowerBound(uint32_t key) const;
    // Prepares for about `expected` insertions (reserves room).
    void DetermineStrategy(size_t expected);
    void Clear() {
        m_keys.clear();
        m_elems.clear();
        ++m_version;
    }
    // Advances with every insertion, removal and clearing.
    uint64_t Version() const { return m_version; }

    class Iterator {
    public:
        explicit Iterator(const Dicom_SortedVector& v) : m_v(&v) {}
        // The next element, or null at the end.
        Dicom_ME* operator()() { return m_i < m_v->entries() ? m_v->m_elems[m_i++] : nullptr; }
        void reset() { m_i = 0; }

    private:
        const Dicom_SortedVector* m_v;
        size_t m_i = 0;
    };
    Iterator GetIterator() const { return Iterator(*this); }

private:
    std::vector<uint32_t> m_keys;
    std::vector<Dicom_ME*> m_elems;
    uint64_t m_version = 0;
};

// The same store, created with a capacity.
class Dicom_ImprovedRWSortedVector : public Dicom_SortedVector {
public:
    explicit Dicom_ImprovedRWSortedVector(size_t capacity) : Dicom_SortedVector(capacity) {}
};
