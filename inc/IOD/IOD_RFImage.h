// IOD_RFImage: the X-ray radiofluoroscopic image IOD.
//
// IsValid runs these module checks in order, each even after a failure: patient, general study,
// general series, general equipment, general image, image pixel, cine, multi-frame, mask, X-ray
// image, X-ray acquisition, XRF tomography acquisition, multi-frame overlay, modality LUT and SOP
// common (cine, mask, the X-ray image and acquisition, overlay and LUT checks accept every
// message).
#pragma once

#include <IOD/IOD_Image.h>

class IOD_RFImage : public IOD_Image {
public:
    IOD_RFImage();
    IOD_RFImage(const IOD_RFImage& other);
    IOD_RFImage(void* buffer, unsigned int length, int copy, int* status);
    IOD_RFImage(void* buffer, unsigned int length, int copy, const Dicom_TransferSyntax& syntax, int* status);
    IOD_RFImage(void* buffer, unsigned int length, int copy, const Dicom_UI& transferSyntaxUid, int* status);
    ~IOD_RFImage() override;
    // Not assignable: copy-construct instead.
    IOD_RFImage& operator=(const IOD_RFImage&) = delete;

    int IsValid() const override;
};
