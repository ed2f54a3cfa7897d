// IOD_DXImage: the digital X-ray image IOD.
//
// IsValid runs these module checks in order, each even after a failure: patient, general study,
// general series, general equipment, general image and image pixel (no SOP common check).
#pragma once

#include <IOD/IOD_Image.h>

class IOD_DXImage : public IOD_Image {
public:
    IOD_DXImage();
    IOD_DXImage(const IOD_DXImage& other);
    IOD_DXImage(void* buffer, unsigned int length, int copy, int* status);
    IOD_DXImage(void* buffer, unsigned int length, int copy, const Dicom_UI& transferSyntaxUid, int* status);
    ~IOD_DXImage() override;
    // Not assignable: copy-construct instead.
    IOD_DXImage& operator=(const IOD_DXImage&) = delete;

    int IsValid() const override;
};
