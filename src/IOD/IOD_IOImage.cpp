// IOD_IOImage: constructors and IsValid.
#include <IOD/IOD_IOImage.h>

#include "IOD_ClassSupport.h"

IOD_DEFINE_CONSTRUCTORS(IOD_IOImage, IOD_Image)
IOD_DEFINE_UID_CONSTRUCTOR(IOD_IOImage, IOD_Image)

// The shared body of the projection classes: no SOP common check.
int IOD_IOImage::IsValid() const { return IOD_ProjectionImageIsValid(*this); }
