// IOD_CRImage: the computed radiography image IOD.
//
// IsValid runs these module checks in order, each even after a failure: patient, general study,
// general series, CR series, general equipment, general image, image pixel, CR image (accepts every
// message) and SOP common.
#pragma once

#include <IOD/IOD_Image.h>

class IOD_CRImage : public IOD_Image {
public:
    IOD_CRImage();
    IOD_CRImage(const IOD_CRImage& other);
    IOD_CRImage(void* buffer, unsigned int length, int copy, int* status);
    IOD_CRImage(void* buffer, unsigned int length, int copy, const Dicom_TransferSyntax& syntax, int* status);
    IOD_CRImage(void* buffer, unsigned int length, int copy, const Dicom_UI& transferSyntaxUid, int* status);
    ~IOD_CRImage() override;
    // Not assignable: copy-construct instead.
    IOD_CRImage& operator=(const IOD_CRImage&) = delete;

    int IsValid() const override;
};
