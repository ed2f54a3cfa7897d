// IOD_Complex: the layer, the removed set, the merged view and the real message.
#include <Dicom/Dicom_Dictionary.h>
#include <Dicom/Dicom_LO.h>
#include <Dicom/Dicom_ME.h>
#include <Dicom/Dicom_SQ.h>
#include <IOD/IOD_Complex.h>
#include <KvlLog/Kvl_LogFile.h>

#include <cstring>

namespace {

constexpr const char* kLogFile = "src/IOD/IOD_Complex";
constexpr int kCategory = 19;
constexpr size_t kRemovedBuckets = 1024;
constexpr size_t kLayerExpected = 8;  // a handful of changes is the common case

// The underlying message of a composite built over an empty pointer.
const Dicom_Msg& EmptyMessage() {
    static const Dicom_Msg empty;
    return empty;
}

// A creator text without padding: leading spaces, trailing spaces and NULs left out.
std::string_view CreatorText(const unsigned char* data, size_t length) {
    while (length > 0 && (data[length - 1] == ' ' || data[length - 1] == '\0')) --length;
    size_t start = 0;
    while (start < length && data[start] == ' ') ++start;
    return {reinterpret_cast<const char*>(data) + start, length - start};
}

}  // namespace

// ---------------------------------------------------------------------------------------------
// The removed set

IOD_Complex::RemovedSet::RemovedSet(size_t buckets) {
    size_t n = 1;
    while (n < buckets) n <<= 1;  // a power of two: the bucket is the hash masked
    m_heads.assign(n, -1);
    m_mask = n - 1;
}

unsigned IOD_Complex::RemovedSet::Hash(const Dicom_Tag& tag) {
    const bool byImplementor = tag.IsPrivate() && tag.HasImplementor();
    const unsigned element = byImplementor ? (tag.GetElement() & 0xFFu) : tag.GetElement();
    return tag.GetGroup() ^ element;
}

bool IOD_Complex::RemovedSet::Same(const Dicom_Tag& a, const Dicom_Tag& b) {
    if (a.GetGroup() != b.GetGroup() || a.GetImplementorID() != b.GetImplementorID()) return false;
    if (a.IsPrivate() && a.HasImplementor()) return (a.GetElement() & 0xFF) == (b.GetElement() & 0xFF);
    return a.GetElement() == b.GetElement();
}

bool IOD_Complex::RemovedSet::Contains(const Dicom_Tag& tag) const {
    for (int32_t i = m_heads[Hash(tag) & m_mask]; i >= 0; i = m_nodes[static_cast<size_t>(i)].next)
        if (Same(m_nodes[static_cast<size_t>(i)].tag, tag)) return true;
    return false;
}

void IOD_Complex::RemovedSet::Insert(const Dicom_Tag& tag) {
    if (Contains(tag)) return;
    int32_t& head = m_heads[Hash(tag) & m_mask];
    m_nodes.push_back({tag, head});
    head = static_cast<int32_t>(m_nodes.size() - 1);
}

// ---------------------------------------------------------------------------------------------
// Construction

IOD_Complex::IOD_Complex(const Kvl_AutoPtr<Dicom_Msg>& orig)
    : IOD_Msg(),
      m_orig(orig),
      m_o(orig.get() ? orig.get() : &EmptyMessage()),
      m_layer(&Dicom_Msg::getElements()),
      m_removed(kRemovedBuckets) {
    copy_dicom_flags(*m_o);
    m_layer->DetermineStrategy(kLayerExpected);
}

IOD_Complex::IOD_Complex(const Kvl_AutoPtr<IOD_Msg>& orig)
    : IOD_Msg(),
      m_origIod(orig),
      m_o(orig.get() ? orig.get() : &EmptyMessage()),
      m_layer(&Dicom_Msg::getElements()),
      m_removed(kRemovedBuckets) {
    copy_dicom_flags(*m_o);
    m_layer->DetermineStrategy(kLayerExpected);
}

IOD_Complex::~IOD_Complex() = default;

// ---------------------------------------------------------------------------------------------
// Looking up

