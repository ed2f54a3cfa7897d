// IOD_CTImage: the CT image IOD.
//
// IsValid runs these module checks in order, each even after a failure: patient, general study,
// general series, frame of reference, general equipment, general image, image plane, image pixel,
// CT image and SOP common.
#pragma once

#include <IOD/IOD_Image.h>

class IOD_CTImage : public IOD_Image {
public:
    IOD_CTImage();
    IOD_CTImage(const IOD_CTImage& other);
    IOD_CTImage(void* buffer, unsigned int length, int copy, int* status);
    IOD_CTImage(void* buffer, unsigned int length, int copy, const Dicom_TransferSyntax& syntax, int* status);
    IOD_CTImage(void* buffer, unsigned int length, int copy, const Dicom_UI& transferSyntaxUid, int* status);
    ~IOD_CTImage() override;
    IOD_CTImage& operator=(const IOD_CTImage& other);

    int IsValid() const override;
};
