// Helpers shared by the IOD tests.
#pragma once

#include <IOD/IOD_Msg.h>
#include <KvlLog/Kvl_LogFile.h>

#include <vector>

// Records what KvlGLog writes while it lives, up to `level`.
class LogRecorder {
public:
    explicit LogRecorder(int level) : previous_(KvlGLog.GetLevel()) {
        KvlGLog.SetLevel(level);
        KvlGLog.SetDefaultSink(false);
        handle_ = KvlGLog.AddSink([this](const Kvl_LogRecord& r) { records.push_back(r); });
    }
    ~LogRecorder() {
        KvlGLog.RemoveSink(handle_);
        KvlGLog.SetDefaultSink(true);
        KvlGLog.SetLevel(previous_);
    }
    std::vector<Kvl_LogRecord> records;

private:
    int previous_;
    int handle_;
};

// A small bare data set encoded in `kind`.
inline std::vector<unsigned char> EncodedSample(
    Dicom_TransferSyntax::Kind kind = Dicom_TransferSyntax::EXPLICIT_LITTLE_ENDIAN) {
    IOD_Msg msg;
    msg.SetPatientsName(Dicom_PN("Doe^Jane"));
    msg.SetRows(Dicom_US(512));
    msg.SetAccessionNumber(Dicom_SH("ACC-1"));
    std::vector<unsigned char> out;
    msg.Encode(out, Dicom_TransferSyntax(kind), false);
    return out;
}
