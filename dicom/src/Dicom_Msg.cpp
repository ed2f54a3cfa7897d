// Dicom_Msg: construction, the element store, private-tag resolution and encoding entry points.
#include <Dicom/Dicom_Dictionary.h>
#include <Dicom/Dicom_LO.h>
#include <Dicom/Dicom_Msg.h>
#include <Dicom/Dicom_SQ.h>
#include <Dicom/Dicom_TrustedBufferReader.h>
#include <Dicom/Dicom_UI.h>
#include <KvlLog/Kvl_LogFile.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <mutex>

#include "Dicom_Codec.h"

namespace {

constexpr const char* kLogFile = "dicom/src/Dicom_Msg";
constexpr int kLogCategory = 20;  // the DICOM layer

// Length of a text without trailing spaces and NULs.
inline size_t Trimmed(const unsigned char* s, size_t n) {
    while (n > 0 && (s[n - 1] == ' ' || s[n - 1] == '\0')) --n;
    return n;
}

// Creator text of an implementor index, cached per thread (private lookups repeat the same few).
const std::string& CreatorName(unsigned short implementor) {
    thread_local unsigned short cachedIndex = Dicom_Tag::NO_IMPLEMENTOR;
    thread_local std::string cachedName;
    if (implementor != cachedIndex) {
        cachedName = ImplementorIDVector::Name(implementor);
        while (!cachedName.empty() && (cachedName.back() == ' ' || cachedName.back() == '\0'))
            cachedName.pop_back();
        cachedIndex = implementor;
    }
    return cachedName;
}

// Block (0x10..0xFF) that the creator `name` reserved in `group`, or 0.
unsigned short FindBlock(const Dicom_SortedVector& elems, unsigned short group, const char* name,
                         size_t nameLength) {
    const uint32_t first = (uint32_t(group) << 16) | 0x0010;
    const uint32_t last = (uint32_t(group) << 16) | 0x00FF;
    for (size_t i = elems.LowerBound(first); i < elems.entries(); ++i) {
        const Dicom_ME* me = elems.at(i);
        if (me->GetTag().GetTag() > last) break;
        const Dicom_Type* v = me->GetData();
        if (!v) continue;
        const unsigned char* d = v->GetData();
        size_t n = Trimmed(d, v->GetRawLen());
        size_t s = 0;
        while (s < n && d[s] == ' ') ++s;
        if (n - s == nameLength && std::memcmp(d + s, name, nameLength) == 0)
            return me->GetTag().GetElement();
    }
    return 0;
}

// The policy table.
struct PolicyEntry {
    unsigned short group, element, implementor;
    unsigned int policy;
};
std::mutex g_policyMutex;
std::vector<PolicyEntry>& PolicyTable() {
    static std::vector<PolicyEntry> table;
    return table;
}

}  // namespace

unsigned int Dicom_Msg::tolerance = DICOM_POLICY_FIRST;

// ---------------------------------------------------------------------------------------------
// Construction

Dicom_Msg::Dicom_Msg() = default;

Dicom_Msg::Dicom_Msg(const Dicom_Msg& other) : RWCollectable(other) {
    unsigned int length = 0;
    char* buffer = other.CreateTrustedBuffer(DICOM_LITTLE_ENDIAN, &length);
    if (!buffer) return;
    int status = 0;
    Kvl_AutoPtr<Dicom_TrustedBufferReader> reader(new Dicom_TrustedBufferReader(buffer, length, &status, 1));
    if (status == 0) ConstructFromTrustedBuffer(reader);
    copy_dicom_flags(other);
}

Dicom_Msg::Dicom_Msg(void* buffer, unsigned long long length, int copy, int* status,
                     Dicom_SwapInfo::msg_source source) {
    unsigned long long consumed = 0;
    ConstructFromBuffer(buffer, length, copy, &consumed, Dicom_TransferSyntax(), source, status);
}

Dicom_Msg::Dicom_Msg(void* buffer, unsigned long long length, int copy, const Dicom_TransferSyntax& syntax,
                     int* status, Dicom_SwapInfo::msg_source source, bool stopBeforePixelData) {
    unsigned long long consumed = 0;
    ConstructFromBuffer(buffer, length, copy, &consumed, syntax, source, status, stopBeforePixelData);
}