unsigned short IOD_Complex::creator_block(unsigned short group, std::string_view creator) const {
    // Creator elements (gggg,0010)..(gggg,00FF) of the layer and of the underlying message,
    // merged in element order; the layer's stands where both have one.
    const Dicom_SortedVector& layer = *m_layer;
    const Dicom_SortedVector& orig = elements_of(*m_o);
    const uint32_t first = (uint32_t(group) << 16) | 0x0010;
    const uint32_t last = (uint32_t(group) << 16) | 0x00FF;
    size_t i = layer.LowerBound(first), j = orig.LowerBound(first);
    for (;;) {
        const Dicom_ME* a =
            i < layer.entries() && layer.at(i)->GetTag().GetTag() <= last ? layer.at(i) : nullptr;
        const Dicom_ME* b =
            j < orig.entries() && orig.at(j)->GetTag().GetTag() <= last ? orig.at(j) : nullptr;
        if (!a && !b) return 0;
        const Dicom_ME* me;
        if (a && (!b || a->GetTag().GetTag() <= b->GetTag().GetTag())) {
            if (b && b->GetTag().GetTag() == a->GetTag().GetTag()) ++j;
            me = a;
            ++i;
        } else {
            me = b;
            ++j;
            if (hidden(b)) continue;
        }
        const Dicom_Type* v = me->GetData();
        if (v && CreatorText(v->GetData(), v->GetRawLen()) == creator) return me->GetTag().GetElement();
    }
}

Dicom_ME* IOD_Complex::layer_find(const Dicom_Tag& tag) const {
    const Dicom_SortedVector& layer = *m_layer;
    if (layer.isEmpty()) return nullptr;
    if (!tag.IsUnresolvedPrivate()) return layer.Find(tag.GetTag());
    const std::string_view creator = ImplementorIDVector::NameView(tag.GetImplementorID());
    if (creator.empty()) return nullptr;
    const unsigned short block = creator_block(tag.GetGroup(), creator);
    if (!block) return nullptr;
    return layer.Find((uint32_t(tag.GetGroup()) << 16) | (uint32_t(block) << 8) | (tag.GetElement() & 0xFFu));
}

bool IOD_Complex::view_is_current(const Dicom_SortedVector& orig) const {
    return m_viewOrig == &orig && m_viewOrigVersion == orig.Version() &&
           m_viewLayerVersion == m_layer->Version() && m_viewRemoved == m_removed.Size();
}

Dicom_ME* IOD_Complex::Find(Dicom_Tag tag, bool recursive) const {
    (void)recursive;
    // While the merged view is current (and nobody has unlinked anything from it), it gives the
    // same answer in one search: the layer's element, else the original's unless removed.
    if (!tag.IsUnresolvedPrivate() && m_view.Version() == m_viewVersion)
        return IOD_Complex::getElements().Find(tag.GetTag());
    if (Dicom_ME* me = layer_find(tag)) return me;
    if (m_removed.Empty()) return m_o->Find(tag, false);
    if (m_removed.Contains(tag)) return nullptr;
    Dicom_ME* me = m_o->Find(tag, false);
    // The element's own tag, when it is another form of `tag` (a private attribute's number).
    return me && !(me->GetTag() == tag) && m_removed.Contains(me->GetTag()) ? nullptr : me;
}

int IOD_Complex::GetNElements() const {
    const Dicom_SortedVector& layer = *m_layer;
    const Dicom_SortedVector& orig = elements_of(*m_o);
    int n = static_cast<int>(layer.entries());
    for (size_t i = 0; i < orig.entries(); ++i) {
        const Dicom_ME* me = orig.at(i);
        if (layer.Index(me->GetTag().GetTag()) < 0 && !hidden(me)) ++n;
    }
    return n;
}

int IOD_Complex::FindImplementorPrefix(unsigned short group, const Dicom_LO& creator,
                                       unsigned short* block) const {
    const Dicom_Type& c = creator;
    const unsigned short b = creator_block(group, CreatorText(c.GetData(), c.GetRawLen()));
    if (!b) return -1;
    if (block) *block = b;
    return 0;
}

Dicom_SortedVector& IOD_Complex::getElements() const {
    const Dicom_SortedVector& layer = *m_layer;
    const Dicom_SortedVector& orig = elements_of(*m_o);
    if (view_is_current(orig)) return m_view;
    // Merge the two sorted vectors: the layer's element where both have the tag, the underlying
    // message's elements unless hidden.
    m_view.Clear();
    m_view.DetermineStrategy(layer.entries() + orig.entries());
    size_t i = 0, j = 0;
    while (i < layer.entries() || j < orig.entries()) {
        Dicom_ME* a = layer.at(i);
        Dicom_ME* b = orig.at(j);
        if (a && (!b || a->GetTag().GetTag() <= b->GetTag().GetTag())) {
            if (b && b->GetTag().GetTag() == a->GetTag().GetTag()) ++j;
            m_view.Append(a);
            ++i;
        } else {
            if (!hidden(b)) m_view.Append(b);
            ++j;
        }
    }
    m_viewOrig = &orig;
    m_viewOrigVersion = orig.Version();
    m_viewLayerVersion = layer.Version();
    m_viewRemoved = m_removed.Size();
    m_viewVersion = m_view.Version();
    return m_view;
}

