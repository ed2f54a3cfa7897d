// IOD_DXImage: constructors and IsValid.
#include <IOD/IOD_DXImage.h>

#include "IOD_ClassSupport.h"

IOD_DEFINE_CONSTRUCTORS(IOD_DXImage, IOD_Image)
IOD_DEFINE_UID_CONSTRUCTOR(IOD_DXImage, IOD_Image)

// The shared body of the projection classes: no SOP common check.
int IOD_DXImage::IsValid() const { return IOD_ProjectionImageIsValid(*this); }
