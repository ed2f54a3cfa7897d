// Dicom_ME: one element of a message: a tag and the value it owns.
#pragma once

#include <Dicom/Dicom_Arena.h>
#include <Dicom/Dicom_DumpLen.h>
#include <Dicom/Dicom_Tag.h>
#include <Dicom/Dicom_Type.h>
#include <RW/RWCollectable.h>

#include <cstdio>
#include <string>

class Dicom_TransferSyntax;

// What the XML export writes: values, or tags and VRs only (byte strings left out).
enum DicomXmlPrintMode { DICOM_XML_PRINT_VALUES = 0, DICOM_XML_PRINT_TAGS_ONLY = 1 };

class Dicom_ME : public RWCollectable, public Dicom_ArenaObject {
public:
    using Dicom_ArenaObject::operator new;
    using Dicom_ArenaObject::operator delete;

    // `copyData` non-zero: the element stores a copy of `data` and the caller keeps it;
    // zero: the element takes `data` over. `reserved` is kept for interface compatibility.
    // `*status` (if given) receives 0, or -1 when `data` is null.
    Dicom_ME(const Dicom_Tag& tag, Dicom_Type* data, int copyData = 0, int reserved = 0,
             int* status = nullptr);
    Dicom_ME(const Dicom_ME& other);  // deep copy
    Dicom_ME& operator=(const Dicom_ME&) = delete;
    ~Dicom_ME() override;

    const Dicom_Tag& GetTag() const { return m_tag; }
    // Only for elements outside a message: the store is ordered by tag.
    void SetTag(const Dicom_Tag& tag) { m_tag = tag; }

    const Dicom_Type* GetData() const { return m_data; }
    Dicom_Type* GetChangeableData() { return m_data; }
    Dicom_VR GetVR() const { return m_data ? m_data->GetVR() : Dicom_VR::NONE; }

    // Replaces the value (the old one is destroyed). `copy` as in the constructor.
    void SetData(Dicom_Type* data, int copy);
    void SetDataWithClone(Dicom_Type* data) { SetData(data, 1); }
    // Gives the value up to the caller; the element is left without a value.
    Dicom_Type* ReleaseData();

    // Bytes this element takes in `syntax`: tag, VR and length fields, and the padded value.
    Dicom_DumpLen GetDumpLen(const Dicom_TransferSyntax& syntax, Dicom_MF_Info* info = nullptr) const;

    // A value of the class named by `vr` ("DS") parsed from `text`; null when the VR is unknown
    // or the text is not a valid value of it. Owned by the caller.
    static Dicom_Type* ConvertToDicomType(const char* vr, const char* text, int reserved1 = 0,
                                          int reserved2 = 0);

    // This element as one <DicomAttribute> of the Native DICOM Model XML (see Dicom_Msg::DumpToXml).
    // 0, or -1 when `out` is null or a write fails.
    int DumpToXml(DicomXmlPrintMode mode, std::string* out) const;
    int ExportToXml(DicomXmlPrintMode mode, FILE* out) const;

    // RWCollectable: ordered by tag.
    int compareTo(const RWCollectable* other) const override;
    unsigned hash() const override { return m_tag.hash(); }
    bool isEqual(const RWCollectable* other) const override;

private:
    Dicom_Tag m_tag;
    Dicom_Type* m_data = nullptr;
};
