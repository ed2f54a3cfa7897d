// Dicom_SQ: Sequence of items; each item is a Dicom_Msg owned by the sequence.
// Kind: sequence (kind 1). GetVM() is the number of items.
//
// A sequence remembers whether it was read with undefined length, and which of its items were,
// so that writing it again reproduces the input's structure; new sequences and new items are
// written with undefined length.
#pragma once

#include <Dicom/Dicom_DumpLen.h>
#include <Dicom/Dicom_Sequence.h>
#include <Dicom/Dicom_Type.h>

#include <vector>

class Dicom_Msg;
class Dicom_UI;
class Dicom_TransferSyntax;

class Dicom_SQ : public Dicom_Type {
public:
    static constexpr Dicom_VR kVR = Dicom_VR::SQ;

    constexpr Dicom_SQ() : Dicom_Type(Dicom_VR::SQ) { m_flags = kUndefinedLength; }
    Dicom_SQ(const Dicom_SQ& other);  // deep copy of the items
    Dicom_SQ& operator=(const Dicom_SQ& other);
    // Takes the items over.
    explicit Dicom_SQ(Dicom_Sequence&& items);
    // Deep copy of the items.
    explicit Dicom_SQ(const Dicom_Sequence& items);
    ~Dicom_SQ() override;

    Dicom_Type* Clone() const override { return new Dicom_SQ(*this); }
    int GetVM() const override { return m_items.GetNItems(); }
    bool IsEmpty() const override { return m_items.GetNItems() == 0; }
    std::string ToString() const override;
    bool Match(const Dicom_Type& other) const override;

    Dicom_Sequence& GetSequence() { return m_items; }
    const Dicom_Sequence& GetSequence() const { return m_items; }
    int GetNItems() const { return m_items.GetNItems(); }
    Dicom_Msg* GetItem(int i) const { return m_items.Get(i); }
    // Takes the item over; it is written with undefined length.
    void AddItem(Dicom_Msg* item);

    // Length of the value field in `syntax`: every item's header (8 bytes), its data set and,
    // for an item of undefined length, its delimiter (8), plus the sequence delimiter (8) when
    // the sequence has undefined length. Invalid when an item cannot be measured.
    Dicom_DumpLen GetDumpLen(const Dicom_UI& transferSyntax) const;
    Dicom_DumpLen GetDumpLen(const Dicom_TransferSyntax& syntax) const;
    // The same as a number; 0xFFFFFFFF when invalid.
    uint32_t GetValueLength(const Dicom_TransferSyntax& syntax) const override;

    bool HasUndefinedLength() const { return TestFlag(kUndefinedLength); }
    void SetUndefinedLength(bool on) { SetFlag(kUndefinedLength, on); }
    // Items: true unless the item was read with an explicit length.
    bool ItemHasUndefinedLength(int i) const;
    void SetItemUndefinedLength(int i, bool on);

private:
    Dicom_Sequence m_items;
    std::vector<bool> m_itemDefinedLength;  // true: item i was read with an explicit length
};

// The empty sequence; not const, as callers hand it where a changeable sequence is expected.
extern Dicom_SQ SQ_NULL;
