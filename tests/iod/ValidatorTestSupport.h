// Helpers of the validator tests: a complete CT image built in memory, and the defects that a
// validator logs.
#pragma once

#include <Dicom/Dicom_Dictionary.h>
#include <Dicom/Dicom_UIDic.h>
#include <IOD/IOD_CTImage.h>
#include <KvlLog/Kvl_LogFile.h>

#include <functional>
#include <string>
#include <vector>

#include "IodTestSupport.h"

// Stores a copy of `value` under `tag`.
inline void Put(Dicom_Msg& msg, const Dicom_Tag& tag, Dicom_Type&& value) { msg.Set(tag, &value); }

// Changes that a validator table case applies to a complete image.
using Change = std::function<void(IOD_Msg&)>;
inline Change Drop(const Dicom_Tag& tag) {
    return [tag](IOD_Msg& m) { m.Remove(tag); };
}
template <class V>
Change Empty(const Dicom_Tag& tag) {
    return [tag](IOD_Msg& m) { Put(m, tag, V()); };
}
template <class V>
Change With(const Dicom_Tag& tag, const V& value) {
    return [tag, value](IOD_Msg& m) { Put(m, tag, V(value)); };
}
inline Change Drops(std::vector<Dicom_Tag> tags) {
    return [tags](IOD_Msg& m) {
        for (const Dicom_Tag& t : tags) m.Remove(t);
    };
}
inline Change Shorts(std::vector<std::pair<Dicom_Tag, unsigned short>> values) {  // US values
    return [values](IOD_Msg& m) {
        for (const auto& [tag, v] : values) Put(m, tag, Dicom_US(v));
    };
}
inline Change All(std::vector<Change> changes) {
    return [changes](IOD_Msg& m) {
        for (const Change& c : changes) c(m);
    };
}

// Pixel data of `bytes` bytes (OW).
inline Dicom_OW PixelBytes(unsigned int bytes) {
    std::vector<unsigned char> data(bytes, 0x11);
    return Dicom_OW(data.data(), bytes, 1, nullptr);
}

// A CT image (16 x 16, 16 bits) holding every attribute that IOD_CTImage::IsValid checks.
inline void FillCompleteCT(IOD_Msg& ct) {
    using D = Dicom_Dictionary;
    Put(ct, D::SOP_CLASS_UID, Dicom_UI(Dicom_UIDic::CT_IMAGE_STORAGE));
    Put(ct, D::SOP_INSTANCE_UID, Dicom_UI("1.2.3.4.5", nullptr));
    Put(ct, D::PATIENT_NAME, Dicom_PN("Doe^Jane", nullptr));
    Put(ct, D::PATIENT_ID, Dicom_LO("P-1", nullptr));
    Put(ct, D::PATIENT_BIRTH_DATE, Dicom_DA("19700101", nullptr));
    Put(ct, D::PATIENT_SEX, Dicom_CS("F", nullptr));
    Put(ct, D::STUDY_INSTANCE_UID, Dicom_UI("1.2.3.4", nullptr));
    Put(ct, D::STUDY_DATE, Dicom_DA("20240102", nullptr));
    Put(ct, D::STUDY_TIME, Dicom_TM("101500", nullptr));
    Put(ct, D::REFERRING_PHYSICIAN_NAME, Dicom_PN("Who^Doctor", nullptr));
    Put(ct, D::STUDY_ID, Dicom_SH("S1", nullptr));
    Put(ct, D::ACCESSION_NUMBER, Dicom_SH("A1", nullptr));
    Put(ct, D::MODALITY, Dicom_CS("CT", nullptr));
    Put(ct, D::SERIES_INSTANCE_UID, Dicom_UI("1.2.3.4.1", nullptr));
    Put(ct, D::SERIES_NUMBER, Dicom_IS(1));
    Put(ct, D::PATIENT_POSITION, Dicom_CS("HFS", nullptr));
    Put(ct, D::FRAME_OF_REFERENCE_UID, Dicom_UI("1.2.3.4.9", nullptr));
    Put(ct, D::POSITION_REFERENCE_INDICATOR, Dicom_LO("", nullptr));  // type 2: present, empty
    Put(ct, D::MANUFACTURER, Dicom_LO("ACME", nullptr));
    Put(ct, D::INSTANCE_NUMBER, Dicom_IS(7));
    Put(ct, D::PIXEL_SPACING, Dicom_DS("0.5\\0.5", nullptr));
    Put(ct, D::IMAGE_ORIENTATION_PATIENT, Dicom_DS("1\\0\\0\\0\\1\\0", nullptr));
    Put(ct, D::IMAGE_POSITION_PATIENT, Dicom_DS("-100\\-100\\20", nullptr));
    Put(ct, D::SLICE_THICKNESS, Dicom_DS("1.25", nullptr));
    Put(ct, D::IMAGE_TYPE, Dicom_CS("ORIGINAL\\PRIMARY\\AXIAL", nullptr));
    Put(ct, D::SAMPLES_PER_PIXEL, Dicom_US(1));
    Put(ct, D::PHOTOMETRIC_INTERPRETATION, Dicom_CS("MONOCHROME2", nullptr));
    Put(ct, D::ROWS, Dicom_US(16));
    Put(ct, D::COLUMNS, Dicom_US(16));
    Put(ct, D::BITS_ALLOCATED, Dicom_US(16));
    Put(ct, D::BITS_STORED, Dicom_US(12));
    Put(ct, D::HIGH_BIT, Dicom_US(11));
    Put(ct, D::PIXEL_REPRESENTATION, Dicom_US(0));
    Put(ct, D::RESCALE_INTERCEPT, Dicom_DS("-1024", nullptr));
    Put(ct, D::RESCALE_SLOPE, Dicom_DS("1", nullptr));
    Put(ct, D::KVP, Dicom_DS("120", nullptr));
    Put(ct, D::ACQUISITION_NUMBER, Dicom_IS(1));
    Put(ct, D::PIXEL_DATA, PixelBytes(16 * 16 * 2));
}

