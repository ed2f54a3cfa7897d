// IOD_MRImage: the MR image IOD.
//
// IsValid runs these module checks in order, each even after a failure: patient, general study,
// general series, frame of reference, general equipment, general image, image plane, image pixel,
// MR image and SOP common.
#pragma once

#include <IOD/IOD_Image.h>

class IOD_MRImage : public IOD_Image {
public:
    IOD_MRImage();
    IOD_MRImage(const IOD_MRImage& other);
    IOD_MRImage(void* buffer, unsigned int length, int copy, int* status);
    IOD_MRImage(void* buffer, unsigned int length, int copy, const Dicom_TransferSyntax& syntax, int* status);
    IOD_MRImage(void* buffer, unsigned int length, int copy, const Dicom_UI& transferSyntaxUid, int* status);
    ~IOD_MRImage() override;
    IOD_MRImage& operator=(const IOD_MRImage& other);

    int IsValid() const override;
};
