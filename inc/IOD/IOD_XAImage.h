// IOD_XAImage: the X-ray angiographic image IOD.
//
// IsValid runs these module checks in order, each even after a failure: patient, general study,
// general series, general equipment, general image, image pixel, cine, multi-frame, mask, X-ray
// image, X-ray acquisition, X-ray table, XA positioner, multi-frame overlay, modality LUT and SOP
// common (all but multi-frame of the checks after image pixel accept every message).
#pragma once

#include <IOD/IOD_Image.h>

class IOD_XAImage : public IOD_Image {
public:
    IOD_XAImage();
    IOD_XAImage(const IOD_XAImage& other);
    IOD_XAImage(void* buffer, unsigned int length, int copy, int* status);
    IOD_XAImage(void* buffer, unsigned int length, int copy, const Dicom_TransferSyntax& syntax, int* status);
    IOD_XAImage(void* buffer, unsigned int length, int copy, const Dicom_UI& transferSyntaxUid, int* status);
    ~IOD_XAImage() override;
    // Not assignable: copy-construct instead.
    IOD_XAImage& operator=(const IOD_XAImage&) = delete;

    int IsValid() const override;
};