// Strips `head` and `tail` from `text` when it has both around something.
inline bool Strip(std::string& text, const std::string& head, const std::string& tail) {
    if (text.size() <= head.size() + tail.size() || text.rfind(head, 0) != 0 || !text.ends_with(tail))
        return false;
    text = text.substr(head.size(), text.size() - head.size() - tail.size());
    return true;
}

// The level-4 records of category 19 written while it lives, as "function: text"; the form
// "File: F Line: L Attribute:NAME not valid" becomes "@NAME" and "File: F Line: L error from
// IsCodingValueOfSequenceValid (NAME)" becomes "!NAME", once F and L match the record's own.
class DefectRecorder {
public:
    DefectRecorder() : log_(7) {}
    std::vector<std::string> Defects() const {
        std::vector<std::string> out;
        for (const Kvl_LogRecord& r : log_.records) {
            if (r.category != 19 || r.level > 4) continue;
            const std::string where = "File: " + r.file + " Line: " + std::to_string(r.line);
            std::string text = r.text;
            if (Strip(text, where + " Attribute:", " not valid")) {
                text = "@" + text;
            } else if (Strip(text, where + " error from IsCodingValueOfSequenceValid (", ")")) {
                text = "!" + text;
            }
            out.push_back(r.function + ": " + text);
        }
        return out;
    }
    // Every record of category 19 is at level 4 from the expected source file.
    bool AllFrom(const std::string& file) const {
        for (const Kvl_LogRecord& r : log_.records)
            if (r.category == 19 && (r.level != 4 || r.file != file)) return false;
        return true;
    }
    void Clear() { log_.records.clear(); }

private:
    LogRecorder log_;
};

// Sets IOD_IOD::IsTolerant while it lives.
class Tolerant {
public:
    explicit Tolerant(int value) : previous_(IOD_IOD::IsTolerant) { IOD_IOD::IsTolerant = value; }
    ~Tolerant() { IOD_IOD::IsTolerant = previous_; }
    Tolerant(const Tolerant&) = delete;
    Tolerant& operator=(const Tolerant&) = delete;

private:
    int previous_;
};

// The records a table case expects, as DefectRecorder writes them: a plain text is a message of
// the case's validator `module` ("Patients Name is not found"), "@NAME" and "!NAME" are its
// File/Line forms, and a text that starts with "IOD_" is a whole record of another function.
inline std::vector<std::string> Expected(const std::string& module, const std::vector<std::string>& texts) {
    const std::string function =
        (module == "IsSOPCommonModuleValid" ? "IOD_IOD::" : "IOD_Image::") + module + ": ";
    std::vector<std::string> out;
    for (const std::string& t : texts) {
        if (t.rfind("IOD_", 0) == 0) {
            out.push_back(t);
        } else if (!t.empty() && (t[0] == '@' || t[0] == '!')) {
            out.push_back(function + t);
        } else {
            out.push_back(function + module + ": " + t);
        }
    }
    return out;
}
#define CHECK(NAME) &IOD_Image::NAME, #NAME
#define CHECK_IOD(NAME) &IOD_IOD::NAME, #NAME
