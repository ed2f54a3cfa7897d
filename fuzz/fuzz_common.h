// fuzz_common.h: checks shared by the fuzz targets. A violated check prints what differs and
// aborts, which libFuzzer (or the replay driver) reports as a crash with the input saved.
#pragma once

#include <Dicom/Dicom_ME.h>
#include <Dicom/Dicom_Msg.h>
#include <Dicom/Dicom_OtherType.h>
#include <Dicom/Dicom_SQ.h>
#include <Dicom/Dicom_TransferSyntax.h>
#include <Dicom/Dicom_Type.h>
#include <KvlLog/Kvl_LogFile.h>

#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace fuzz {

[[noreturn]] inline void Fail(const char* format, ...) __attribute__((format(printf, 1, 2)));
inline void Fail(const char* format, ...) {
    va_list args;
    va_start(args, format);
    std::fputs("fuzz check failed: ", stderr);
    std::vfprintf(stderr, format, args);
    std::fputc('\n', stderr);
    va_end(args);
    std::abort();
}

// Group length elements are recomputed by every write, so they are not compared.
inline bool IsGroupLength(const Dicom_ME& me) {
    const Dicom_Type* v = me.GetData();
    return me.GetTag().GetElement() == 0x0000 && v != nullptr && v->GetRawLen() == 4 &&
           (v->GetVR() == Dicom_VR::UL || v->GetVR() == Dicom_VR::UN);
}

// A value without a known VR is written as UN.
inline Dicom_VR Written(Dicom_VR vr) { return vr == Dicom_VR::NONE ? Dicom_VR::UN : vr; }

bool SameMessage(const Dicom_Msg& a, const Dicom_Msg& b, bool skipMeta, int depth);

// Equal as a write and a re-read must leave them: same VR, same bytes, except that an odd value
// gains exactly one padding byte.
inline bool SameValue(const Dicom_Type* a, const Dicom_Type* b, int depth) {
    if (a == nullptr || b == nullptr) return a == b;
    if (Written(a->GetVR()) != Written(b->GetVR())) return false;
    if (a->GetVR() == Dicom_VR::SQ) {
        const auto* sa = static_cast<const Dicom_SQ*>(a);
        const auto* sb = static_cast<const Dicom_SQ*>(b);
        if (sa->GetNItems() != sb->GetNItems() || sa->HasUndefinedLength() != sb->HasUndefinedLength())
            return false;
        for (int i = 0; i < sa->GetNItems(); ++i) {
            if (sa->ItemHasUndefinedLength(i) != sb->ItemHasUndefinedLength(i)) return false;
            if (!SameMessage(*sa->GetItem(i), *sb->GetItem(i), false, depth + 1)) return false;
        }
        return true;
    }
    const auto* oa = dynamic_cast<const Dicom_OtherType*>(a);
    const auto* ob = dynamic_cast<const Dicom_OtherType*>(b);
    if ((oa != nullptr) != (ob != nullptr)) return false;
    if (oa != nullptr && oa->IsEncapsulated() != ob->IsEncapsulated()) return false;
    const uint32_t la = a->GetRawLen();
    const uint32_t lb = b->GetRawLen();
    if (la != lb && !((la & 1) != 0 && lb == la + 1)) return false;
    return la == 0 || std::memcmp(a->GetData(), b->GetData(), la) == 0;
}

