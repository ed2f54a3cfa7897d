// IOD_VLImage: constructors and IsValid.
#include <IOD/IOD_VLImage.h>

#include "IOD_ClassSupport.h"

IOD_DEFINE_CONSTRUCTORS(IOD_VLImage, IOD_Image)
IOD_DEFINE_UID_CONSTRUCTOR(IOD_VLImage, IOD_Image)

// The shared body of the projection classes: no SOP common check.
int IOD_VLImage::IsValid() const { return IOD_ProjectionImageIsValid(*this); }
