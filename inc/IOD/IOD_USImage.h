// IOD_USImage: the ultrasound image IOD.
//
// IsValid runs these module checks in order, each even after a failure: patient, general study,
// general series, US frame of reference, general equipment, general image, image pixel, US image,
// modality LUT, SOP common, curve identification and curve (the US, LUT and curve checks accept
// every message).
#pragma once

#include <IOD/IOD_Image.h>

class IOD_USImage : public IOD_Image {
public:
    IOD_USImage();
    IOD_USImage(const IOD_USImage& other);
    IOD_USImage(void* buffer, unsigned int length, int copy, int* status);
    IOD_USImage(void* buffer, unsigned int length, int copy, const Dicom_TransferSyntax& syntax, int* status);
    IOD_USImage(void* buffer, unsigned int length, int copy, const Dicom_UI& transferSyntaxUid, int* status);
    ~IOD_USImage() override;
    // Not assignable: copy-construct instead.
    IOD_USImage& operator=(const IOD_USImage&) = delete;

    int IsValid() const override;
};
