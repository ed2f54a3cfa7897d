// Byte assembler for the codec tests: writes data elements by hand, from the encoding rules,
// independently of the layer's own writer.
#pragma once

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace testbytes {

// VRs written with 2 reserved bytes and a 32-bit length in explicit VR.
inline bool LongVR(const std::string& vr) {
    static const char* longs[] = {"OB", "OD", "OF", "OL", "OV", "OW", "SQ",
                                  "SV", "UC", "UN", "UR", "UT", "UV"};
    for (const char* l : longs)
        if (vr == l) return true;
    return false;
}

struct Bytes {
    std::vector<unsigned char> b;
    bool big = false;

    Bytes& u8(unsigned v) {
        b.push_back(static_cast<unsigned char>(v));
        return *this;
    }
    Bytes& u16(unsigned v) {
        if (big)
            u8(v >> 8), u8(v & 0xFF);
        else
            u8(v & 0xFF), u8(v >> 8);
        return *this;
    }
    Bytes& u32(uint32_t v) {
        if (big)
            u16(v >> 16), u16(v & 0xFFFF);
        else
            u16(v & 0xFFFF), u16(v >> 16);
        return *this;
    }
    Bytes& raw(const std::string& s) {
        b.insert(b.end(), s.begin(), s.end());
        return *this;
    }
    Bytes& raw(const std::vector<unsigned char>& s) {
        b.insert(b.end(), s.begin(), s.end());
        return *this;
    }
    Bytes& tag(unsigned g, unsigned e) { return u16(g).u16(e); }
    // Explicit VR element header + value (the value is written as given, no padding added).
    Bytes& ex(unsigned g, unsigned e, const std::string& vr, const std::string& value) {
        exh(g, e, vr, static_cast<uint32_t>(value.size()));
        return raw(value);
    }
    Bytes& exh(unsigned g, unsigned e, const std::string& vr, uint32_t length) {
        tag(g, e).raw(vr);
        if (LongVR(vr))
            u16(0).u32(length);
        else
            u16(length);
        return *this;
    }
    // Implicit VR element.
    Bytes& im(unsigned g, unsigned e, const std::string& value) {
        tag(g, e).u32(static_cast<uint32_t>(value.size()));
        return raw(value);
    }
    Bytes& imh(unsigned g, unsigned e, uint32_t length) { return tag(g, e).u32(length); }
    Bytes& item(uint32_t length = 0xFFFFFFFFu) { return tag(0xFFFE, 0xE000).u32(length); }
    Bytes& itemEnd() { return tag(0xFFFE, 0xE00D).u32(0); }
    Bytes& seqEnd() { return tag(0xFFFE, 0xE0DD).u32(0); }
    size_t size() const { return b.size(); }
    unsigned char* data() { return b.data(); }
};

// A 16-bit number as bytes in the given order.
inline std::string U16(unsigned v, bool big = false) {
    std::string s(2, '\0');
    s[big ? 1 : 0] = static_cast<char>(v & 0xFF);
    s[big ? 0 : 1] = static_cast<char>(v >> 8);
    return s;
}
inline std::string U32(uint32_t v, bool big = false) {
    return big ? U16(v >> 16, true) + U16(v & 0xFFFF, true) : U16(v & 0xFFFF) + U16(v >> 16);
}
inline std::string F32(float f) {
    std::string s(4, '\0');
    std::memcpy(s.data(), &f, 4);
    return s;
}

// Preamble, "DICM" and a meta group naming `syntax` (explicit VR little endian, group length
// computed here).
inline Bytes FileHeader(const std::string& syntax) {
    Bytes meta;
    std::string ts = syntax;
    if (ts.size() & 1) ts.push_back('\0');
    meta.ex(0x0002, 0x0001, "OB", std::string("\0\1", 2));
    meta.ex(0x0002, 0x0010, "UI", ts);
    Bytes f;
    f.b.assign(128, 0);
    f.raw("DICM");
    f.ex(0x0002, 0x0000, "UL", U32(static_cast<uint32_t>(meta.size())));
    f.raw(meta.b);
    return f;
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
