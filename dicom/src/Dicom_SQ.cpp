// Dicom_SQ and Dicom_Sequence: items, copies, lengths.
#include <Dicom/Dicom_Msg.h>
#include <Dicom/Dicom_SQ.h>
#include <Dicom/Dicom_Sequence.h>
#include <Dicom/Dicom_TransferSyntax.h>
#include <Dicom/Dicom_UI.h>

// --- Dicom_Sequence ---

Dicom_Sequence::Dicom_Sequence(const Dicom_Sequence& other) {
    m_items.reserve(other.m_items.size());
    try {
        for (const Dicom_Msg* item : other.m_items) m_items.push_back(item ? new Dicom_Msg(*item) : nullptr);
    } catch (...) {
        Clear();
        throw;
    }
}

Dicom_Sequence& Dicom_Sequence::operator=(const Dicom_Sequence& other) {
    if (this != &other) {
        Dicom_Sequence copy(other);
        Clear();
        m_items.swap(copy.m_items);
    }
    return *this;
}

Dicom_Sequence::~Dicom_Sequence() { Clear(); }

void Dicom_Sequence::Insert(int i, Dicom_Msg* item) {
    if (i < 0) i = 0;
    if (i > GetNItems()) i = GetNItems();
    m_items.insert(m_items.begin() + i, item);
}

Dicom_Msg* Dicom_Sequence::Detach(int i) {
    if (i < 0 || i >= GetNItems()) return nullptr;
    Dicom_Msg* item = m_items[static_cast<size_t>(i)];
    m_items.erase(m_items.begin() + i);
    return item;
}

void Dicom_Sequence::Clear() {
    for (Dicom_Msg* item : m_items) delete item;
    m_items.clear();
}

// --- Dicom_SQ ---

constinit Dicom_SQ SQ_NULL;

Dicom_SQ::Dicom_SQ(const Dicom_SQ& other)
    : Dicom_Type(other), m_items(other.m_items), m_itemDefinedLength(other.m_itemDefinedLength) {}

Dicom_SQ& Dicom_SQ::operator=(const Dicom_SQ& other) {
    if (this != &other) {
        m_items = other.m_items;  // copies first, then replaces: safe if copying throws
        Dicom_Type::operator=(other);
        m_itemDefinedLength = other.m_itemDefinedLength;
    }
    return *this;
}

Dicom_SQ::Dicom_SQ(Dicom_Sequence&& items) : Dicom_Type(Dicom_VR::SQ), m_items(std::move(items)) {
    m_flags = kUndefinedLength;
}

Dicom_SQ::Dicom_SQ(const Dicom_Sequence& items) : Dicom_Type(Dicom_VR::SQ), m_items(items) {
    m_flags = kUndefinedLength;
}

Dicom_SQ::~Dicom_SQ() = default;

void Dicom_SQ::AddItem(Dicom_Msg* item) { m_items.Append(item); }

bool Dicom_SQ::ItemHasUndefinedLength(int i) const {
    return !(i >= 0 && static_cast<size_t>(i) < m_itemDefinedLength.size() &&
             m_itemDefinedLength[static_cast<size_t>(i)]);
}

void Dicom_SQ::SetItemUndefinedLength(int i, bool on) {
    if (i < 0) return;
    if (static_cast<size_t>(i) >= m_itemDefinedLength.size()) {
        if (on) return;
        m_itemDefinedLength.resize(static_cast<size_t>(i) + 1, false);
    }
    m_itemDefinedLength[static_cast<size_t>(i)] = !on;
}

Dicom_DumpLen Dicom_SQ::GetDumpLen(const Dicom_UI& transferSyntax) const {
    return GetDumpLen(Dicom_TransferSyntax(transferSyntax));
}

Dicom_DumpLen Dicom_SQ::GetDumpLen(const Dicom_TransferSyntax& syntax) const {
    uint64_t total = HasUndefinedLength() ? 8 : 0;
    for (int i = 0; i < m_items.GetNItems(); ++i) {
        const Dicom_Msg* item = m_items.Get(i);
        uint64_t itemLen = 0;
        if (item) {
            const Dicom_DumpLen l = item->GetDumpLen(syntax);
            if (!l.IsValid()) return Dicom_DumpLen(false);
            itemLen = l.GetDumpLen();
        }
        total += 8 + itemLen + (ItemHasUndefinedLength(i) ? 8 : 0);
        if (total >= 0xFFFFFFFFu) return Dicom_DumpLen(false);
    }
    return Dicom_DumpLen(static_cast<unsigned int>(total));
}

uint32_t Dicom_SQ::GetValueLength(const Dicom_TransferSyntax& syntax) const {
    const Dicom_DumpLen l = GetDumpLen(syntax);
    return l.IsValid() ? l.GetDumpLen() : 0xFFFFFFFFu;
}

std::string Dicom_SQ::ToString() const {
    const int n = m_items.GetNItems();
    return "(Sequence with " + std::to_string(n) + (n == 1 ? " item)" : " items)");
}

bool Dicom_SQ::Match(const Dicom_Type& other) const {
    if (this == &other) return true;
    if (other.GetVR() != Dicom_VR::SQ) return IsEmpty() && other.IsEmpty();
    const auto& o = static_cast<const Dicom_SQ&>(other);
    if (o.m_items.GetNItems() != m_items.GetNItems()) return false;
    for (int i = 0; i < m_items.GetNItems(); ++i) {
        const Dicom_Msg* a = m_items.Get(i);
        const Dicom_Msg* b = o.m_items.Get(i);
        if (!a || !b) {
            if (a != b) return false;
            continue;
        }
        const int n = a->GetNElements();
        if (n != b->GetNElements()) return false;
        for (int k = 0; k < n; ++k) {
            const Dicom_ME* ea = a->GetElement(k);
            const Dicom_ME* eb = b->GetElement(k);
            if (!ea || !eb || ea->GetTag().GetTag() != eb->GetTag().GetTag()) return false;
            const Dicom_Type* va = ea->GetData();
            const Dicom_Type* vb = eb->GetData();
            if (!va || !vb) {
                if (va != vb) return false;
                continue;
            }
            if (!va->Match(*vb)) return false;
        }
    }
    return true;
}