inline bool SameMessage(const Dicom_Msg& a, const Dicom_Msg& b, bool skipMeta, int depth) {
    int ia = 0;
    int ib = 0;
    const int na = a.GetNElements();
    const int nb = b.GetNElements();
    auto skip = [&](const Dicom_ME* me) {
        return IsGroupLength(*me) || (skipMeta && me->GetTag().GetGroup() == 0x0002);
    };
    for (;;) {
        while (ia < na && skip(a.GetElement(ia))) ++ia;
        while (ib < nb && skip(b.GetElement(ib))) ++ib;
        if (ia == na || ib == nb) break;
        const Dicom_ME* ea = a.GetElement(ia);
        const Dicom_ME* eb = b.GetElement(ib);
        if (ea->GetTag().GetTag() != eb->GetTag().GetTag()) {
            std::fprintf(stderr, "depth %d: element %s against %s\n", depth, ea->GetTag().ToString().c_str(),
                         eb->GetTag().ToString().c_str());
            return false;
        }
        if (!SameValue(ea->GetData(), eb->GetData(), depth)) {
            std::fprintf(stderr, "depth %d: values of %s differ (VR %s, %u bytes / VR %s, %u bytes)\n", depth,
                         ea->GetTag().ToString().c_str(), Dicom_VRName(Written(ea->GetVR())),
                         ea->GetData() ? ea->GetData()->GetRawLen() : 0u, Dicom_VRName(Written(eb->GetVR())),
                         eb->GetData() ? eb->GetData()->GetRawLen() : 0u);
            return false;
        }
        ++ia;
        ++ib;
    }
    if (ia != na || ib != nb) {
        std::fprintf(stderr, "depth %d: %d against %d elements\n", depth, na, nb);
        return false;
    }
    return true;
}

// What a successful write promises: GetDumpLen is valid and equals the bytes written.
inline void CheckEncodeLength(const Dicom_Msg& msg, const Dicom_TransferSyntax& syntax) {
    std::vector<unsigned char> out;
    if (msg.Encode(out, syntax) != 0) return;
    const Dicom_DumpLen len = msg.GetDumpLen(syntax);
    if (!len.IsValid() || len.GetDumpLen() != out.size())
        Fail("syntax %d: Encode wrote %zu bytes, GetDumpLen says %u (%s)", static_cast<int>(syntax.GetKind()),
             out.size(), len.GetDumpLen(), len.IsValid() ? "valid" : "invalid");
}

// The length check in the syntax the message was read in and in the native syntaxes.
inline void CheckEncodeLengths(const Dicom_Msg& msg) {
    CheckEncodeLength(msg, Dicom_TransferSyntax());
    CheckEncodeLength(msg, Dicom_TransferSyntax(Dicom_TransferSyntax::IMPLICIT_LITTLE_ENDIAN));
    CheckEncodeLength(msg, Dicom_TransferSyntax(Dicom_TransferSyntax::EXPLICIT_LITTLE_ENDIAN));
    CheckEncodeLength(msg, Dicom_TransferSyntax(Dicom_TransferSyntax::EXPLICIT_BIG_ENDIAN));
}

// Reads every value the way callers do (text forms included), so that a value that points
// outside its bytes shows up under the sanitizers.
inline void TouchValues(const Dicom_Msg& msg, int depth = 0) {
    for (int i = 0; i < msg.GetNElements(); ++i) {
        const Dicom_ME* me = msg.GetElement(i);
        const Dicom_Type* v = me->GetData();
        if (v == nullptr) continue;
        if (v->GetVR() == Dicom_VR::SQ) {
            const auto* sq = static_cast<const Dicom_SQ*>(v);
            for (int k = 0; k < sq->GetNItems(); ++k) TouchValues(*sq->GetItem(k), depth + 1);
            continue;
        }
        (void)v->GetVM();
        std::string text;
        v->PrintToStr(text, 64);
        if (const auto* other = dynamic_cast<const Dicom_OtherType*>(v); other && other->IsEncapsulated())
            (void)other->GetEncapsulatedData();
    }
}

}  // namespace fuzz

// Every log record of the layer is formatted and delivered (to a sink that drops it), so that
// the diagnostics that quote input bytes are fuzzed as well, without flooding the terminal.
// Included once per fuzz target, this defines the target's initialisation.
extern "C" int LLVMFuzzerInitialize(int*, char***) {
    KvlGLog.SetDefaultSink(false);
    KvlGLog.AddSink([](const Kvl_LogRecord& record) { (void)record.text.size(); });
    KvlGLog.SetLevel(7);
    return 0;
}
