// IOD_RTImage: the RT image IOD.
//
// IsValid runs these module checks in order, each even after a failure: patient, general study,
// general series, general equipment, general image and image pixel (no SOP common check).
#pragma once

#include <IOD/IOD_Image.h>

class IOD_RTImage : public IOD_Image {
public:
    IOD_RTImage();
    IOD_RTImage(const IOD_RTImage& other);
    IOD_RTImage(void* buffer, unsigned int length, int copy, int* status);
    IOD_RTImage(void* buffer, unsigned int length, int copy, const Dicom_UI& transferSyntaxUid, int* status);
    ~IOD_RTImage() override;
    // Not assignable: copy-construct instead.
    IOD_RTImage& operator=(const IOD_RTImage&) = delete;

    int IsValid() const override;
};