Dicom_Msg::Dicom_Msg(void* buffer, unsigned long long length, int copy, const Dicom_UI& syntaxUid,
                     int* status, Dicom_SwapInfo::msg_source source, bool stopBeforePixelData, bool strict) {
    unsigned long long consumed = 0;
    ConstructFromBuffer(buffer, length, copy, &consumed, Dicom_TransferSyntax(syntaxUid), source, status,
                        stopBeforePixelData, strict);
}

Dicom_Msg::Dicom_Msg(int handle, unsigned long long length, unsigned int* lengthOut,
                     const Dicom_TransferSyntax& syntax, int* status, Dicom_SwapInfo::msg_source source) {
    m_source = source;
    if (lengthOut) *lengthOut = 0;
    // Read exactly `length` bytes; the buffer grows with what actually arrives, so that a length
    // larger than the data never allocates more than about twice what was read.
    size_t capacity = 0, got = 0;
    unsigned char* data = nullptr;
    bool ok = handle >= 0 && length <= 0xFFFFFFFFull;
    while (ok && got < length) {
        if (got == capacity) {
            size_t next = capacity ? capacity * 2 : 65536;
            if (next > length) next = static_cast<size_t>(length);
            unsigned char* grown = static_cast<unsigned char*>(std::realloc(data, next));
            if (!grown) {
                ok = false;
                break;
            }
            data = grown;
            capacity = next;
        }
        const ssize_t r = ::read(handle, data + got, capacity - got);
        if (r < 0 && errno == EINTR) continue;
        if (r <= 0) {
            ok = false;  // error or end of file before `length` bytes
            break;
        }
        got += static_cast<size_t>(r);
    }
    if (!ok) {
        std::free(data);
        if (KvlGLog.StoreParams(kLogFile, "Dicom_Msg::Dicom_Msg", __LINE__, 4, kLogCategory, 1))
            KvlGLog.Log("short read: %zu of %llu bytes from handle %d\n", got, length, handle);
        if (status) *status = -1;
        return;
    }
    Dicom_Arena* arena = Dicom_Codec::EnsureArena(*this);
    arena->Adopt(data);
    unsigned long long consumed = 0;
    ConstructFromBuffer(data, length, 0, &consumed, syntax, source, status);
    if (lengthOut) *lengthOut = static_cast<unsigned int>(consumed);
}

Dicom_Msg::~Dicom_Msg() {
    DestroyElements();
    if (m_arena) m_arena->Release();
}

Dicom_Msg& Dicom_Msg::operator=(const Dicom_Msg& other) {
    if (this == &other) return *this;
    unsigned int length = 0;
    char* buffer = other.CreateTrustedBuffer(DICOM_LITTLE_ENDIAN, &length);
    DestroyElements();
    if (buffer) {
        int status = 0;
        Kvl_AutoPtr<Dicom_TrustedBufferReader> reader(
            new Dicom_TrustedBufferReader(buffer, length, &status, 1));
        if (status == 0) ConstructFromTrustedBuffer(reader);
    }
    copy_dicom_flags(other);
    m_source = other.m_source;
    return *this;
}

void Dicom_Msg::DestroyElements() {
    Dicom_SortedVector& elems = m_elements;
    for (size_t i = 0; i < elems.entries(); ++i) delete elems.at(i);
    elems.Clear();
}

int Dicom_Msg::ConstructFromBuffer(void* buffer, unsigned long long length, int copy,
                                   unsigned long long* consumed, const Dicom_TransferSyntax& syntax,
                                   Dicom_SwapInfo::msg_source source, int* status, bool stopBeforePixelData,
                                   bool strict, const char* name) {
    DestroyElements();
    m_parseFlags = 0;
    m_source = source;
    Dicom_Codec::ParseResult r = Dicom_Codec::Parse(*this, static_cast<const unsigned char*>(buffer), length,
                                                    copy, syntax, stopBeforePixelData, strict);
    if (consumed) *consumed = r.consumed;
    if (status) *status = r.status;
    if (r.status != 0 &&
        KvlGLog.StoreParams(kLogFile, "Dicom_Msg::ConstructFromBuffer", __LINE__, 4, kLogCategory, 1))
        KvlGLog.Log("%s%s%s after %llu of %llu bytes\n", name ? name : "", name ? ": " : "", r.error.c_str(),
                    r.consumed, length);
    return r.status;
}

