// IOD_MFImage: the multi-frame secondary capture image IOD.
//
// Like every secondary capture image, a new one made by the default constructor carries the
// capture defaults of IOD_SCImage; one made from a buffer carries only what the buffer holds.
// IsValid checks nothing (always 1).
#pragma once

#include <IOD/IOD_SCImage.h>

class IOD_MFImage : public IOD_SCImage {
public:
    IOD_MFImage();
    IOD_MFImage(const IOD_MFImage& other);
    IOD_MFImage(void* buffer, unsigned int length, int copy, int* status);
    ~IOD_MFImage() override;
    IOD_MFImage& operator=(const IOD_MFImage& other);
};
