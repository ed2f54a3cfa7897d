// Dicom_TransferSyntax: classification of transfer syntax UIDs.
#include <Dicom/Dicom_TransferSyntax.h>
#include <Dicom/Dicom_UI.h>

#include <cstring>
#include <vector>

namespace {

struct KnownSyntax {
    const char* uid;
    Dicom_TransferSyntax::Kind kind;
};

using K = Dicom_TransferSyntax;

// Every syntax the layer reads. Encapsulated syntaxes are explicit VR little endian with
// pixel data in fragments; deflated ones compress an explicit VR little endian data set.
constexpr KnownSyntax kKnown[] = {
    {K::IMPLICIT_LITTLE_UID, K::IMPLICIT_LITTLE_ENDIAN},
    {K::EXPLICIT_LITTLE_UID, K::EXPLICIT_LITTLE_ENDIAN},
    {K::EXPLICIT_BIG_UID, K::EXPLICIT_BIG_ENDIAN},
    {K::DEFLATED_UID, K::DEFLATED_EXPLICIT_LITTLE_ENDIAN},
    {"1.2.840.10008.1.2.4.95", K::DEFLATED_EXPLICIT_LITTLE_ENDIAN},  // referenced pixel data, deflated
    {"1.2.840.10008.1.2.1.98", K::ENCAPSULATED},                     // encapsulated uncompressed
    {"1.2.840.10008.1.2.4.50", K::ENCAPSULATED},
    {"1.2.840.10008.1.2.4.51", K::ENCAPSULATED},
    {"1.2.840.10008.1.2.4.52", K::ENCAPSULATED},
    {"1.2.840.10008.1.2.4.53", K::ENCAPSULATED},
    {"1.2.840.10008.1.2.4.54", K::ENCAPSULATED},
    {"1.2.840.10008.1.2.4.55", K::ENCAPSULATED},
    {"1.2.840.10008.1.2.4.56", K::ENCAPSULATED},
    {"1.2.840.10008.1.2.4.57", K::ENCAPSULATED},
    {"1.2.840.10008.1.2.4.58", K::ENCAPSULATED},
    {"1.2.840.10008.1.2.4.59", K::ENCAPSULATED},
    {"1.2.840.10008.1.2.4.60", K::ENCAPSULATED},
    {"1.2.840.10008.1.2.4.61", K::ENCAPSULATED},
    {"1.2.840.10008.1.2.4.62", K::ENCAPSULATED},
    {"1.2.840.10008.1.2.4.63", K::ENCAPSULATED},
    {"1.2.840.10008.1.2.4.64", K::ENCAPSULATED},
    {"1.2.840.10008.1.2.4.65", K::ENCAPSULATED},
    {"1.2.840.10008.1.2.4.66", K::ENCAPSULATED},
    {"1.2.840.10008.1.2.4.70", K::ENCAPSULATED},
    {"1.2.840.10008.1.2.4.80", K::ENCAPSULATED},
    {"1.2.840.10008.1.2.4.81", K::ENCAPSULATED},
    {"1.2.840.10008.1.2.4.90", K::ENCAPSULATED},
    {"1.2.840.10008.1.2.4.91", K::ENCAPSULATED},
    {"1.2.840.10008.1.2.4.92", K::ENCAPSULATED},
    {"1.2.840.10008.1.2.4.93", K::ENCAPSULATED},
    {"1.2.840.10008.1.2.4.94", K::ENCAPSULATED},
    {"1.2.840.10008.1.2.4.100", K::ENCAPSULATED},
    {"1.2.840.10008.1.2.4.100.1", K::ENCAPSULATED},
    {"1.2.840.10008.1.2.4.101", K::ENCAPSULATED},
    {"1.2.840.10008.1.2.4.101.1", K::ENCAPSULATED},
    {"1.2.840.10008.1.2.4.102", K::ENCAPSULATED},
    {"1.2.840.10008.1.2.4.102.1", K::ENCAPSULATED},
    {"1.2.840.10008.1.2.4.103", K::ENCAPSULATED},
    {"1.2.840.10008.1.2.4.103.1", K::ENCAPSULATED},
    {"1.2.840.10008.1.2.4.104", K::ENCAPSULATED},
    {"1.2.840.10008.1.2.4.104.1", K::ENCAPSULATED},
    {"1.2.840.10008.1.2.4.105", K::ENCAPSULATED},
    {"1.2.840.10008.1.2.4.105.1", K::ENCAPSULATED},
    {"1.2.840.10008.1.2.4.106", K::ENCAPSULATED},
    {"1.2.840.10008.1.2.4.106.1", K::ENCAPSULATED},
    {"1.2.840.10008.1.2.4.107", K::ENCAPSULATED},
    {"1.2.840.10008.1.2.4.108", K::ENCAPSULATED},
    {"1.2.840.10008.1.2.4.110", K::ENCAPSULATED},
    {"1.2.840.10008.1.2.4.111", K::ENCAPSULATED},
    {"1.2.840.10008.1.2.4.112", K::ENCAPSULATED},
    {"1.2.840.10008.1.2.4.201", K::ENCAPSULATED},
    {"1.2.840.10008.1.2.4.202", K::ENCAPSULATED},
    {"1.2.840.10008.1.2.4.203", K::ENCAPSULATED},
    {"1.2.840.10008.1.2.4.204", K::ENCAPSULATED},
    {"1.2.840.10008.1.2.4.205", K::ENCAPSULATED},
    {"1.2.840.10008.1.2.5", K::ENCAPSULATED},
    {"1.2.840.10008.1.2.6.1", K::ENCAPSULATED},
    {"1.2.840.10008.1.2.7.1", K::ENCAPSULATED},
    {"1.2.840.10008.1.2.7.2", K::ENCAPSULATED},
    {"1.2.840.10008.1.2.7.3", K::ENCAPSULATED},
    {"1.2.840.10008.1.2.8.1", K::ENCAPSULATED},
};
constexpr short kKnownCount = static_cast<short>(sizeof kKnown / sizeof kKnown[0]);

// The table's UIDs as strings, built once (GetUID hands out references to them).
const std::vector<std::string>& KnownUIDs() {
    static const std::vector<std::string> uids = [] {
        std::vector<std::string> v;
        for (const KnownSyntax& k : kKnown) v.emplace_back(k.uid);
        return v;
    }();
    return uids;
}

const std::string& EmptyUID() {
    static const std::string empty;
    return empty;
}

}  // namespace