// ---------------------------------------------------------------------------------------------
// Private tags

namespace {

// The key under which `tag` is stored: unresolved private tags through their creator's block.
// False when the creator has reserved no block in the group.
bool ResolveKey(const Dicom_SortedVector& elems, const Dicom_Tag& tag, uint32_t* key) {
    if (!tag.IsUnresolvedPrivate()) {
        *key = tag.GetTag();
        return true;
    }
    const std::string& name = CreatorName(tag.GetImplementorID());
    if (name.empty()) return false;
    const unsigned short block = FindBlock(elems, tag.GetGroup(), name.data(), name.size());
    if (!block) return false;
    *key = (uint32_t(tag.GetGroup()) << 16) | (uint32_t(block) << 8) | (tag.GetElement() & 0xFF);
    return true;
}

}  // namespace

int Dicom_Msg::FindImplementorPrefix(unsigned short group, const Dicom_LO& creator,
                                     unsigned short* block) const {
    const Dicom_Type& c = creator;
    const unsigned char* d = c.GetData();
    size_t n = Trimmed(d, c.GetRawLen());
    size_t s = 0;
    while (s < n && d[s] == ' ') ++s;
    const unsigned short b = FindBlock(getElements(), group, reinterpret_cast<const char*>(d + s), n - s);
    if (!b) return -1;
    if (block) *block = b;
    return 0;
}

namespace {

// The tag under which a new element for `tag` is stored. Unresolved private tags reserve the first
// free block of the group for their creator when it has none: the block is looked for in what
// the message presents (`shown`), so that no creator it shows is overwritten, and the creator
// element goes into the message's own store. ILLEGAL_TAG when the tag cannot be stored.
Dicom_Tag StorageTag(Dicom_Msg& msg, const Dicom_SortedVector& shown, Dicom_SortedVector& store,
                     const Dicom_Tag& tag) {
    if (tag == Dicom_Tag::ILLEGAL_TAG) return Dicom_Tag::ILLEGAL_TAG;
    if (!tag.IsUnresolvedPrivate()) return tag;
    const std::string& name = CreatorName(tag.GetImplementorID());
    if (name.empty()) return Dicom_Tag::ILLEGAL_TAG;
    const std::string creator = name;  // the cache may change below
    const unsigned short group = tag.GetGroup();
    unsigned short block = FindBlock(shown, group, creator.data(), creator.size());
    if (!block) {
        for (unsigned short b = 0x10; b <= 0xFF; ++b) {
            const uint32_t key = (uint32_t(group) << 16) | b;
            if (shown.Index(key) < 0 && store.Index(key) < 0) {
                block = b;
                break;
            }
        }
        if (!block) return Dicom_Tag::ILLEGAL_TAG;  // all 240 blocks taken
        Dicom_Type* lo = Dicom_CreateValue(Dicom_VR::LO);
        lo->SetRaw(creator.data(), static_cast<uint32_t>(creator.size()));
        msg.fix_charset_for_new_item(lo);
        store.Insert(new Dicom_ME(Dicom_Tag(group, block), lo));
    }
    return Dicom_Tag(group, static_cast<unsigned short>((block << 8) | (tag.GetElement() & 0xFF)),
                     tag.GetImplementorID());
}

}  // namespace

// ---------------------------------------------------------------------------------------------
// Value access

const Dicom_Type* Dicom_Msg::Get(const Dicom_Tag& tag) const {
    const Dicom_SortedVector& elems = getElements();
    uint32_t key;
    if (!ResolveKey(elems, tag, &key)) return nullptr;
    const Dicom_ME* me = elems.Find(key);
    return me ? me->GetData() : nullptr;
}

