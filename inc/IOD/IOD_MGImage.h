// IOD_MGImage: the mammography image IOD.
//
// IsValid runs these module checks in order, each even after a failure: patient, general study,
// general series, general equipment, general image and image pixel (no SOP common check).
#pragma once

#include <IOD/IOD_Image.h>

class IOD_MGImage : public IOD_Image {
public:
    IOD_MGImage();
    IOD_MGImage(const IOD_MGImage& other);
    IOD_MGImage(void* buffer, unsigned int length, int copy, int* status);
    IOD_MGImage(void* buffer, unsigned int length, int copy, const Dicom_UI& transferSyntaxUid, int* status);
    ~IOD_MGImage() override;
    // Not assignable: copy-construct instead.
    IOD_MGImage& operator=(const IOD_MGImage&) = delete;

    int IsValid() const override;
};