Dicom_TransferSyntax::Dicom_TransferSyntax(Kind kind) : m_kind(kind) {
    for (short i = 0; i < 4; ++i)
        if (kKnown[i].kind == kind) m_known = i;
}

Dicom_TransferSyntax::Dicom_TransferSyntax(const char* uid) {
    if (uid) Init(uid, std::strlen(uid));
}

Dicom_TransferSyntax::Dicom_TransferSyntax(const char* uid, size_t length) {
    if (uid) Init(uid, length);
}

Dicom_TransferSyntax::Dicom_TransferSyntax(const Dicom_UI& uid) {
    const Dicom_Type& t = uid;
    Init(reinterpret_cast<const char*>(t.GetData()), t.GetRawLen());
}

void Dicom_TransferSyntax::Init(const char* uid, size_t n) {
    while (n > 0 && (uid[n - 1] == '\0' || uid[n - 1] == ' ')) --n;
    if (n == 0) return;  // empty: unspecified
    for (short i = 0; i < kKnownCount; ++i) {
        const char* k = kKnown[i].uid;
        if (std::strlen(k) == n && std::memcmp(k, uid, n) == 0) {
            m_kind = kKnown[i].kind;
            m_known = i;
            return;
        }
    }
    m_kind = UNKNOWN;
    m_uid.assign(uid, n);
}

const std::string& Dicom_TransferSyntax::GetUID() const {
    if (m_known >= 0) return KnownUIDs()[static_cast<size_t>(m_known)];
    return m_kind == UNSPECIFIED ? EmptyUID() : m_uid;
}