int Dicom_Msg::SetInPlace(const Dicom_Tag& tag, const Dicom_Type* value) {
    if (!value) return -1;
    const Dicom_ME* shown = Find(tag, false);
    if (!shown || !shown->GetData() || shown->GetData()->GetVR() != value->GetVR()) return -1;
    Dicom_ME* me = FindChangeable(tag);
    if (!me || !me->GetChangeableData()) return -1;
    if (value->GetVR() == Dicom_VR::SQ) {
        me->SetData(value->Clone(), 0);
        return 0;
    }
    Dicom_Type* v = me->GetChangeableData();
    if (v->SetRaw(value->GetData(), value->GetRawLen()) != 0) return -1;
    v->SetCharset(value->GetCharset());
    fix_charset_for_new_item(v);
    return 0;
}

Dicom_ME* Dicom_Msg::FindChangeable(Dicom_Tag tag) {
    Dicom_ME* me = Find(tag, false);
    if (!me) return nullptr;
    const uint32_t key = me->GetTag().GetTag();
    Dicom_ME* own = m_elements.Find(key);
    if (own == me) return me;
    // Shown, not owned: a copy in the own store takes its place in what the message presents.
    if (own) return nullptr;  // Find returned something other than the own element: inconsistent
    Dicom_ME* copy = new Dicom_ME(*me);
    m_elements.Insert(copy);
    return copy;
}

Dicom_SortedVector& Dicom_Msg::getElements() const { return m_elements; }

void Dicom_Msg::copy_dicom_flags(const Dicom_Msg& source) {
    m_msgFlags = source.m_msgFlags;
    m_parseFlags = source.m_parseFlags;
    m_syntax = source.m_syntax;
    m_namedSyntax = source.m_namedSyntax;
}

// Add, Replace, Remove and SetWithoutDataCopy write into the own store (m_elements) and resolve
// private tags through what the message presents (getElements()); AddOrReplace decides on what
// it presents and goes through the virtual Add or Replace.

int Dicom_Msg::Add(Dicom_ME* element, int copy) {
    if (!element) return -1;
    const Dicom_Tag tag = StorageTag(*this, getElements(), m_elements, element->GetTag());
    if (tag == Dicom_Tag::ILLEGAL_TAG) return -1;
    if (m_elements.Index(tag) >= 0) return -1;
    Dicom_ME* me = copy ? new Dicom_ME(*element) : element;
    me->SetTag(tag);
    if (me->GetChangeableData()) fix_charset_for_new_item(me->GetChangeableData());
    m_elements.Insert(me);
    return 0;
}

int Dicom_Msg::Replace(Dicom_ME* element) {
    if (!element) return -1;
    uint32_t key;
    if (!ResolveKey(getElements(), element->GetTag(), &key)) return -1;
    const long i = m_elements.Index(key);
    if (i < 0) return -1;
    Dicom_ME* old = m_elements.RemoveAt(static_cast<size_t>(i));
    if (old != element) {
        element->SetTag(old->GetTag());
        delete old;
    }
    if (element->GetChangeableData()) fix_charset_for_new_item(element->GetChangeableData());
    m_elements.Insert(element);
    return 0;
}

int Dicom_Msg::AddOrReplace(Dicom_ME* element) {
    if (!element) return -1;
    uint32_t key;
    if (ResolveKey(getElements(), element->GetTag(), &key) && getElements().Index(key) >= 0)
        return Replace(element);
    return Add(element, 0);
}

int Dicom_Msg::Remove(Dicom_Tag tag) {
    uint32_t key;
    if (!ResolveKey(getElements(), tag, &key)) return -1;
    const long i = m_elements.Index(key);
    if (i < 0) return -1;
    delete m_elements.RemoveAt(static_cast<size_t>(i));
    return 0;
}

