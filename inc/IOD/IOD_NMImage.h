// IOD_NMImage: the nuclear medicine image IOD.
//
// IsValid runs these module checks in order, each even after a failure: patient, general study,
// general series, NM series, general equipment, general image, image pixel, NM image pixel,
// multi-frame, NM multi-frame, NM image, NM isotope, NM detector, NM TOMO acquisition, NM
// multi-gated acquisition, NM phase, NM reconstruction and SOP common.
#pragma once

#include <IOD/IOD_Image.h>

class IOD_NMImage : public IOD_Image {
public:
    IOD_NMImage();
    IOD_NMImage(const IOD_NMImage& other);
    IOD_NMImage(void* buffer, unsigned int length, int copy, int* status);
    IOD_NMImage(void* buffer, unsigned int length, int copy, const Dicom_TransferSyntax& syntax, int* status);
    IOD_NMImage(void* buffer, unsigned int length, int copy, const Dicom_UI& transferSyntaxUid, int* status);
    ~IOD_NMImage() override;
    // Not assignable: copy-construct instead.
    IOD_NMImage& operator=(const IOD_NMImage&) = delete;

    int IsValid() const override;
};
