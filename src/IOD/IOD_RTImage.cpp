// IOD_RTImage: constructors and IsValid.
#include <IOD/IOD_RTImage.h>

#include "IOD_ClassSupport.h"

IOD_DEFINE_CONSTRUCTORS(IOD_RTImage, IOD_Image)
IOD_DEFINE_UID_CONSTRUCTOR(IOD_RTImage, IOD_Image)

// The shared body of the projection classes: no SOP common check.
int IOD_RTImage::IsValid() const { return IOD_ProjectionImageIsValid(*this); }
