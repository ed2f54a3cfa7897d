// IOD_Complex: an underlying message with additions, replacements and removals laid over it.
//
// A service that forwards or edits images holds one original message and many variants of it.
// A composite presents the original (the underlying message) with changes, without copying it
// and without ever changing it:
//  - the layer: the composite's own element store (the one Dicom_Msg gives it) holds the
//    elements added or replaced through the composite;
//  - the removed set: tags of the underlying message that the composite hides;
//  - everything else is read through to the underlying message.
// ConstructRealMsg() turns the view into a real, independent message.
//
// The composite presents itself as the message ConstructRealMsg() would yield wherever it is
// read whole: getElements() is a merged, sorted view (layer first, then the underlying
// message's elements that are neither in the layer nor removed), and Get, Encode, GetDumpLen,
// dump, get_dump_len, Clone, FindImplementorPrefix and the trusted buffers all read it. Every
// named accessor of IOD_Msg works on a composite: writes land in the layer (private attributes
// reserve their creator in the layer, in a block that neither the layer nor the underlying
// message uses, or reuse the block the underlying message shows for that creator), removals in
// the removed set.
//
// Rules worth knowing:
//  - Add of a tag that the underlying message holds follows the tag's policy word
//    (Dicom_Msg::TagPolicy): "first" drops the element (it was taken over: it is destroyed) and
//    returns 0; "last" adds it to the layer and still returns -1 (the layer owns it: do not
//    free it); any other policy refuses it with -1. Set, Replace and AddOrReplace replace.
//  - Remove of a tag that the layer holds takes it out of the layer only: a value of the
//    underlying message under that tag shows again.
//  - CopyAttributes, IsEmptyMsg, IsLogicallyEmptyMsg, GetNewElementsIterator and GetElement are
//    not supported: they fail an assertion (level-2 record, report on stderr, abort).
//  - The underlying message is shared through the Kvl_AutoPtr given to the constructor (the
//    composite keeps it alive). Kvl_AutoPtr rings are not thread-safe: threads that build
//    composites over one shared message each take a pointer of their own (for instance a
//    non-owning one) rather than copies of one ring. Reading the underlying message from
//    several threads is safe; a composite itself is used by one thread at a time (its merged
//    view is rebuilt on demand).
#pragma once

#include <Dicom/Dicom_SortedVector.h>
#include <IOD/IOD_Msg.h>
#include <Kvl/Kvl_AutoPtr.h>
#include <KvlLog/Kvl_Assert.h>
#include <RW/RWTPtrSlist.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

class IOD_Complex : public IOD_Msg {
public:
    // Lays a composite over `orig`, which it shares (an empty pointer stands for an empty
    // message). The composite takes the underlying message's transfer syntax and flags.
    explicit IOD_Complex(const Kvl_AutoPtr<Dicom_Msg>& orig);
    explicit IOD_Complex(const Kvl_AutoPtr<IOD_Msg>& orig);
    ~IOD_Complex() override;
    IOD_Complex(const IOD_Complex&) = delete;
    IOD_Complex& operator=(const IOD_Complex&) = delete;

    // --- the element store, in the order of the dispatch table ---
protected:
    // The merged view: what ConstructRealMsg() would hold, in tag order.
    Dicom_SortedVector& getElements() const override;

public:
    // Adds to the layer; for a tag the underlying message holds, see the policy rules above.
    int Add(Dicom_ME* element, int flag = 0) override;
    // Puts the element into the layer when the layer or the underlying message holds its tag;
    // -1 (logged) otherwise. The underlying message is never touched.
    int Replace(Dicom_ME* element) override;
    // Removes from the layer when the layer holds the tag; otherwise hides the tag (0, whether
    // or not the underlying message holds it).
    int Remove(Dicom_Tag tag) override;
    // The layer's element, else null for a removed tag, else the underlying message's element
    // (the search is never recursive).
    Dicom_ME* Find(Dicom_Tag tag, bool recursive = false) const override;
    int GetNElements() const override;
    Dicom_ME* GetElement(int index) const override {
        (void)index;
        Kvl_AssertFailed("FALSE && \"GetElement: not supported\"", "inc/IOD/IOD_Complex",
                         "IOD_Complex::GetElement", __LINE__, 19);
    }
    // Both store a copy of `value` in the layer (the caller keeps it); see internal_set.
    int Set(const Dicom_Tag& tag, Dicom_Type* value) override;
    int SetWithDataCopy(const Dicom_Tag& tag, Dicom_Type* value) override;
    // The lowest block of `group` whose creator the composite shows is `creator`.
    int FindImplementorPrefix(unsigned short group, const Dicom_LO& creator,
                              unsigned short* block) const override;
    int CopyAttributes(Dicom_Msg& target, const RWSortedVector& tags) const override {
        (void)target;
        (void)tags;
        Kvl_AssertFailed("FALSE && \"CopyAttributes: not supported\"", "inc/IOD/IOD_Complex",
                         "IOD_Complex::CopyAttributes", __LINE__, 19);
    }
    int IsEmptyMsg(int* status = nullptr) override {
        (void)status;
        Kvl_AssertFailed("FALSE && \"IsEmptyMsg: not supported\"", "inc/IOD/IOD_Complex",
                         "IOD_Complex::IsEmptyMsg", __LINE__, 19);
    }
    Dicom_MsgIterator* GetNewElementsIterator() const override {
        Kvl_AssertFailed("FALSE && \"GetNewElementsIterator: not supported\"", "inc/IOD/IOD_Complex",
                         "IOD_Complex::GetNewElementsIterator", __LINE__, 19);
    }
    int IsLogicallyEmptyMsg(int* status = nullptr) override {
        (void)status;
        Kvl_AssertFailed("FALSE && \"IsLogicallyEmptyMsg: not supported\"", "inc/IOD/IOD_Complex",
                         "IOD_Complex::IsLogicallyEmptyMsg", __LINE__, 19);
    }
    // A new IOD_Msg holding what the composite presents, owned by the caller.
    Dicom_Msg* Clone() override;
    // The selective clones of IOD_Msg (Clone(tags)) stay reachable through a composite.
    using IOD_Msg::Clone;
    // The underlying message as given to the constructor.
    virtual Dicom_Msg* GetOrigPtr() const;
    // Encoded length and encoding of what the composite presents (as Dicom_Msg's).
    virtual Dicom_DumpLen get_dump_len(const Dicom_TransferSyntax& syntax) const;
    virtual int dump(void* buffer, unsigned int length, const Dicom_TransferSyntax& syntax) const;

