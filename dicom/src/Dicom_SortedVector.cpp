// Dicom_SortedVector: pointers to elements, sorted by (group, element), with a parallel key array.
#include <Dicom/Dicom_ME.h>
#include <Dicom/Dicom_SortedVector.h>

#include <algorithm>

Dicom_SortedVector::Dicom_SortedVector(size_t capacity) {
    if (capacity) DetermineStrategy(capacity);
}

size_t Dicom_SortedVector::LowerBound(uint32_t key) const {
    // Branch-light binary search over the key array.
    const uint32_t* base = m_keys.data();
    size_t n = m_keys.size();
    size_t lo = 0;
    while (n > 0) {
        size_t half = n / 2;
        if (base[lo + half] < key) {
            lo += half + 1;
            n -= half + 1;
        } else {
            n = half;
        }
    }
    return lo;
}

long Dicom_SortedVector::Index(uint32_t key) const {
    size_t i = LowerBound(key);
    if (i < m_keys.size() && m_keys[i] == key) return static_cast<long>(i);
    return -1;
}

Dicom_ME* Dicom_SortedVector::Insert(Dicom_ME* element) {
    if (!element) return nullptr;
    const uint32_t key = element->GetTag().GetTag();
    if (m_keys.empty() || m_keys.back() < key) {
        m_keys.push_back(key);
        m_elems.push_back(element);
        ++m_version;
        return element;
    }
    size_t i = LowerBound(key);
    if (i < m_keys.size() && m_keys[i] == key) return nullptr;
    m_keys.insert(m_keys.begin() + static_cast<long>(i), key);
    m_elems.insert(m_elems.begin() + static_cast<long>(i), element);
    ++m_version;
    return element;
}

Dicom_ME* Dicom_SortedVector::Append(Dicom_ME* element) {
    if (!element) return nullptr;
    const uint32_t key = element->GetTag().GetTag();
    if (m_keys.empty() || m_keys.back() < key) {
        m_keys.push_back(key);
        m_elems.push_back(element);
        ++m_version;
        return element;
    }
    return Insert(element);
}

Dicom_ME* Dicom_SortedVector::Remove(const Dicom_Tag& tag) {
    long i = Index(tag.GetTag());
    return i < 0 ? nullptr : RemoveAt(static_cast<size_t>(i));
}

Dicom_ME* Dicom_SortedVector::RemoveAt(size_t i) {
    if (i >= m_elems.size()) return nullptr;
    Dicom_ME* e = m_elems[i];
    m_keys.erase(m_keys.begin() + static_cast<long>(i));
    m_elems.erase(m_elems.begin() + static_cast<long>(i));
    ++m_version;
    return e;
}

void Dicom_SortedVector::DetermineStrategy(size_t expected) {
    // Insertions keep the arrays contiguous; reserving avoids regrowth while a data set is read.
    const size_t want = m_keys.size() + expected;
    if (want > m_keys.capacity()) {
        m_keys.reserve(want);
        m_elems.reserve(want);
    }
}
