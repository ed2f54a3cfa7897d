// IOD_Tissue: the tissue volume IOD.
//
// A secondary capture image that also carries a list volume of tissue data in four private
// attributes of the archive (creator "KOVEL", named by the DICOM layer's dictionary):
//   BoxParameters (DS), DimensionsOfListVolume (US), ListVolumeData (OW), TissueColor (US).
// Get<Name> returns a copy of the value, or its class's null constant when it is absent;
// Set<Name> stores a copy (0, or -1); Remove<Name> removes it (0, or -1 when absent). Like every
// secondary capture image, a new one made by the default constructor carries the capture
// defaults of IOD_SCImage. IsValid checks nothing (always 1).
#pragma once

#include <IOD/IOD_SCImage.h>

class IOD_Tissue : public IOD_SCImage {
public:
    IOD_Tissue();
    IOD_Tissue(const IOD_Tissue& other);
    IOD_Tissue(void* buffer, unsigned int length, int copy, int* status);
    ~IOD_Tissue() override;
    IOD_Tissue& operator=(const IOD_Tissue& other);

    Dicom_DS GetBoxParameters() const;
    int SetBoxParameters(const Dicom_DS& value);
    int RemoveBoxParameters();
    Dicom_US GetDimensionsOfListVolume() const;
    int SetDimensionsOfListVolume(const Dicom_US& value);
    int RemoveDimensionsOfListVolume();
    Dicom_OW GetListVolumeData() const;
    int SetListVolumeData(const Dicom_OW& value);
    int RemoveListVolumeData();
    Dicom_US GetTissueColor() const;
    int SetTissueColor(const Dicom_US& value);
    int RemoveTissueColor();
};
