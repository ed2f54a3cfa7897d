// Fuzz target: every IOD class parses the input (copy 0) and runs IsValid, with every record up to
// level 7 formatted and delivered to a sink.
//
// Checks beyond "no crash, no over-read, no hang": every class reads the input with the same
// status and the same content; IsValid only reads (after it, each message still serialises to
// the bytes the first class read); with IOD_IOD::IsTolerant set, IsValid returns 1 and logs the
// same defects as without it.
#include <IOD/IOD_CRImage.h>
#include <IOD/IOD_CTImage.h>
#include <IOD/IOD_DXImage.h>
#include <IOD/IOD_IOImage.h>
#include <IOD/IOD_MFImage.h>
#include <IOD/IOD_MGImage.h>
#include <IOD/IOD_MRImage.h>
#include <IOD/IOD_NMImage.h>
#include <IOD/IOD_RFImage.h>
#include <IOD/IOD_RTImage.h>
#include <IOD/IOD_SCImage.h>
#include <IOD/IOD_StructuredReporting.h>
#include <IOD/IOD_Tissue.h>
#include <IOD/IOD_USImage.h>
#include <IOD/IOD_VLImage.h>
#include <IOD/IOD_XAImage.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "fuzz_common.h"

namespace {

size_t g_defects = 0;    // level-4 records since the last reset
size_t g_textBytes = 0;  // keeps the formatted texts from being optimised away

void Count(const Kvl_LogRecord& record) {
    if (record.level == 4) ++g_defects;
    g_textBytes += record.text.size() + record.function.size();
}

std::vector<char> Serialise(const IOD_Msg& msg) {
    unsigned int length = 0;
    char* buffer = msg.CreateTrustedBuffer(DICOM_LITTLE_ENDIAN, &length);
    std::vector<char> bytes;
    if (buffer != nullptr) bytes.assign(buffer, buffer + length);
    std::free(buffer);
    return bytes;
}

// What the first class read: every other class must read the same, before and after IsValid.
int g_firstStatus = 0;
bool g_haveFirst = false;
std::vector<char> g_firstBytes;

template <class Iod>
void Check(const char* name, const uint8_t* data, size_t size) {
    int status = -1;
    const Iod message(const_cast<uint8_t*>(data), static_cast<unsigned int>(size), 0, &status);
    if (!g_haveFirst) {
        g_firstStatus = status;
        g_firstBytes = Serialise(message);
        g_haveFirst = true;
    } else if (status != g_firstStatus) {
        fuzz::Fail("%s: status %d, the first class read %d", name, status, g_firstStatus);
    }

    IOD_IOD::IsTolerant = 0;
    g_defects = 0;
    const int strict = message.IsValid();
    const size_t strictDefects = g_defects;
    if (strict != 0 && strict != 1) fuzz::Fail("%s: IsValid returned %d", name, strict);

    IOD_IOD::IsTolerant = 1;
    g_defects = 0;
    const int tolerant = message.IsValid();
    IOD_IOD::IsTolerant = 0;
    if (tolerant != 1) fuzz::Fail("%s: IsValid returned %d when tolerant", name, tolerant);
    if (g_defects != strictDefects)
        fuzz::Fail("%s: %zu defects when tolerant, %zu otherwise", name, g_defects, strictDefects);

    if (Serialise(message) != g_firstBytes)
        fuzz::Fail("%s: the message differs from the first class's, or IsValid changed it", name);
}

// The structured-report document checks walk the content tree, which IsValid does not: each
// returns 0 or 1 and leaves the message as it was.
void CheckReports(const uint8_t* data, size_t size) {
    int status = -1;
    const IOD_StructuredReporting report(const_cast<uint8_t*>(data), static_cast<unsigned int>(size), 0,
                                         &status);
    const int results[] = {report.IsBasicTextSRValid(), report.IsEnhancedSRValid(),
                           report.IsComprehensiveSRValid(), report.IsSRSopInstanceRefValid()};
    for (const int result : results) {
        if (result != 0 && result != 1)
            fuzz::Fail("IOD_StructuredReporting: a document check returned %d", result);
    }
    if (Serialise(report) != g_firstBytes)
        fuzz::Fail("IOD_StructuredReporting: the document checks changed the message");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const int sink = [] {
        KvlGLog.SetDefaultSink(false);
        KvlGLog.SetLevel(7);
        return KvlGLog.AddSink(Count);
    }();
    (void)sink;
    if (size > 0xFFFFFFFFu) return 0;
    g_haveFirst = false;
    Check<IOD_IOD>("IOD_IOD", data, size);
    Check<IOD_Image>("IOD_Image", data, size);
    Check<IOD_CRImage>("IOD_CRImage", data, size);
    Check<IOD_CTImage>("IOD_CTImage", data, size);
    Check<IOD_DXImage>("IOD_DXImage", data, size);
    Check<IOD_IOImage>("IOD_IOImage", data, size);
    Check<IOD_MGImage>("IOD_MGImage", data, size);
    Check<IOD_MRImage>("IOD_MRImage", data, size);
    Check<IOD_NMImage>("IOD_NMImage", data, size);
    Check<IOD_RFImage>("IOD_RFImage", data, size);
    Check<IOD_RTImage>("IOD_RTImage", data, size);
    Check<IOD_SCImage>("IOD_SCImage", data, size);
    Check<IOD_USImage>("IOD_USImage", data, size);
    Check<IOD_VLImage>("IOD_VLImage", data, size);
    Check<IOD_XAImage>("IOD_XAImage", data, size);
    Check<IOD_StructuredReporting>("IOD_StructuredReporting", data, size);
    CheckReports(data, size);
    Check<IOD_MFImage>("IOD_MFImage", data, size);
    Check<IOD_Tissue>("IOD_Tissue", data, size);
    return 0;
}