    // --- the real message ---
    // A new message: a copy of the underlying message without the removed tags, with copies of
    // the layer's elements added or replaced in tag order. Empty (logged) when an element
    // cannot be added.
    Kvl_AutoPtr<Dicom_Msg> ConstructRealMsg();

protected:
    // Set and SetWithDataCopy:
    //  1. the illegal tag is refused (-1, logged);
    //  2. unless the tag is the multi-format sequence itself, when the composite shows that
    //     sequence with items, the value is set in every item too (the sequence is first copied
    //     into the layer: the underlying message's items are never written);
    //  3. an element of the layer under the tag gets a copy of the value, its character set
    //     fixed for this message;
    //  4. otherwise a new element with a copy of the value goes into the layer.
    int internal_set(const Dicom_Tag& tag, Dicom_Type* value, bool dataCopy);

    // Dicom_Msg's forms, reached by Encode and GetDumpLen: they write what getElements() shows.
    Dicom_DumpLen get_dump_len(const Dicom_TransferSyntax& syntax, Dicom_MF_Info* info) const override;
    int dump(void* buffer, unsigned int length, const Dicom_TransferSyntax& syntax,
             std::string* error) const override;

private:
    // The removed set: chained hashing over a fixed number of buckets (a power of two). The hash of a tag is
    // group XOR element, where a private tag that names its implementor contributes only the
    // low byte of its element: the dictionary form (gggg,00xx) and the form it has in a
    // message (gggg,bbxx) of one implementor's attribute are the same entry.
    class RemovedSet {
    public:
        explicit RemovedSet(size_t buckets);
        static unsigned Hash(const Dicom_Tag& tag);
        static bool Same(const Dicom_Tag& a, const Dicom_Tag& b);
        bool Contains(const Dicom_Tag& tag) const;
        void Insert(const Dicom_Tag& tag);  // once per tag
        bool Empty() const { return m_nodes.empty(); }
        size_t Size() const { return m_nodes.size(); }
        Dicom_Tag At(size_t i) const { return m_nodes[i].tag; }  // insertion order

    private:
        struct Node {
            Dicom_Tag tag;
            int32_t next;
        };
        std::vector<int32_t> m_heads;
        std::vector<Node> m_nodes;
        size_t m_mask = 0;
    };

    // The layer's element under `tag` (private dictionary tags resolved through the creators the
    // composite shows), or null.
    Dicom_ME* layer_find(const Dicom_Tag& tag) const;
    // For an unresolved private tag whose creator the composite does not show: writes the
    // creator element into the layer, in the first block that is free in the layer and in the
    // underlying message, so that no creator of the underlying message is overwritten.
    void reserve_creator(const Dicom_Tag& tag);
    // Dicom_Msg::Add into the layer, after reserve_creator.
    int layer_add(Dicom_ME* element, int flag);
    // AddOrReplace into the layer, without coming back through the composite's Add or Replace.
    int layer_add_or_replace(Dicom_ME* element);
    // The lowest block (0x10..0xFF) of `group` whose creator element the composite shows with
    // the text `creator` (without padding), or 0.
    unsigned short creator_block(unsigned short group, std::string_view creator) const;
    // True when the merged view was built from the current layer, underlying message and removed set.
    bool view_is_current(const Dicom_SortedVector& orig) const;
    // True when an element of the underlying message is hidden.
    bool hidden(const Dicom_ME* element) const {
        return !m_removed.Empty() && m_removed.Contains(element->GetTag());
    }

    Kvl_AutoPtr<Dicom_Msg> m_orig;   // the underlying message, when given as a Dicom_Msg
    Kvl_AutoPtr<IOD_Msg> m_origIod;  // ... or as an IOD_Msg
    const Dicom_Msg* m_o;            // whichever it is (an empty message for an empty pointer)
    Dicom_SortedVector* m_layer;     // the own store of Dicom_Msg: the layer
    RemovedSet m_removed;
    RWTPtrSlist<Dicom_ME> m_newElements;  // list of the new-elements iteration (not supported)

    // The merged view, what it was built from, and its own version once built (callers may
    // unlink elements from it for a while, as the selective clones do).
    mutable Dicom_SortedVector m_view;
    mutable uint64_t m_viewVersion = 0;
    mutable const Dicom_SortedVector* m_viewOrig = nullptr;
    mutable uint64_t m_viewOrigVersion = 0;
    mutable uint64_t m_viewLayerVersion = 0;
    mutable size_t m_viewRemoved = 0;
};
