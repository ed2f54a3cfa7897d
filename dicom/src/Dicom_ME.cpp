// Dicom_ME: a tag and the value it owns.
#include <Dicom/Dicom_ME.h>
#include <Dicom/Dicom_TransferSyntax.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "Dicom_Codec.h"
#include "Dicom_ValuesUtil.h"

Dicom_ME::Dicom_ME(const Dicom_Tag& tag, Dicom_Type* data, int copyData, int reserved, int* status)
    : m_tag(tag) {
    (void)reserved;
    if (!data) {
        if (status) *status = -1;
        return;
    }
    m_data = copyData ? data->Clone() : data;
    if (status) *status = 0;
}

Dicom_ME::Dicom_ME(const Dicom_ME& other)
    : RWCollectable(other),
      Dicom_ArenaObject(),
      m_tag(other.m_tag),
      m_data(other.m_data ? other.m_data->Clone() : nullptr) {}

Dicom_ME::~Dicom_ME() { delete m_data; }

void Dicom_ME::SetData(Dicom_Type* data, int copy) {
    Dicom_Type* next = (copy && data) ? data->Clone() : data;
    if (next == m_data) return;
    delete m_data;
    m_data = next;
}

Dicom_Type* Dicom_ME::ReleaseData() {
    Dicom_Type* d = m_data;
    m_data = nullptr;
    return d;
}

Dicom_DumpLen Dicom_ME::GetDumpLen(const Dicom_TransferSyntax& syntax, Dicom_MF_Info* info) const {
    (void)info;
    const Dicom_TransferSyntax ts =
        syntax.IsSpecified() ? syntax : Dicom_TransferSyntax(Dicom_TransferSyntax::EXPLICIT_LITTLE_ENDIAN);
    uint64_t n;
    if (!Dicom_Codec::ElementLength(*this, ts, &n) || n > 0xFFFFFFFFull) return Dicom_DumpLen(false);
    return Dicom_DumpLen(static_cast<unsigned int>(n));
}

int Dicom_ME::compareTo(const RWCollectable* other) const {
    const Dicom_ME* o = dynamic_cast<const Dicom_ME*>(other);
    if (!o) return RWCollectable::compareTo(other);
    const uint32_t a = m_tag.GetTag(), b = o->m_tag.GetTag();
    return a < b ? -1 : (a > b ? 1 : 0);
}

bool Dicom_ME::isEqual(const RWCollectable* other) const {
    const Dicom_ME* o = dynamic_cast<const Dicom_ME*>(other);
    return o && o->m_tag.GetTag() == m_tag.GetTag();
}

namespace {

// Splits a text at '\\'.
std::vector<std::string_view> SplitValues(std::string_view text) {
    std::vector<std::string_view> out;
    size_t start = 0;
    for (;;) {
        const size_t bs = text.find('\\', start);
        out.push_back(text.substr(start, bs == std::string_view::npos ? std::string_view::npos : bs - start));
        if (bs == std::string_view::npos) break;
        start = bs + 1;
    }
    return out;
}

template <class T>
bool AppendInt(std::string_view s, long long lo, long long hi, std::string& bytes) {
    long long v;
    if (!Dicom_ValuesUtil::ParseInt(s, &v) || v < lo || v > hi) return false;
    T t = static_cast<T>(v);
    bytes.append(reinterpret_cast<const char*>(&t), sizeof(T));
    return true;
}

template <class T>
bool AppendFloat(std::string_view s, std::string& bytes) {
    double d;
    if (!Dicom_ValuesUtil::ParseDouble(s, &d)) return false;
    T t = static_cast<T>(d);
    bytes.append(reinterpret_cast<const char*>(&t), sizeof(T));
    return true;
}

// "(gggg,eeee)", "gggg,eeee" or "ggggeeee" in hexadecimal.
bool AppendAT(std::string_view s, std::string& bytes) {
    std::string hex;
    for (char c : s)
        if (std::isxdigit(static_cast<unsigned char>(c)))
            hex.push_back(c);
        else if (c != '(' && c != ')' && c != ',' && c != ' ')
            return false;
    if (hex.size() != 8) return false;
    const unsigned long v = std::strtoul(hex.c_str(), nullptr, 16);
    const uint16_t g = static_cast<uint16_t>(v >> 16), e = static_cast<uint16_t>(v & 0xFFFF);
    bytes.append(reinterpret_cast<const char*>(&g), 2);
    bytes.append(reinterpret_cast<const char*>(&e), 2);
    return true;
}

}  // namespace

Dicom_Type* Dicom_ME::ConvertToDicomType(const char* vrName, const char* text, int reserved1, int reserved2) {
    (void)reserved1;
    (void)reserved2;
    if (!vrName || !text) return nullptr;
    const Dicom_VR vr = Dicom_VRFromName(vrName);
    if (vr == Dicom_VR::NONE || vr == Dicom_VR::SQ) return nullptr;
    const Dicom_VRInfo& info = Dicom_GetVRInfo(vr);
    const std::string_view t(text);
    std::string bytes;
    if (info.text) {
        if (!Dicom_ValuesUtil::ValidateText(vr, 0, t)) return nullptr;
        bytes.assign(t);
    } else if (vr == Dicom_VR::OB || vr == Dicom_VR::UN) {
        bytes.assign(t);
    } else if (!t.empty()) {
        for (std::string_view s : SplitValues(t)) {
            bool ok = false;
            switch (vr) {
                case Dicom_VR::US:
                case Dicom_VR::OW:
                    ok = AppendInt<uint16_t>(s, 0, 0xFFFF, bytes);
                    break;
                case Dicom_VR::SS:
                    ok = AppendInt<int16_t>(s, -32768, 32767, bytes);
                    break;
                case Dicom_VR::UL:
                case Dicom_VR::OL:
                    ok = AppendInt<uint32_t>(s, 0, 0xFFFFFFFFll, bytes);
                    break;
                case Dicom_VR::SL:
                    ok = AppendInt<int32_t>(s, -2147483648ll, 2147483647ll, bytes);
                    break;
                case Dicom_VR::UV:
                case Dicom_VR::OV:
                    ok = AppendInt<uint64_t>(s, 0, 0x7FFFFFFFFFFFFFFFll, bytes);
                    break;
                case Dicom_VR::SV:
                    ok = AppendInt<int64_t>(s, -0x7FFFFFFFFFFFFFFFll - 1, 0x7FFFFFFFFFFFFFFFll, bytes);
                    break;
                case Dicom_VR::FL:
                case Dicom_VR::OF:
                    ok = AppendFloat<float>(s, bytes);
                    break;
                case Dicom_VR::FD:
                case Dicom_VR::OD:
                    ok = AppendFloat<double>(s, bytes);
                    break;
                case Dicom_VR::AT:
                    ok = AppendAT(s, bytes);
                    break;
                default:
                    ok = false;
                    break;
            }
            if (!ok) return nullptr;
        }
    }
    Dicom_Type* v = Dicom_CreateValue(vr);
    if (!v) return nullptr;
    if (v->SetRaw(bytes.data(), static_cast<uint32_t>(bytes.size())) != 0) {
        delete v;
        return nullptr;
    }
    return v;
}