Dicom_ME* Dicom_Msg::Find(Dicom_Tag tag, bool recursive) const {
    const Dicom_SortedVector& elems = getElements();
    uint32_t key;
    if (ResolveKey(elems, tag, &key)) {
        if (Dicom_ME* me = elems.Find(key)) return me;
    }
    if (!recursive) return nullptr;
    for (size_t i = 0; i < elems.entries(); ++i) {
        const Dicom_Type* v = elems.at(i)->GetData();
        if (!v || v->GetVR() != Dicom_VR::SQ) continue;
        const Dicom_SQ* sq = static_cast<const Dicom_SQ*>(v);
        for (int j = 0; j < sq->GetNItems(); ++j) {
            const Dicom_Msg* item = sq->GetItem(j);
            if (!item) continue;
            if (Dicom_ME* me = item->Find(tag, true)) return me;
        }
    }
    return nullptr;
}

int Dicom_Msg::GetNElements() const { return static_cast<int>(getElements().entries()); }

Dicom_ME* Dicom_Msg::GetElement(int index) const {
    return index < 0 ? nullptr : getElements().at(static_cast<size_t>(index));
}

int Dicom_Msg::Set(const Dicom_Tag& tag, Dicom_Type* value) {
    if (!value) return -1;
    return SetWithoutDataCopy(tag, value->Clone());
}

int Dicom_Msg::SetWithDataCopy(const Dicom_Tag& tag, Dicom_Type* value) { return Set(tag, value); }

int Dicom_Msg::SetWithoutDataCopy(const Dicom_Tag& tag, Dicom_Type* value) {
    if (!value) return -1;
    const Dicom_Tag storage = StorageTag(*this, getElements(), m_elements, tag);
    if (storage == Dicom_Tag::ILLEGAL_TAG) {
        delete value;
        return -1;
    }
    fix_charset_for_new_item(value);
    if (Dicom_ME* me = m_elements.Find(storage.GetTag())) {
        me->SetData(value, 0);
        return 0;
    }
    m_elements.Insert(new Dicom_ME(storage, value));
    return 0;
}

int Dicom_Msg::CopyAttributes(Dicom_Msg& target, const RWSortedVector& tags) const {
    int result = 0;
    for (RWCollectable* c : tags) {
        const Dicom_ME* wanted = dynamic_cast<const Dicom_ME*>(c);
        if (!wanted) continue;
        Dicom_Tag tag = wanted->GetTag();
        const Dicom_ME* me = Find(tag, false);
        if (!me || !me->GetData()) continue;
        // Private data elements go through their creator, so that the target reserves its own block.
        if (tag.HasImplementor())
            tag.Unresolve();
        else
            tag = me->GetTag();
        if (target.Set(tag, const_cast<Dicom_Type*>(me->GetData())) != 0) result = -1;
    }
    return result;
}

// ---------------------------------------------------------------------------------------------
// Encoding

int Dicom_Msg::Encode(std::vector<unsigned char>& out, const Dicom_TransferSyntax& syntax,
                      bool withFileMeta) const {
    const Dicom_TransferSyntax ts = Dicom_Codec::Resolve(*this, syntax);
    if (!ts.IsKnown()) return -1;
    std::vector<unsigned char> header;
    if (withFileMeta && Dicom_Codec::FileMetaHeader(*this, ts, header, nullptr) != 0) return -1;
    const Dicom_DumpLen len = get_dump_len(ts, nullptr);
    if (!len.IsValid()) return -1;
    const uint64_t total = uint64_t(header.size()) + len.GetDumpLen();
    if (total > 0xFFFFFFFFull) return -1;
    out.resize(static_cast<size_t>(total));
    if (!header.empty()) std::memcpy(out.data(), header.data(), header.size());
    if (len.GetDumpLen() == 0) return 0;
    std::string error;
    if (dump(out.data() + header.size(), len.GetDumpLen(), ts, &error) != 0) {
        out.clear();
        return -1;
    }
    return 0;
}

Dicom_DumpLen Dicom_Msg::GetDumpLen(const Dicom_UI& syntaxUid, int reserved, SCompressionParms params,
                                    Dicom_MF_Info* info) const {
    (void)reserved;
    (void)params;
    return get_dump_len(Dicom_TransferSyntax(syntaxUid), info);
}

Dicom_DumpLen Dicom_Msg::GetDumpLen(const Dicom_TransferSyntax& syntax) const {
    return get_dump_len(syntax, nullptr);
}