// ---------------------------------------------------------------------------------------------
// Changing

void IOD_Complex::reserve_creator(const Dicom_Tag& tag) {
    if (!tag.IsUnresolvedPrivate()) return;
    const std::string_view creator = ImplementorIDVector::NameView(tag.GetImplementorID());
    const unsigned short group = tag.GetGroup();
    if (creator.empty() || creator_block(group, creator)) return;
    // A block that neither the layer nor the underlying message uses, removed creators of the
    // underlying message included: their data elements may still be there.
    const Dicom_SortedVector& layer = *m_layer;
    const Dicom_SortedVector& orig = elements_of(*m_o);
    for (unsigned short b = 0x10; b <= 0xFF; ++b) {
        const uint32_t key = (uint32_t(group) << 16) | b;
        if (layer.Index(key) >= 0 || orig.Index(key) >= 0) continue;
        Dicom_Type* text = Dicom_CreateValue(Dicom_VR::LO);
        if (!text || text->SetRaw(creator.data(), static_cast<uint32_t>(creator.size())) != 0) {
            delete text;
            return;
        }
        Dicom_ME* element = new Dicom_ME(Dicom_Tag(group, b), text);
        if (Dicom_Msg::Add(element, 0) != 0) delete element;
        return;
    }
}

int IOD_Complex::layer_add(Dicom_ME* element, int flag) {
    reserve_creator(element->GetTag());
    return Dicom_Msg::Add(element, flag);
}

int IOD_Complex::layer_add_or_replace(Dicom_ME* element) {
    if (layer_find(element->GetTag())) return Dicom_Msg::Replace(element);
    return layer_add(element, 0);
}

int IOD_Complex::Add(Dicom_ME* element, int flag) {
    if (!element) return -1;
    const Dicom_Tag tag = element->GetTag();
    if (!m_o->Find(tag, false)) return layer_add(element, flag);
    const unsigned int policy = TagPolicy(element);
    if (policy == DICOM_POLICY_FIRST) {
        if (KvlGLog.StoreParams(kLogFile, "IOD_Complex::Add", __LINE__, 6, kCategory, 1))
            KvlGLog.Log("Add: Element with tag (%04x,%04x) already exists, keeping the first.\n",
                        tag.GetGroup(), tag.GetElement());
        if (!flag) delete element;  // taken over, and dropped
        return 0;
    }
    if (policy == DICOM_POLICY_LAST) {
        if (KvlGLog.StoreParams(kLogFile, "IOD_Complex::Add", __LINE__, 6, kCategory, 1))
            KvlGLog.Log("Add: Element with tag (%04x,%04x) already exists in orig, adding the current.\n",
                        tag.GetGroup(), tag.GetElement());
        layer_add(element, flag);
    }
    if (KvlGLog.StoreParams(kLogFile, "IOD_Complex::Add", __LINE__, 3, kCategory, 1))
        KvlGLog.Log("Add: Element with tag (%04x,%04x) already exists, rejected.\n", tag.GetGroup(),
                    tag.GetElement());
    return -1;
}

int IOD_Complex::Replace(Dicom_ME* element) {
    if (!element) return -1;
    const Dicom_Tag tag = element->GetTag();
    if (!layer_find(tag) && !m_o->Find(tag, false)) {
        if (KvlGLog.StoreParams(kLogFile, "IOD_Complex::Replace", __LINE__, 3, kCategory, 1))
            KvlGLog.Log("Replace(): Element with tag (%04x, %04x) doesn't exist.\n", tag.GetGroup(),
                        tag.GetElement());
        return -1;
    }
    return layer_add_or_replace(element);
}

int IOD_Complex::Remove(Dicom_Tag tag) {
    if (layer_find(tag)) return Dicom_Msg::Remove(tag);
    m_removed.Insert(tag);
    // The underlying element's own tag is recorded too, so that the element is hidden under
    // every form of its tag (a private attribute by its creator or by its number).
    if (const Dicom_ME* me = m_o->Find(tag, false)) m_removed.Insert(me->GetTag());
    return 0;
}

int IOD_Complex::Set(const Dicom_Tag& tag, Dicom_Type* value) { return internal_set(tag, value, false); }

int IOD_Complex::SetWithDataCopy(const Dicom_Tag& tag, Dicom_Type* value) {
    return internal_set(tag, value, true);
}

