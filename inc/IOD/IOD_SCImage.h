// IOD_SCImage: the secondary capture image IOD.
//
// A new secondary capture image made by the default constructor already carries its capture
// defaults: Conversion Type (0008,0064) IOD_Image::WSD ("PR"), Secondary Capture Device
// Manufacturer (0018,1016) and Manufacturer's Model Name (0018,1018) "Orvane", and Secondary
// Capture Device Software Versions (0018,1019) the library version. One made from a buffer, or
// copied, carries only what it was given. IsValid checks nothing (always 1).
#pragma once

#include <IOD/IOD_Image.h>

class IOD_SCImage : public IOD_Image {
public:
    IOD_SCImage();
    IOD_SCImage(const IOD_SCImage& other);
    IOD_SCImage(void* buffer, unsigned int length, int copy, int* status);
    IOD_SCImage(void* buffer, unsigned int length, int copy, const Dicom_TransferSyntax& syntax, int* status);
    IOD_SCImage(void* buffer, unsigned int length, int copy, const Dicom_UI& transferSyntaxUid, int* status);
    ~IOD_SCImage() override;
    IOD_SCImage& operator=(const IOD_SCImage& other);
};