int Dicom_Msg::dump(void* buffer, unsigned int length, const Dicom_TransferSyntax& syntax,
                    std::string* error) const {
    if (!buffer && length) return -1;
    const Dicom_TransferSyntax ts = Dicom_Codec::Resolve(*this, syntax);
    std::string err;
    const long long n =
        Dicom_Codec::WriteDataSet(*this, ts, static_cast<unsigned char*>(buffer), length, &err);
    if (n < 0) {
        if (error) *error = err;
        return -1;
    }
    return 0;
}

Dicom_DumpLen Dicom_Msg::get_dump_len(const Dicom_TransferSyntax& syntax, Dicom_MF_Info* info) const {
    (void)info;
    const Dicom_TransferSyntax ts = Dicom_Codec::Resolve(*this, syntax);
    uint64_t n;
    if (!Dicom_Codec::DataSetLength(*this, ts, &n) || n > 0xFFFFFFFFull) return Dicom_DumpLen(false);
    return Dicom_DumpLen(static_cast<unsigned int>(n));
}

// ---------------------------------------------------------------------------------------------
// Queries

bool Dicom_Msg::IsMultiFormat() const {
    if (Get(Dicom_Dictionary::QUORVEX1_MULTI_FORMAT_SEQUENCE)) return true;
    const Dicom_Type* it = Get(Dicom_Tag(0x0008, 0x0008));
    if (!it) return false;
    const char* d = reinterpret_cast<const char*>(it->GetData());
    const size_t n = it->GetRawLen();
    // The third value of Image Type.
    size_t start = 0;
    int index = 0;
    for (size_t i = 0; i <= n; ++i) {
        if (i == n || d[i] == '\\') {
            if (index == 2) {
                size_t a = start, b = i;
                while (a < b && d[a] == ' ') ++a;
                while (b > a && (d[b - 1] == ' ' || d[b - 1] == '\0')) --b;
                return b - a == 12 && std::memcmp(d + a, "MULTI_FORMAT", 12) == 0;
            }
            ++index;
            start = i + 1;
        }
    }
    return false;
}

bool Dicom_Msg::hasGroup(unsigned short group, unsigned short mask, bool recursive) {
    const Dicom_SortedVector& elems = getElements();
    for (size_t i = 0; i < elems.entries(); ++i) {
        const Dicom_ME* me = elems.at(i);
        if ((me->GetTag().GetGroup() & mask) == group) return true;
        if (!recursive) continue;
        const Dicom_Type* v = me->GetData();
        if (!v || v->GetVR() != Dicom_VR::SQ) continue;
        const Dicom_SQ* sq = static_cast<const Dicom_SQ*>(v);
        for (int j = 0; j < sq->GetNItems(); ++j)
            if (Dicom_Msg* item = sq->GetItem(j); item && item->hasGroup(group, mask, true)) return true;
    }
    return false;
}

int Dicom_Msg::IsEmptyMsg(int* status) {
    if (status) *status = 0;
    return getElements().isEmpty() ? 1 : 0;
}

Dicom_MsgIterator* Dicom_Msg::GetNewElementsIterator() const { return new Dicom_MsgIterator(*this); }

Dicom_ME* Dicom_MsgIterator::operator()() { return m_msg.GetElement(m_i++); }

int Dicom_Msg::IsLogicallyEmptyMsg(int* status) {
    if (status) *status = 0;
    const Dicom_SortedVector& elems = getElements();
    for (size_t i = 0; i < elems.entries(); ++i) {
        const Dicom_ME* me = elems.at(i);
        const Dicom_Tag& t = me->GetTag();
        if (t.GetElement() == 0x0000) continue;  // group length
        if (t.IsPrivateImplementor()) continue;  // private creator
        const Dicom_Type* v = me->GetData();
        if (!v || v->IsEmpty()) continue;
        return 0;
    }
    return 1;
}

Dicom_Msg* Dicom_Msg::Clone() {
    Dicom_Msg* copy = new Dicom_Msg();
    unsigned int length = 0;
    char* buffer = CreateTrustedBuffer(DICOM_LITTLE_ENDIAN, &length);
    if (buffer) {
        int status = 0;
        Kvl_AutoPtr<Dicom_TrustedBufferReader> reader(
            new Dicom_TrustedBufferReader(buffer, length, &status, 1));
        if (status == 0) copy->ConstructFromTrustedBuffer(reader);
    }
    copy->copy_dicom_flags(*this);
    return copy;
}