int IOD_Complex::internal_set(const Dicom_Tag& tag, Dicom_Type* value, bool dataCopy) {
    if (tag == Dicom_Tag::ILLEGAL_TAG) {
        if (KvlGLog.StoreParams(kLogFile, "IOD_Complex::internal_set", __LINE__, 4, kCategory, 1))
            KvlGLog.Log("Set(): Illegal Tag (%04x,%04x)\n", tag.GetGroup(), tag.GetElement());
        return -1;
    }

    // A multi-format image repeats its per-format attributes in the items of the multi-format
    // sequence: the value goes into every item as well.
    const Dicom_Tag& multiFormat = Dicom_Dictionary::QUORVEX1_MULTI_FORMAT_SEQUENCE;
    if (!RemovedSet::Same(tag, multiFormat)) {
        const Dicom_ME* shown = Find(multiFormat, false);
        const Dicom_Type* v = shown ? shown->GetData() : nullptr;
        const bool isSequence =
            v && v->GetVR() == Dicom_VR::SQ && static_cast<const Dicom_SQ*>(v)->GetNItems() > 0;
        // (The sequence named by its number is the sequence itself too.)
        if (isSequence && (tag.IsUnresolvedPrivate() || tag.GetTag() != shown->GetTag().GetTag())) {
            Dicom_ME* own = FindChangeable(multiFormat);  // the underlying message's items stay as they are
            Dicom_SQ* sq = own ? static_cast<Dicom_SQ*>(own->GetChangeableData()) : nullptr;
            for (int i = 0; sq && i < sq->GetNItems(); ++i) {
                Dicom_Msg* item = sq->GetItem(i);
                if (!item) continue;
                if (dataCopy)
                    item->SetWithDataCopy(tag, value);
                else
                    item->Set(tag, value);
            }
        }
    }

    if (Dicom_ME* me = layer_find(tag)) {
        // Both forms store a copy: the caller keeps `value`, which is never changed here.
        if (!value) return -1;
        Dicom_Type* copy = value->Clone();
        fix_charset_for_new_item(copy);
        me->SetData(copy, 0);
        return 0;
    }

    int status = 0;
    Dicom_ME* element = new Dicom_ME(tag, value, 1, 0, &status);
    if (status != 0) {
        delete element;
        if (KvlGLog.StoreParams(kLogFile, "IOD_Complex::internal_set", __LINE__, 3, kCategory, 1))
            KvlGLog.Log("Set(): Can't create a new element\n");
        return -1;
    }
    const int result = layer_add_or_replace(element);
    if (result != 0) delete element;
    return result;
}

// ---------------------------------------------------------------------------------------------
// Whole-message views

Dicom_Msg* IOD_Complex::Clone() {
    // IOD_Msg's deep copy serialises what getElements() presents: the merged view.
    return IOD_Msg::Clone();
}

Dicom_Msg* IOD_Complex::GetOrigPtr() const {
    return m_orig.get() ? static_cast<Dicom_Msg*>(m_orig.get()) : static_cast<Dicom_Msg*>(m_origIod.get());
}

Dicom_DumpLen IOD_Complex::get_dump_len(const Dicom_TransferSyntax& syntax) const {
    return get_dump_len(syntax, nullptr);
}

int IOD_Complex::dump(void* buffer, unsigned int length, const Dicom_TransferSyntax& syntax) const {
    return dump(buffer, length, syntax, nullptr);
}

Dicom_DumpLen IOD_Complex::get_dump_len(const Dicom_TransferSyntax& syntax, Dicom_MF_Info* info) const {
    return Dicom_Msg::get_dump_len(syntax, info);
}

int IOD_Complex::dump(void* buffer, unsigned int length, const Dicom_TransferSyntax& syntax,
                      std::string* error) const {
    return Dicom_Msg::dump(buffer, length, syntax, error);
}

Kvl_AutoPtr<Dicom_Msg> IOD_Complex::ConstructRealMsg() {
    Dicom_Msg* real = new Dicom_Msg(*m_o);
    for (size_t i = 0; i < m_removed.Size(); ++i) real->Remove(m_removed.At(i));
    const Dicom_SortedVector& layer = *m_layer;
    for (size_t i = 0; i < layer.entries(); ++i) {
        Dicom_ME* copy = new Dicom_ME(*layer.at(i));
        if (real->AddOrReplace(copy) == -1) {
            delete copy;
            delete real;
            if (KvlGLog.StoreParams(kLogFile, "IOD_Complex::ConstructRealMsg", __LINE__, 3, kCategory, 1))
                KvlGLog.Log("ConstructRealMsg(): Can't add element to the message.\n");
            return Kvl_AutoPtr<Dicom_Msg>();
        }
    }
    return Kvl_AutoPtr<Dicom_Msg>(real);
}
