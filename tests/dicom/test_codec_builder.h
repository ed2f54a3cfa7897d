// Shared by the DICOM layer suites: a byte assembler that writes data elements by hand, from the
// encoding rules and independently of the layer's writer, and small helpers.
#pragma once

#include <Dicom/Dicom.h>

#include <cstdint>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace testbytes {

inline const Dicom_TransferSyntax kImplicit(Dicom_TransferSyntax::IMPLICIT_LITTLE_ENDIAN);
inline const Dicom_TransferSyntax kExplicit(Dicom_TransferSyntax::EXPLICIT_LITTLE_ENDIAN);
inline const Dicom_TransferSyntax kBig(Dicom_TransferSyntax::EXPLICIT_BIG_ENDIAN);
inline const Dicom_TransferSyntax kDeflated(Dicom_TransferSyntax::DEFLATED_EXPLICIT_LITTLE_ENDIAN);

// VRs written with 2 reserved bytes and a 32-bit length in explicit VR.
inline bool LongVR(const std::string& vr) {
    return std::string("OB OD OF OL OV OW SQ SV UC UN UR UT UV").find(vr) != std::string::npos &&
           vr.size() == 2;
}

struct Bytes {
    std::vector<unsigned char> b;
    bool big = false;

    Bytes& u16(unsigned v) {
        b.insert(b.end(), {static_cast<unsigned char>(big ? v >> 8 : v & 0xFF),
                           static_cast<unsigned char>(big ? v & 0xFF : v >> 8)});
        return *this;
    }
    Bytes& u32(uint32_t v) { return big ? u16(v >> 16).u16(v & 0xFFFF) : u16(v & 0xFFFF).u16(v >> 16); }
    Bytes& raw(const std::string& s) { return b.insert(b.end(), s.begin(), s.end()), *this; }
    Bytes& raw(const std::vector<unsigned char>& s) { return b.insert(b.end(), s.begin(), s.end()), *this; }
    Bytes& tag(unsigned g, unsigned e) { return u16(g).u16(e); }
    // Explicit VR element: header and the value as given (no padding added), or the header alone.
    Bytes& ex(unsigned g, unsigned e, const std::string& vr, const std::string& value) {
        return exh(g, e, vr, static_cast<uint32_t>(value.size())).raw(value);
    }
    Bytes& exh(unsigned g, unsigned e, const std::string& vr, uint32_t length) {
        return LongVR(vr) ? tag(g, e).raw(vr).u16(0).u32(length) : tag(g, e).raw(vr).u16(length);
    }
    // Implicit VR element, or its header alone.
    Bytes& im(unsigned g, unsigned e, const std::string& value) {
        return imh(g, e, static_cast<uint32_t>(value.size())).raw(value);
    }
    Bytes& imh(unsigned g, unsigned e, uint32_t length) { return tag(g, e).u32(length); }
    Bytes& item(uint32_t length = 0xFFFFFFFFu) { return tag(0xFFFE, 0xE000).u32(length); }
    Bytes& itemEnd() { return tag(0xFFFE, 0xE00D).u32(0); }
    Bytes& seqEnd() { return tag(0xFFFE, 0xE0DD).u32(0); }
    size_t size() const { return b.size(); }
    unsigned char* data() { return b.data(); }
};

// Numbers as bytes in the given order; a float as the host holds it.
inline std::string U16(unsigned v, bool big = false) {
    const char lo = static_cast<char>(v & 0xFF), hi = static_cast<char>(v >> 8);
    return big ? std::string{hi, lo} : std::string{lo, hi};
}
inline std::string U32(uint32_t v, bool big = false) {
    return big ? U16(v >> 16, true) + U16(v & 0xFFFF, true) : U16(v & 0xFFFF) + U16(v >> 16);
}
inline std::string F32(float f) { return std::string(reinterpret_cast<const char*>(&f), 4); }

// Preamble, "DICM" and a meta group naming `syntax` (explicit VR little endian).
inline Bytes FileHeader(const std::string& syntax) {
    Bytes meta, f;
    meta.ex(0x0002, 0x0001, "OB", std::string("\0\1", 2))
        .ex(0x0002, 0x0010, "UI", syntax + std::string(syntax.size() & 1, '\0'));
    f.b.assign(128, 0);
    return f.raw("DICM").ex(0x0002, 0x0000, "UL", U32(static_cast<uint32_t>(meta.size()))).raw(meta.b);
}

inline std::vector<unsigned char> ReadFile(const std::string& path) {
    std::ifstream f(path, std::ios::binary);
    return std::vector<unsigned char>((std::istreambuf_iterator<char>(f)), std::istreambuf_iterator<char>());
}

// The bytes of a value as held (any value class), or "<absent>".
template <class V>
std::string Raw(const V* v) {
    return v ? std::string(reinterpret_cast<const char*>(v->GetData()), v->GetRawLen())
             : std::string("<absent>");
}

// pydicom's test files (a test dependency); tests that need one skip when it is missing.
inline std::string PydicomFile(const char* name) {
    return std::string("/usr/lib/python3/dist-packages/pydicom/data/test_files/") + name;
}

}  // namespace testbytes
