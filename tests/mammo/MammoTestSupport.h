// Helpers of the mammography tests: messages built from a few attributes, and the log.
#pragma once

#include <Dicom/Dicom_Dictionary.h>
#include <IOD/IOD_Msg.h>
#include <KvlLog/Kvl_LogFile.h>

#include <string>
#include <vector>

// Records the category-19 records of levels up to 7 while it lives.
class MammoLog {
public:
    MammoLog() : level_(KvlGLog.GetLevel()) {
        KvlGLog.SetLevel(7);
        KvlGLog.SetDefaultSink(false);
        handle_ = KvlGLog.AddSink([this](const Kvl_LogRecord& r) {
            if (r.category == 19) records.push_back(r);
        });
    }
    ~MammoLog() {
        KvlGLog.RemoveSink(handle_);
        KvlGLog.SetDefaultSink(true);
        KvlGLog.SetLevel(level_);
    }
    // "level text\n" for each record of `function` (all when empty).
    std::string Text(const std::string& function = "") const {
        std::string out;
        for (const Kvl_LogRecord& r : records) {
            if (function.empty() || r.function == "IOD_TomosynthesisHelper::" + function)
                out += std::to_string(r.level) + " " + r.text + "\n";
        }
        return out;
    }
    std::vector<Kvl_LogRecord> records;

private:
    int level_;
    int handle_;
};

// Stores `text` as a value of class V under `tag`; nothing when `text` is null.
template <class V>
void Put(Dicom_Msg& msg, const Dicom_Tag& tag, const char* text) {
    if (text == nullptr) return;
    V value(text);
    msg.Set(tag, &value);
}

// Stores a sequence of one item under `tag` and returns the item.
inline Dicom_Msg& PutItem(Dicom_Msg& msg, const Dicom_Tag& tag) {
    Dicom_SQ sequence;
    sequence.AddItem(new Dicom_Msg);
    msg.Set(tag, &sequence);
    return *static_cast<const Dicom_SQ*>(msg.Get(tag))->GetItem(0);
}

// The text of `tag`, or "(absent)".
inline std::string TextOf(const Dicom_Msg& msg, const Dicom_Tag& tag) {
    const Dicom_Type* v = msg.Get(tag);
    return v != nullptr ? v->ToString() : "(absent)";
}
