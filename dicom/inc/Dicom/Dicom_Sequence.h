// Dicom_Sequence: the items of a sequence value; it owns them.
#pragma once

#include <cstddef>
#include <vector>

class Dicom_Msg;

class Dicom_Sequence {
public:
    Dicom_Sequence() = default;
    Dicom_Sequence(const Dicom_Sequence& other);  // deep copy of the items
    Dicom_Sequence& operator=(const Dicom_Sequence& other);
    Dicom_Sequence(Dicom_Sequence&& other) noexcept : m_items(std::move(other.m_items)) {}
    ~Dicom_Sequence();

    int GetNItems() const { return static_cast<int>(m_items.size()); }
    // Item i (0-based), owned by the sequence; null when out of range.
    Dicom_Msg* Get(int i) const {
        return i >= 0 && i < GetNItems() ? m_items[static_cast<size_t>(i)] : nullptr;
    }
    // Takes the item over.
    void Append(Dicom_Msg* item) { m_items.push_back(item); }
    void Insert(int i, Dicom_Msg* item);
    // Gives item i up to the caller (null when out of range).
    Dicom_Msg* Detach(int i);
    void Clear();

private:
    std::vector<Dicom_Msg*> m_items;
};
