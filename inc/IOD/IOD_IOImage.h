// IOD_IOImage: the intra-oral X-ray image IOD.
//
// IsValid runs these module checks in order, each even after a failure: patient, general study,
// general series, general equipment, general image and image pixel (no SOP common check).
#pragma once

#include <IOD/IOD_Image.h>

class IOD_IOImage : public IOD_Image {
public:
    IOD_IOImage();
    IOD_IOImage(const IOD_IOImage& other);
    IOD_IOImage(void* buffer, unsigned int length, int copy, int* status);
    IOD_IOImage(void* buffer, unsigned int length, int copy, const Dicom_UI& transferSyntaxUid, int* status);
    ~IOD_IOImage() override;
    // Not assignable: copy-construct instead.
    IOD_IOImage& operator=(const IOD_IOImage&) = delete;

    int IsValid() const override;
};
