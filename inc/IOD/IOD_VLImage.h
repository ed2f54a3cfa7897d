// IOD_VLImage: the visible light image IOD.
//
// IsValid runs these module checks in order, each even after a failure: patient, general study,
// general series, general equipment, general image and image pixel (no SOP common check).
#pragma once

#include <IOD/IOD_Image.h>

class IOD_VLImage : public IOD_Image {
public:
    IOD_VLImage();
    IOD_VLImage(const IOD_VLImage& other);
    IOD_VLImage(void* buffer, unsigned int length, int copy, int* status);
    IOD_VLImage(void* buffer, unsigned int length, int copy, const Dicom_UI& transferSyntaxUid, int* status);
    ~IOD_VLImage() override;
    // Not assignable: copy-construct instead.
    IOD_VLImage& operator=(const IOD_VLImage&) = delete;

    int IsValid() const override;
};