Dicom_Msg* Dicom_Msg::CloneWithoutData() const {
    // The pixel elements are unlinked for the copy and put back: they are never serialised.
    Dicom_Msg* self = const_cast<Dicom_Msg*>(this);
    const Dicom_Tag pixelTags[] = {Dicom_Dictionary::PIXEL_DATA,
                                   Dicom_Dictionary::KOVEL_COMPRESSED_PIXEL_DATA,
                                   Dicom_Dictionary::KOVEL_ENCRYPTED_PIXEL_DATA};
    Dicom_SortedVector& elems = getElements();
    Dicom_ME* removed[3] = {nullptr, nullptr, nullptr};
    for (int i = 0; i < 3; ++i) {
        uint32_t key;
        if (ResolveKey(elems, pixelTags[i], &key)) removed[i] = elems.Remove(Dicom_Tag(key));
    }
    Dicom_Msg* copy = self->Clone();
    for (Dicom_ME* me : removed)
        if (me) elems.Insert(me);
    return copy;
}

// ---------------------------------------------------------------------------------------------
// Policies

unsigned int Dicom_Msg::TagPolicy(Dicom_ME* element) const {
    if (!element) return tolerance;
    Dicom_Tag t = element->GetTag();
    if (t.HasImplementor()) t.Unresolve();
    std::lock_guard<std::mutex> lock(g_policyMutex);
    for (const PolicyEntry& e : PolicyTable())
        if (e.group == t.GetGroup() && e.element == t.GetElement() && e.implementor == t.GetImplementorID())
            return e.policy;
    return tolerance;
}

void Dicom_Msg::SetTagPolicy(const Dicom_Tag& tag, unsigned int policy) {
    Dicom_Tag t = tag;
    if (t.HasImplementor()) t.Unresolve();
    std::lock_guard<std::mutex> lock(g_policyMutex);
    for (PolicyEntry& e : PolicyTable()) {
        if (e.group == t.GetGroup() && e.element == t.GetElement() && e.implementor == t.GetImplementorID()) {
            e.policy = policy;
            return;
        }
    }
    PolicyTable().push_back({t.GetGroup(), t.GetElement(), t.GetImplementorID(), policy});
}

void Dicom_Msg::ClearTagPolicies() {
    std::lock_guard<std::mutex> lock(g_policyMutex);
    PolicyTable().clear();
}

// ---------------------------------------------------------------------------------------------
// Codec access

// Writers (the reader, trusted buffers, transcoding) fill the own store; readers see what the
// message presents.
Dicom_SortedVector& Dicom_Codec::Elements(Dicom_Msg& msg) { return msg.m_elements; }
const Dicom_SortedVector& Dicom_Codec::Elements(const Dicom_Msg& msg) { return msg.getElements(); }
uint32_t& Dicom_Codec::MsgFlags(Dicom_Msg& msg) { return msg.m_msgFlags; }
uint32_t Dicom_Codec::MsgFlags(const Dicom_Msg& msg) { return msg.m_msgFlags; }
Dicom_TransferSyntax& Dicom_Codec::SyntaxOf(Dicom_Msg& msg) { return msg.m_syntax; }
Dicom_TransferSyntax& Dicom_Codec::NamedSyntaxOf(Dicom_Msg& msg) { return msg.m_namedSyntax; }

Dicom_Arena* Dicom_Codec::EnsureArena(Dicom_Msg& msg) {
    if (!msg.m_arena) msg.m_arena = Dicom_Arena::Create();
    return msg.m_arena;
}

void Dicom_Codec::AdoptArena(Dicom_Msg& item, Dicom_Arena* arena, const Dicom_TransferSyntax& syntax) {
    if (item.m_arena != arena) {
        if (arena) arena->AddRef();
        if (item.m_arena) item.m_arena->Release();
        item.m_arena = arena;
    }
    item.m_syntax = syntax;
}
