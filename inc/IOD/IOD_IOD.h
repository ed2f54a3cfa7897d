// IOD_IOD: the root of the IOD class tree: a message that can say whether it is a valid instance
// of its Information Object Definition.
//
// The tree (public inheritance; IOD_Msg is a virtual base, so every class holds exactly one
// message, constructed by the most-derived class):
//
//   IOD_Msg (virtual)
//     IOD_IOD                      SOP common module
//       IOD_Image                  image modules, their validators, the defined terms
//         IOD_CRImage IOD_CTImage IOD_DXImage IOD_IOImage IOD_MGImage IOD_MRImage
//         IOD_NMImage IOD_RFImage IOD_RTImage IOD_USImage IOD_VLImage IOD_XAImage
//         IOD_StructuredReporting
//         IOD_SCImage              secondary capture (its default constructor writes defaults)
//           IOD_MFImage IOD_Tissue
//
// None of the classes holds data of its own: each is the same message with its own answer to
// IsValid, which runs the module validators of its IOD in a fixed order, every one of them even
// after a failure, so that one call logs every defect (level 4, category 19).
//
// Validators only read the message and never throw for a defect: 1 means valid, 0 invalid.
// IsTolerant (process-wide, 0 by default) set to 1 makes the module validators pass after they
// have logged what they found.
#pragma once

#include <IOD/IOD_Msg.h>

class IOD_IOD : public virtual IOD_Msg {
public:
    IOD_IOD();
    IOD_IOD(const IOD_IOD& other);
    // Parses `buffer` (`copy` as IOD_Msg takes it); *status: 0, or -1 when parsing failed.
    IOD_IOD(void* buffer, unsigned int length, int copy, int* status);
    IOD_IOD(void* buffer, unsigned int length, int copy, const Dicom_TransferSyntax& syntax, int* status);
    IOD_IOD(void* buffer, unsigned int length, int copy, const Dicom_UI& transferSyntaxUid, int* status);
    ~IOD_IOD() override;

    // Assigns the data set of `other` (the DICOM layer's deep assignment); nothing else.
    IOD_IOD& operator=(const IOD_IOD& other);

    // 1 when the message satisfies every module check of its IOD, else 0. IOD_IOD checks nothing.
    virtual int IsValid() const;

    // SOP common module: SOP Class UID (0008,0016) and SOP Instance UID (0008,0018) present and
    // not empty.
    int IsSOPCommonModuleValid() const;

    // 1: every module validator returns 1 after logging its defects. Read without locking.
    static int IsTolerant;

protected:
    // The one body of every copy assignment of the tree: the Dicom_Msg part of the message is
    // assigned; whatever IOD_Msg keeps beyond it is left as it is.
    void assign_message(const IOD_Msg& other);
};
